#pragma once

#include <QByteArray>

#include <QByteArrayList>

#include <optional>

/// Where something lies on its file system, however many mounts lead there.
struct file_system_place
{
    QByteArray file_system; ///< the system's own number for it
    QByteArray path;        ///< from the file system's root
    QByteArray upper;       ///< of an overlay: where it lies in the directory that takes what is written
    QByteArrayList lower;   ///< of an overlay: where it lies in the other directories that it is made of
};

/// Returns the place of an absolute, resolved path according to a mount table, as Linux writes it; nothing when no
/// mount point in it leads there.
std::optional<file_system_place> place_in_mount_table(const QByteArray& table, const QByteArray& path);

/// Returns the mount points of a table that are an absolute, resolved directory or lie below it.
QByteArrayList mounts_in_table(const QByteArray& table, const QByteArray& directory);

/// Returns the table of this process's mounts; empty where there is none, and then mounts of parts of a file system are
/// not known either.
QByteArray mount_table();

/// Returns the place of an absolute, resolved path, which need not exist; nothing where there is no mount table to ask.
std::optional<file_system_place> place_on_file_system(const QByteArray& path);
