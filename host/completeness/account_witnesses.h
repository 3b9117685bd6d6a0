#pragma once

#include "host/completeness/completeness.h"

/// Returns for each account that has a folder among `folders` or a line, in the order of their names, which of the two
/// speak of it, and its setting in `settings`, which are by identifier in upper case.
std::vector<account_witness> account_witnesses(const QList<QByteArray>& folders, const std::vector<mailbox_line>& lines,
                                               const QHash<QByteArray, QString>& settings);
