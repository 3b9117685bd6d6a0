#include "host/files/mount_table.h"

#include "host/files/file_tree.h"
#include "host/files/quiet_reading.h"

#include <fcntl.h>
#include <mutex>
#include <poll.h>
#include <unistd.h>
#include <utility>
#include <vector>

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

struct mount
{
    QByteArray file_system;
    QByteArray root; ///< of what is mounted, in its file system
    QByteArray point;
    QByteArray upper; ///< of an overlay, like the next
    QByteArrayList lower;
};

/// Takes the directories that an overlay is made of from its options.
void take_layers(const QByteArray& options, mount& overlay)
{
    for (const QByteArray& option : options.split(',')) {
        const QByteArray value = option.mid(option.indexOf('=') + 1);
        if (option.startsWith("upperdir=")) {
            overlay.upper = unescaped(value);
        } else if (option.startsWith("lowerdir=")) {
            for (const QByteArray& layer : value.split(':')) {
                overlay.lower.append(unescaped(layer));
            }
        }
    }
}

std::vector<mount> mounts_of(const QByteArray& table)
{
    std::vector<mount> mounts;
    for (const QByteArray& line : table.split('\n')) {
        // Number, parent's number, file system, root within it, mount point, and what does not matter here up to "-";
        // then type, device and options of the file system.
        const QByteArrayList fields = line.split(' ');
        if (fields.size() < 5) {
            continue;
        }
        mount one{fields[2], unescaped(fields[3]), unescaped(fields[4]), {}, {}};
        const QByteArrayList about = fields.mid(fields.indexOf("-", 5) + 1);
        if (about.value(0) == "overlay") {
            take_layers(about.value(2), one);
        }
        mounts.push_back(std::move(one));
    }
    return mounts;
}

std::optional<file_system_place> place_among(const std::vector<mount>& mounts, const QByteArray& path)
{
    std::optional<file_system_place> found;
    qsizetype deepest = -1;
    for (const mount& one : mounts) {
        // Of two mounts at one place the later hides the earlier.
        if (one.point.size() >= deepest && is_at_or_below(path, one.point)) {
            deepest = one.point.size();
            const QByteArray below = path.mid(one.point.endsWith('/') ? one.point.size() : one.point.size() + 1);
            const auto in = [&below](const QByteArray& root) {
                return root.isEmpty() || below.isEmpty() ? root : child_path(root, below);
            };
            found = {one.file_system, in(one.root), in(one.upper), {}};
            for (const QByteArray& layer : one.lower) {
                found->lower.append(in(layer));
            }
        }
    }
    return found;
}

/// The table of mounts, read again only when the kernel says that it changed: a guard asks for it with every path.
class watched_table
{
public:
    QByteArray text()
    {
        const std::lock_guard lock(mutex);
        keep_up();
        return content;
    }

    std::optional<file_system_place> place_of(const QByteArray& path)
    {
        const std::lock_guard lock(mutex);
        keep_up();
        return place_among(mounts, path);
    }

private:
    void keep_up()
    {
        if (!table.is_open()) {
            // Only Linux has it.
            table = file_descriptor(::open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC));
            read_table();
        }
        while (is_changed()) {
            read_table();
        }
    }

    bool is_changed() const
    {
        pollfd asked{table.get(), POLLPRI, 0};
        return table.is_open() && ::poll(&asked, 1, 0) > 0 && (asked.revents & POLLPRI) != 0;
    }

    void read_table()
    {
        content.clear();
        char piece[16'384];
        ssize_t count = 0;
        while ((count = ::pread(table.get(), piece, sizeof piece, content.size())) > 0) {
            content.append(piece, count);
        }
        mounts = mounts_of(content);
    }

    std::mutex mutex;
    file_descriptor table;
    QByteArray content;
    std::vector<mount> mounts; ///< in `content`
};

watched_table& table_of_process()
{
    static watched_table table;
    return table;
}

} // namespace

std::optional<file_system_place> place_in_mount_table(const QByteArray& table, const QByteArray& path)
{
    return place_among(mounts_of(table), path);
}

QByteArrayList mounts_in_table(const QByteArray& table, const QByteArray& directory)
{
    QByteArrayList found;
    for (const mount& one : mounts_of(table)) {
        if (is_at_or_below(one.point, directory)) {
            found.append(one.point);
        }
    }
    return found;
}

QByteArray mount_table()
{
    return table_of_process().text();
}

std::optional<file_system_place> place_on_file_system(const QByteArray& path)
{
    return table_of_process().place_of(path);
}
