#include "host/result/source_guard.h"

#include "host/files/file_tree.h"
#include "host/files/mount_table.h"
#include "host/files/rollback_journal.h"
#include "host/text/failure.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <filesystem>

namespace fs = std::filesystem;

namespace {

fs::path native_path(const QString& path)
{
    return QFile::encodeName(path).toStdString();
}

/// What cannot be told might be a place in the source.
void require_told(const fs::path& path, const std::error_code& error)
{
    if (error && error != std::errc::no_such_file_or_directory && error != std::errc::not_a_directory) {
        refuse(QStringLiteral("cannot tell where %1 leads: %2")
                   .arg(QFile::decodeName(path.c_str()), QString::fromLocal8Bit(error.message().c_str())));
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
    require_told(path, error);
    return error ? path : canonical;
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

} // namespace

bool lies_inside(const QString& path, const QString& directory)
{
    const fs::path outer = native_path(directory);
    const fs::path inner = resolved(native_path(path));
    // Directories are compared as such, not by their names: letter case and mounts make names unreliable.
    for (fs::path place = inner;; place = place.parent_path()) {
        std::error_code absent;
        if (fs::equivalent(place, outer, absent)) {
            return true;
        }
        require_told(place, absent);
        if (place == place.parent_path()) {
            break;
        }
    }
    // A part of the directory may be mounted elsewhere, and then none of the places on the way is the directory itself.
    const auto inner_place = place_on_file_system(QByteArray::fromStdString(inner.string()));
    const auto outer_place = place_on_file_system(QByteArray::fromStdString(resolved(outer).string()));
    return inner_place && outer_place && inner_place->file_system == outer_place->file_system &&
           is_at_or_below(inner_place->path, outer_place->path);
}

void keep_out_of_source(const QString& source, const result_paths& result, const QString& log_path)
{
    QStringList written = result.written();
    if (!log_path.isEmpty()) {
        written.append(log_path);
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
    for (product which : {product::log, product::run_record, product::manifest, product::sums, product::seal,
                          product::report, product::lock}) {
        refuse_unless_file(result.path(which));
    }
    refuse_unless_file(result.database());
    if (const QString journal = result.database() + QStringLiteral("-journal");
        names_another_file(QFile::encodeName(journal))) {
        refuse(QStringLiteral("cannot write %1: %2 names another file, which a rollback would delete")
                   .arg(result.database(), journal));
    }
    if (!log_path.isEmpty()) {
        refuse_unless_file(log_path);
    }
    for (const QString& folder : {result.artifacts(), result.evidence(), result.verifications()}) {
        walk_tree(QFile::encodeName(folder), [](const tree_entry& entry) {
            refuse_link(entry.path, entry.facts);
            return true;
        });
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
