#pragma once

#include <QtGlobal>

#include <limits>

/// A number of files and their bytes together.
struct file_amount
{
    qint64 files = 0;
    qint64 bytes = 0;

    /// Sums stop at the greatest number there is: a few files with holes can say that they are larger.
    file_amount& operator+=(const file_amount& other)
    {
        constexpr qint64 most = std::numeric_limits<qint64>::max();
        files += other.files;
        bytes = other.bytes > most - bytes ? most : bytes + other.bytes;
        return *this;
    }
};
