#pragma once

#include <QtGlobal>

/// A number of files and their bytes together.
struct file_amount
{
    qint64 files = 0;
    qint64 bytes = 0;

    file_amount& operator+=(const file_amount& other)
    {
        files += other.files;
        bytes += other.bytes;
        return *this;
    }
};
