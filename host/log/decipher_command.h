#pragma once

#include <QString>

/// Which log is deciphered.
struct decipher_options
{
    QString file;
};

/// Prints the plain lines of an enciphered debug log; records that do not decipher are told on standard error and the
/// rest is printed. Returns the exit code. Throws a failure when the log cannot be read or is plain already.
int decipher_command(const decipher_options& options);
