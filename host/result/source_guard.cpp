#include "host/result/source_guard.h"

#include "host/text/failure.h"

#include <QFile>
#include <QFileInfo>

#include <filesystem>

namespace fs = std::filesystem;

namespace {

fs::path native_path(const QString& path)
{
    return QFile::encodeName(path).toStdString();
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
    return error ? path : canonical;
}

} // namespace

bool lies_inside(const QString& path, const QString& directory)
{
    const fs::path outer = native_path(directory);
    // Directories are compared as such, not by their names: letter case and mounts make names unreliable.
    for (fs::path place = resolved(native_path(path));; place = place.parent_path()) {
        std::error_code absent;
        if (fs::equivalent(place, outer, absent)) {
            return true;
        }
        if (place == place.parent_path()) {
            return false;
        }
    }
}

void keep_out_of_source(const QString& source, const result_paths& result, const QString& log_path)
{
    QStringList written = result.written();
    if (!log_path.isEmpty()) {
        written.append(log_path);
    }
    for (const QString& path : written) {
        if (lies_inside(path, source)) {
            refuse(QStringLiteral("cannot write to %1: it lies inside the source %2, which is only read")
                       .arg(path, source));
        }
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
