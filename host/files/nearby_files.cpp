#include "host/files/nearby_files.h"

#include <algorithm>
#include <climits>
#include <fcntl.h>
#include <unistd.h>

namespace {

#ifdef O_PATH
constexpr int place_flags = O_PATH | O_DIRECTORY | O_CLOEXEC;
#else
constexpr int place_flags = O_SEARCH | O_DIRECTORY | O_CLOEXEC;
#endif

constexpr std::size_t most_early = 16;

} // namespace

bool nearby_files::may_read(const QByteArray& path)
{
    const auto [from, name] = place_of(path);
    return ::faccessat(from, name.constData(), R_OK, AT_EACCESS) == 0;
}

entry_facts nearby_files::facts(const QByteArray& path)
{
    const auto [from, name] = place_of(path);
    return quiet_stat_at(from, name);
}

quiet_file nearby_files::open(const QByteArray& path, link_handling links, content_source from)
{
    const auto found = std::find_if(early.begin(), early.end(), [&](const early_file& one) {
        return one.path == path && one.links == links && one.from == from;
    });
    if (found != early.end()) {
        quiet_file file = std::move(found->file);
        early.erase(found);
        return file;
    }
    const auto [where, name] = place_of(path);
    quiet_file file = quiet_open_at(where, name, links);
    if (from == content_source::disk && file.descriptor.is_open()) {
        drop_cached_pages(file.descriptor);
    }
    return file;
}

void nearby_files::ask_for(const QByteArray& path, link_handling links, content_source from)
{
#ifdef POSIX_FADV_WILLNEED
    constexpr off_t beginning = 262'144; // from there on the system sees that the file is read in order
    quiet_file file = open(path, links, from);
    if (!file.descriptor.is_open()) {
        return; // whoever opens it learns why
    }
    static_cast<void>(::posix_fadvise(file.descriptor.get(), 0, beginning, POSIX_FADV_WILLNEED));
    if (early.size() == most_early) {
        early.pop_front();
    }
    early.push_back({path, links, from, std::move(file)});
#else
    Q_UNUSED(path)
    Q_UNUSED(links)
    Q_UNUSED(from)
#endif
}

nearby_files::place nearby_files::place_of(const QByteArray& path)
{
    const qsizetype slash = path.lastIndexOf('/');
    // Whatever the system says to a path that leads nowhere, or is too long for it, it says to the path as a whole.
    const place whole{AT_FDCWD, path};
    if (slash <= 0 || slash + 1 == path.size() || path.size() >= PATH_MAX) {
        return whole;
    }
    if (QByteArrayView(directory) != QByteArrayView(path).first(slash)) {
        directory = path.first(slash);
        descriptor = file_descriptor(::open(directory.constData(), place_flags));
    }
    return descriptor.is_open()
               ? place{descriptor.get(), QByteArray::fromRawData(path.constData() + slash + 1, path.size() - slash - 1)}
               : whole;
}
