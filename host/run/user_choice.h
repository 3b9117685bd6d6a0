#pragma once

#include "host/run/run_options.h"
#include "host/source/source_users.h"

/// The users that a run takes, and what a person must be told of them.
struct user_choice
{
    QList<source_user> users;
    QStringList passed_over; ///< names of users that the source has and nobody asked for
    QString shortcomings;    ///< one line on whom and what the run cannot reach, with advice; empty when it is nothing
};

/// Takes the users of a source that the options ask for, all without any. A name is recognised in either composition of
/// its letters and keeps the spelling of its directory. Throws a failure for a name that the source does not have, and
/// ends the command where there is nobody to run for: with `with_failures` when that is because the source could not be
/// looked at, else with `no_mail_directory`; what is said then names the level that was probably meant.
user_choice choose_users(const run_options& options, const QString& source_root);
