#pragma once

#include "host/result/manifest.h"
#include "host/self_test/tree_state.h"

/// Returns all entries of a result's manifest. Throws a failure.
QList<manifest_entry> manifest_of(const QString& result);

/// Every file of each Mail directory stands in the manifest once, and nothing that is not in the source.
void judge_completeness(const tree_state& source, const QList<manifest_entry>& manifest, examination& found);
/// Every copy has the bytes of its source file, hashed anew, and the sums are those of the copies.
void judge_copies(const tree_state& source, const QString& result, const QList<manifest_entry>& manifest,
                  examination& found);
/// These files have a copy with their bytes.
void judge_odd_files(const QByteArrayList& files, const tree_state& source, const QString& result,
                     const QList<manifest_entry>& manifest, examination& found);
/// The manifest tells permissions, owner, inode, size and times of each file as they are in the source.
void judge_metadata(const tree_state& source, const QList<manifest_entry>& manifest, examination& found);
/// Every copy has its file's time of modification, to the nanosecond.
void judge_times(const tree_state& source, const QString& result, const QList<manifest_entry>& manifest,
                 examination& found);
/// Two manifests of one source are the same but for times of access and the day of the copies.
void judge_same(const QList<manifest_entry>& one, const QList<manifest_entry>& other, examination& found);
