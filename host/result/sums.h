#pragma once

#include "host/files/hashing.h"

#include <QByteArray>

#include <optional>

/// One line of a list of SHA-256 sums.
struct sum
{
    sha256_digest digest{};
    QByteArray path; ///< as the list has it, relative to where it is checked
};

/// Returns a line as sha256sum writes and reads it, with its end: a leading backslash says that the path is escaped.
QByteArray sums_line(const sha256_digest& digest, QByteArray path);

/// Reads one such line, without its end; nothing for any other text.
std::optional<sum> sum_from_line(const QByteArray& line);
