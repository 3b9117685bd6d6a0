#pragma once

#include "host/verify/copy_pairs.h"
#include "host/verify/known_sources.h"
#include "host/verify/ordered_pipeline.h"

#include <functional>

/// Looks for a pair's copy and at its size, and whether the source is still what was copied where that is known,
/// without reading anything; says in the entry what is not as it should be.
void look_at_copy(copy_pair& pair, const known_sources* known, const QByteArray& result, pipeline_tools& tools);

/// Asks the system to read what a pair's task is going to read: the copy alone, from the disk, when the source is
/// known.
void ask_for_pair(const copy_pair& pair, bool is_known, const QByteArray& source, const QByteArray& result,
                  pipeline_tools& tools);

/// Carries out a pair's task: reads source and copy once each, fills in digests, status and reason, and gives an equal
/// copy the source's modification time. `cancelled` is as for file_hasher::hash(). Nothing is changed in the source.
/// False when `cancelled` stopped it, which leaves the entry unfinished.
bool complete_pair(copy_pair& pair, const QByteArray& source, const QByteArray& result, pipeline_tools& tools,
                   const std::function<bool(qint64 bytes)>& cancelled);

/// The same for a pair whose source is known from its copying: reads the copy alone, from the disk rather than from
/// memory, and gives the source's hash from then. A source that is no longer as it was then has changed.
bool complete_known_pair(copy_pair& pair, const known_source& known, const QByteArray& result, pipeline_tools& tools,
                         const std::function<bool(qint64 bytes)>& cancelled);
