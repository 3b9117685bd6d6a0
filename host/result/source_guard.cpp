#include "host/result/source_guard.h"

#include "host/files/file_tree.h"
#include "host/files/mount_table.h"
#include "host/files/rollback_journal.h"
#include "host/files/sqlite_companions.h"
#include "host/text/failure.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <set>
#include <vector>

namespace fs = std::filesystem;

namespace {

fs::path native_path(const QString& path)
{
    return QFile::encodeName(path).toStdString();
}

/// What cannot be told might be a place in the source.
void require_told(const std::error_code& error, const fs::path& path, const fs::path& other = {})
{
    if (error && error != std::errc::no_such_file_or_directory && error != std::errc::not_a_directory) {
        const QString place = QFile::decodeName(path.c_str());
        const QString what = other.empty()
                                 ? QStringLiteral("where %1 leads").arg(place)
                                 : QStringLiteral("whether %1 is %2").arg(place, QFile::decodeName(other.c_str()));
        refuse(QStringLiteral("cannot tell %1: %2").arg(what, QString::fromLocal8Bit(error.message().c_str())));
    }
}

/// Resolves links as far as the path exists, and a link at its end also when it leads to nothing: writing would create
/// what it names.
fs::path resolved(fs::path path)
{
    constexpr int most_links = 40;
    std::error_code error;
    for (int links = 0; links < most_links && fs::is_symlink(path, error) && !fs::exists(path, error); ++links) {
        path = path.parent_path() / fs::read_symlink(path, error);
    }
    const fs::path canonical = fs::weakly_canonical(path, error);
    require_told(error, path);
    return error ? path : canonical;
}

std::optional<file_system_place> place_of(const fs::path& path)
{
    return place_on_file_system(QByteArray::fromStdString(path.string()));
}

/// A directory and, where it is an overlay, its layers: what is written to any layer is seen in it.
class guarded_directory
{
public:
    explicit guarded_directory(const fs::path& directory) : layers{guarded(directory)}
    {
        if (const auto place = layers.front().place; place && !place->lower.isEmpty()) {
            for (const QByteArray& part : place->lower + QByteArrayList{place->upper}) {
                layers.push_back(guarded(resolved(part.toStdString())));
            }
        }
    }

    /// True when a resolved path, which need not exist, is the directory or lies below it.
    bool holds(const fs::path& inner)
    {
        return std::any_of(layers.begin(), layers.end(), [&inner](layer& one) { return is_in(inner, one); });
    }

private:
    struct layer
    {
        fs::path path;
        std::optional<file_system_place> place;
        std::set<fs::path> others; ///< that are known to be no part of it, nor any directory above them
    };

    static layer guarded(const fs::path& path) { return {path, place_of(resolved(path)), {}}; }

    static bool is_in(const fs::path& inner, layer& outer)
    {
        // Directories are compared as such, not by their names: letter case and mounts make names unreliable.
        std::vector<fs::path> way;
        for (fs::path place = inner; !outer.others.contains(place); place = place.parent_path()) {
            std::error_code absent;
            if (fs::equivalent(place, outer.path, absent)) {
                return true;
            }
            require_told(absent, place, outer.path);
            way.push_back(place);
            if (place == place.parent_path()) {
                break;
            }
        }
        outer.others.insert(way.begin(), way.end());
        // A part of the directory may be mounted elsewhere, and then none of the places on the way is the directory
        // itself.
        const auto inner_place = place_of(inner);
        return inner_place && outer.place && inner_place->file_system == outer.place->file_system &&
               is_at_or_below(inner_place->path, outer.place->path);
    }

