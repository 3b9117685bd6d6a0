#pragma once

#include "host/completeness/completeness.h"
#include "host/completeness/mail_stores.h"

/// Returns a path below the source; one that lies elsewhere as it is.
QByteArray path_below(const QByteArray& source, const QByteArray& path);

/// Notes what of a store could not be looked at, and its links; of each no more than a report can hold.
void add_notes(const mail_files& files, const mail_store& store, const QByteArray& source, store_completeness& result);

/// Notes links that were not followed: one that leads out of the source, or cannot be resolved, is something that was
/// not looked at.
void note_links(const std::vector<QByteArray>& links, const QByteArray& source, store_completeness& result);
