#pragma once

#include "host/file_amount.h"

#include <QString>

/// Returns what the plug-in is about to copy from one Mail directory: the tree once, and each account folder once more
/// for its account. A quick look for a progress display: account folders are told by their names alone, and what cannot
/// be read counts as nothing.
file_amount mail_tree_size(const QString& mail_directory);

/// Returns the visible files below a directory; nothing when it does not exist.
file_amount visible_tree_size(const QString& directory);
