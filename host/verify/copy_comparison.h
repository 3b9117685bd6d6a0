#pragma once

#include "host/verify/copy_pairs.h"
#include "host/files/hashing.h"

#include <functional>

/// Carries out a pair's task: reads source and copy once each, fills in digests, status and reason, and gives an equal
/// copy the source's modification time. `go_on` is as for file_hasher::hash(). Nothing is changed in the source. False
/// when `go_on` stopped it, which leaves the entry unfinished.
bool complete_pair(copy_pair& pair, const QByteArray& source, const QByteArray& result, file_hasher& hasher,
                   const std::function<bool(qint64 bytes)>& go_on);
