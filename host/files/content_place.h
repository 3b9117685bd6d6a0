#pragma once

#include "host/files/quiet_reading.h"

#include <functional>

/// Tells where the content of a file is to be read: the path of a copy that is known to hold what the file at `path`,
/// whose facts are given, holds; nothing where there is no such copy. May be empty, and then there is none.
using content_place = std::function<QByteArray(const QByteArray& path, const entry_facts& facts)>;

/// True when it is known, without looking at the file at `path`, that it holds what is asked for. May be empty, and
/// then nothing is known.
using content_knowledge = std::function<bool(const QByteArray& path)>;

/// Calls `read` with the open copy of a file, or where there is none of the same size, or `read` says with false that
/// it failed, with the file itself, links not followed. What cannot be opened is given with its error.
void read_content(const QByteArray& path, const entry_facts& facts, const content_place& copy_of,
                  const std::function<bool(const quiet_file& file)>& read);
