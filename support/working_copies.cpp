#include "support/plugin_helper_functions.h"
#include "support/plugin_static_function.h"

#include <QFile>
#include <QFileInfo>

#include <array>

namespace {

// SQLite expects them beside the database under its name: without the log, rows not yet in the database are lost.
constexpr std::array database_companions{"-shm", "-wal"};
// The scratch directory also takes the files of account folders, and one that bears a companion's name would be worked
// into the copy.
constexpr std::array foreign_companions{"-shm", "-wal", "-journal"};

struct working_copy
{
    QString path; ///< where it is, or would be
    bool is_made = false;
};

/// Copies a file, unless it is a pipe or the like that never ends.
bool copy_regular_file(const QString& source, const QString& destination)
{
    return QFileInfo(source).isFile() && QFile::copy(source, destination);
}

/// Copies a file under a free name into the scratch directory.
working_copy copy_under_free_name(const QString& file_path, const QString& scratch_directory, const char* caller)
{
    const QString file_name = QFileInfo(file_path).fileName();
    const QString destination =
        scratch_directory + plugin_static_function::get_available_file(file_name, scratch_directory, caller);
    if (QFile::exists(destination)) {
        QFile::remove(destination);
    }
    return {destination, copy_regular_file(file_path, destination)};
}

} // namespace

QString plugin_helper_functions::get_adhoc_path_for_database(QString database_path)
{
    if (database_path.trimmed().isEmpty() || adhoc_parent_path.isEmpty()) {
        return {};
    }
    const working_copy copy = copy_under_free_name(database_path, adhoc_parent_path, Q_FUNC_INFO);
    if (!copy.is_made) {
        return copy.path;
    }
    for (const char* companion : foreign_companions) {
        QFile::remove(copy.path + QLatin1String(companion));
    }
    for (const char* companion : database_companions) {
        copy_regular_file(database_path + QLatin1String(companion), copy.path + QLatin1String(companion));
    }
    return copy.path;
}

QString plugin_helper_functions::get_adhoc_path_for_regular_file(QString file_path)
{
    if (file_path.trimmed().isEmpty() || adhoc_parent_path.isEmpty()) {
        return {};
    }
    return copy_under_free_name(file_path, adhoc_parent_path, Q_FUNC_INFO).path;
}
