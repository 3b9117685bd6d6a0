#pragma once

#include "host/self_test/statements.h"

#include <QByteArray>
#include <QMap>
#include <QString>

#include <sys/stat.h>

/// What one entry of a directory tree is.
struct tree_item
{
    struct stat facts;  ///< of the entry itself, links not followed
    QByteArray content; ///< SHA-256 of a file in hexadecimal, text of a link, names of a directory
};

/// The entries of a tree by their paths below its root, whose own path is empty.
using tree_state = QMap<QByteArray, tree_item>;

/// Looks at a whole tree. It is read with means of its own, so that what the program reads is not judged by the code
/// that read it. A directory that may not be listed stands there without what is in it. Throws a failure for anything
/// else that cannot be read.
tree_state state_of_tree(const QString& root);

/// Compares what the entries hold: bytes of files, targets of links, names in directories.
void compare_content(const tree_state& before, const tree_state& after, examination& found);
/// Compares what is known of the entries: kind, permissions, owner, links, size, inode and the times but that of
/// access.
void compare_metadata(const tree_state& before, const tree_state& after, examination& found);

/// Returns a time of an entry in nanoseconds since 1970.
qint64 modified_time(const struct stat& facts);
qint64 changed_time(const struct stat& facts);

/// Returns the SHA-256 of a file in hexadecimal. Throws a failure when it cannot be read.
QByteArray own_hash_of(const QString& path);
