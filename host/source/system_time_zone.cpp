#include "host/source/system_time_zone.h"

#include "host/files/file_tree.h"
#include "host/files/quiet_reading.h"
#include "host/text/display_text.h"

namespace {

// Zones have names of a few dozen letters; what a source puts in their place may be anything.
constexpr qsizetype longest_name = 100;

/// True when each folder on the way is a real one, so that no link is passed through.
bool is_reached_by_folders(const QByteArray& source, const QByteArray& path)
{
    for (qsizetype end = path.indexOf('/'); end > 0; end = path.indexOf('/', end + 1)) {
        if (quiet_stat(child_path(source, path.left(end))).kind != entry_kind::directory) {
            return false;
        }
    }
    return true;
}

} // namespace

QString system_time_zone(const QByteArray& source)
{
    const QByteArray folder_of_zones = "zoneinfo/";
    for (const char* path : {"private/etc/localtime", "etc/localtime"}) {
        if (!is_reached_by_folders(source, path)) {
            continue;
        }
        const QByteArray target = link_text(child_path(source, path));
        const qsizetype begin = target.lastIndexOf(folder_of_zones);
        const QByteArray name = begin < 0 ? QByteArray() : target.mid(begin + folder_of_zones.size());
        if (!name.isEmpty() && name.size() <= longest_name) {
            return display_text(name);
        }
    }
    return {};
}
