#pragma once

#include <QString>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

/// What libFuzzer calls, with every input it thinks of.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

/// Ends the run, with the input that led here, when something does not hold.
inline void require(bool holds)
{
    if (!holds) {
        std::abort();
    }
}

inline QByteArray bytes_of(const uint8_t* data, size_t size)
{
    return QByteArray(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
}
