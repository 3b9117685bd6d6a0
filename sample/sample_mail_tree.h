#pragma once

#include "sample/sample_cast.h"
#include "sample/sample_writer.h"

/// Writes the user's Library/Mail and appends one entry for every account folder. False, with one line in `error`, when
/// a database could not be made.
bool write_mail_tree(sample_writer& writer, const sample_user& user, const sample_options& options,
                     QList<sample_account_folder>& folders, QString& error);
