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

/// True when a resolved path, which need not exist, is a directory or lies below it.
bool is_in_directory(const fs::path& inner, const fs::path& outer)
{
    // Directories are compared as such, not by their names: letter case and mounts make names unreliable.
    for (fs::path place = inner;; place = place.parent_path()) {
        std::error_code absent;
        if (fs::equivalent(place, outer, absent)) {
            return true;
        }
        require_told(absent, place, outer);
        if (place == place.parent_path()) {
            break;
        }
    }
    // A part of the directory may be mounted elsewhere, and then none of the places on the way is the directory itself.
    const auto inner_place = place_of(inner);
    const auto outer_place = place_of(resolved(outer));
    return inner_place && outer_place && inner_place->file_system == outer_place->file_system &&
           is_at_or_below(inner_place->path, outer_place->path);
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
    const fs::path outer = native_path(directory);
    const fs::path inner = resolved(native_path(path));
    // What is written to an overlay is written to its upper layer, and what is written to any layer is seen in it.
    std::vector<fs::path> written{inner};
    if (const auto place = place_of(inner); place && !place->upper.isEmpty()) {
        written.push_back(resolved(place->upper.toStdString()));
    }
    std::vector<fs::path> read{outer};
    if (const auto place = place_of(resolved(outer)); place && !place->lower.isEmpty()) {
        for (const QByteArray& layer : place->lower + QByteArrayList{place->upper}) {
            read.push_back(resolved(layer.toStdString()));
        }
    }
    return std::any_of(written.begin(), written.end(), [&read](const fs::path& to) {
        return std::any_of(read.begin(), read.end(), [&to](const fs::path& from) { return is_in_directory(to, from); });
    });
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
    for (const QString& path : written) {
        if (lies_inside(path, source)) {
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
