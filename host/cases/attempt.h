#pragma once

#include "host/cases/lease.h"
#include "host/cases/source_state.h"

#include <optional>

/// One attempt at a source: a directory of its own for the result, its record, and a token (a link to the directory)
/// whose renaming to "whole" makes the attempt count. Whoever takes over removes the tokens of all earlier attempts, so
/// that a task that was stopped cannot make "whole" any more when it goes on.
class attempt
{
public:
    /// Begins an attempt under a lease; nothing when the lease is lost meanwhile. Throws a failure.
    static std::optional<attempt> begin(const case_source& source, lease& held);

    const QString& name() const { return attempt_name; }
    /// Returns the directory of the result.
    QString directory() const { return source_directory + QLatin1Char('/') + attempt_name; }
    /// Returns the file that takes what the extraction prints.
    QString log() const { return directory() + QStringLiteral(".log"); }

    /// Writes the record of this attempt; throws a failure.
    void write(const attempt_record& record) const;
    /// Makes this attempt the source's result; with `replacing`, in the place of an earlier one. `gone` when another
    /// task has taken over, `exists` when another result is there.
    claim_result make_whole(bool replacing) const;
    /// Gives up the token: this attempt does not count.
    void give_up() const;

private:
    attempt(QString directory, QString name) : source_directory(std::move(directory)), attempt_name(std::move(name)) {}
    QString token() const { return directory() + QStringLiteral(".open"); }

    QString source_directory;
    QString attempt_name;
};

/// Returns a generation that no attempt at a source has had.
qint64 next_generation(const case_source& source);