    std::vector<layer> layers;
};

bool lies_inside(const QString& path, guarded_directory& directory)
{
    const fs::path inner = resolved(native_path(path));
    // What is written to an overlay is written to its upper layer.
    const auto place = place_of(inner);
    return directory.holds(inner) ||
           (place && !place->upper.isEmpty() && directory.holds(resolved(place->upper.toStdString())));
}

void refuse_link(const QByteArray& path, const entry_facts& facts)
{
    if (facts.kind == entry_kind::link) {
        refuse(QStringLiteral("cannot write to the result: %1 is a link to %2")
                   .arg(QFile::decodeName(path), QFile::decodeName(link_text(path))));
    }
}

void refuse_unless_file(const QString& path)
{
    const entry_facts facts = quiet_stat(QFile::encodeName(path));
    if (facts.kind != entry_kind::file && facts.kind != entry_kind::absent) {
        refuse(QStringLiteral("cannot write %1: there is a %2 in its place").arg(path, kind_text(facts.kind)));
    }
}

/// What is written in place, and not made anew, must have no second name: that may be a file of the evidence.
void refuse_second_name(const QString& path)
{
    refuse_unless_file(path);
    std::error_code absent;
    if (const auto names = fs::hard_link_count(native_path(path), absent); !absent && names > 1) {
        refuse(QStringLiteral("cannot write %1: the file has %2 names (hard links), and another of them may be one of "
                              "the evidence")
                   .arg(path, QString::number(names)));
    }
}

/// Returns what is in the way of a directory that could not be created.
QString reason_for_no_directory(const QString& path)
{
    QString place = path;
    while (!QFileInfo::exists(place) && !QFileInfo(place).isSymLink() && place.size() > 1) {
        place = QFileInfo(place).path();
    }
    const QFileInfo info(place);
    if (!info.isDir()) {
        return QStringLiteral("%1 is not a directory").arg(place);
    }
    return info.isWritable() ? QStringLiteral("%1 does not take a new directory").arg(place)
                             : QStringLiteral("%1 is not writable").arg(place);
}

} // namespace

bool lies_inside(const QString& path, const QString& directory)
{
    guarded_directory guarded(native_path(directory));
    return lies_inside(path, guarded);
}

void keep_out_of_source(const QString& source, const result_paths& result, const QString& log_path)
{
    QStringList written = result.written();
    if (!log_path.isEmpty()) {
        written.append(log_path);
    }
    const QByteArray mounts = mount_table();
    for (const QString& folder : {result.artifacts(), result.products()}) {
        for (const QByteArray& point :
             mounts_in_table(mounts, QByteArray::fromStdString(resolved(native_path(folder)).string()))) {
            written.append(QFile::decodeName(point));
        }
    }
    guarded_directory guarded(native_path(source));
    for (const QString& path : written) {
        if (lies_inside(path, guarded)) {
            const QString place = QFile::decodeName(resolved(native_path(path)).c_str());
            refuse(QStringLiteral("cannot write to %1: it lies inside the source %2, which is only read%3")
                       .arg(path, source, place == path ? QString() : QStringLiteral("; it leads to ") + place));
        }
    }
}

void refuse_planted_links(const result_paths& result, const QString& log_path)
{
    QStringList written = result.written();
    // The user's own way to the result may well be a link.
    written.removeFirst();
    if (!log_path.isEmpty()) {
        written.append(log_path);
    }
    for (const QString& path : written) {
        refuse_link(QFile::encodeName(path), quiet_stat(QFile::encodeName(path)));
    }
    for (product which :
         {product::log, product::run_record, product::manifest, product::sums, product::seal, product::report}) {
        refuse_unless_file(result.path(which));
    }
    refuse_second_name(result.path(product::lock));
    refuse_unless_file(result.database());
    for (const char* companion : sqlite_companions) {
        refuse_unless_file(result.database() + QLatin1String(companion));
    }
    if (const QString journal = result.database() + QStringLiteral("-journal");
        names_another_file(QFile::encodeName(journal))) {
        refuse(QStringLiteral("cannot write %1: %2 names another file, which a rollback would delete")
                   .arg(result.database(), journal));
    }
    if (!log_path.isEmpty()) {
        refuse_second_name(log_path);
        refuse_second_name(result.database());
    }
    for (const QString& folder : {result.artifacts(), result.evidence(), result.verifications()}) {
        const auto refuse_planted = [](const tree_entry& entry) {
            refuse_link(entry.path, entry.facts);
            return true;
        };
        walk_tree(QFile::encodeName(folder), refuse_planted, list_kinds);
    }
}

void make_folder(const QString& path)
{
    std::error_code error;
    fs::create_directories(native_path(path), error);
    if (error) {
        refuse(QStringLiteral("cannot create %1: %2 (%3)")
                   .arg(path, reason_for_no_directory(path), QString::fromLocal8Bit(error.message().c_str())));
    }
}
