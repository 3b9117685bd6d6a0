#include "host/files/mount_table.h"

#include "host/files/file_tree.h"

#include <QFile>

namespace {

/// Undoes the octal escapes of blanks, tabs, newlines and backslashes in a mount table.
QByteArray unescaped(const QByteArray& text)
{
    QByteArray plain;
    for (qsizetype i = 0; i < text.size(); ++i) {
        bool is_octal = false;
        const uint code = text[i] == '\\' ? text.mid(i + 1, 3).toUInt(&is_octal, 8) : 0;
        plain += is_octal ? static_cast<char>(code) : text[i];
        i += is_octal ? 3 : 0;
    }
    return plain;
}

} // namespace

std::optional<file_system_place> place_in_mount_table(const QByteArray& table, const QByteArray& path)
{
    std::optional<file_system_place> found;
    qsizetype deepest = -1;
    for (const QByteArray& line : table.split('\n')) {
        // Number, parent's number, file system, root within it, mount point, and what does not matter here.
        const QByteArrayList fields = line.split(' ');
        if (fields.size() < 5) {
            continue;
        }
        const QByteArray mount_point = unescaped(fields[4]);
        // Of two mounts at one place the later hides the earlier.
        if (mount_point.size() >= deepest && is_at_or_below(path, mount_point)) {
            deepest = mount_point.size();
            const QByteArray below = path.mid(mount_point.endsWith('/') ? mount_point.size() : mount_point.size() + 1);
            const QByteArray root = unescaped(fields[3]);
            found = {fields[2], below.isEmpty() ? root : child_path(root, below)};
        }
    }
    return found;
}

std::optional<file_system_place> place_on_file_system(const QByteArray& path)
{
    // Only Linux has this table; where it is missing, mounts of parts of a file system are not known either.
    QFile table(QStringLiteral("/proc/self/mountinfo"));
    return table.open(QIODevice::ReadOnly) ? place_in_mount_table(table.readAll(), path) : std::nullopt;
}
