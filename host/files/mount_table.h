#pragma once

#include <QByteArray>

#include <optional>

/// Where something lies on its file system, however many mounts lead there.
struct file_system_place
{
    QByteArray file_system; ///< the system's own number for it
    QByteArray path;        ///< from the file system's root
};

/// Returns the place of an absolute, resolved path according to a mount table, as Linux writes it; nothing when no
/// mount point in it leads there.
std::optional<file_system_place> place_in_mount_table(const QByteArray& table, const QByteArray& path);

/// Returns the place of an absolute, resolved path, which need not exist; nothing where there is no mount table to ask.
std::optional<file_system_place> place_on_file_system(const QByteArray& path);
