#pragma once

#include <QString>

/// `verify`: a result against its seal, its manifest, and its source.
struct verify_options
{
    QString result;
    QString source;            ///< empty for the recorded one, if it is there
    QString expected_root;     ///< the root hash that the examiner has on paper; empty when none is named
    bool other_source = false; ///< a source that cannot be the recorded one is taken all the same
    bool quiet = false;        ///< no progress
    bool json = false;         ///< the record, rather than lines for a person
};

/// Holds a result, however old, against its seal, every copy against the recorded hash, and with a source every file
/// there as well. Changes nothing that exists but the report, and writes a record of what it found. Returns the exit
/// code. Throws a failure when it cannot.
int verify_command(const verify_options& options);
