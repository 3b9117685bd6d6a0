#include "support/plugin_helper_functions.h"
#include "support/plugin_static_function.h"

#include <QFile>
#include <QFileInfo>

#include <array>

namespace {

// SQLite expects them beside the database under its name: without the log, rows not yet in the database are lost.
constexpr std::array database_companions{"-shm", "-wal"};

/// Copies a file under a free name into the scratch directory and returns the copy's path, untested.
QString copy_under_free_name(const QString& file_path, const QString& scratch_directory, const char* caller)
{
    const QString file_name = QFileInfo(file_path).fileName();
    const QString destination =
        scratch_directory + plugin_static_function::get_available_file(file_name, scratch_directory, caller);
    if (QFile::exists(destination)) {
        QFile::remove(destination);
    }
    QFile::copy(file_path, destination);
    return destination;
}

} // namespace

QString plugin_helper_functions::get_adhoc_path_for_database(QString database_path)
{
    if (database_path.trimmed().isEmpty() || adhoc_parent_path.isEmpty()) {
        return {};
    }
    const QString destination = copy_under_free_name(database_path, adhoc_parent_path, Q_FUNC_INFO);
    for (const char* companion : database_companions) {
        const QString source_companion = database_path + QLatin1String(companion);
        if (QFile::exists(source_companion)) {
            QFile::copy(source_companion, destination + QLatin1String(companion));
        }
    }
    return destination;
}

QString plugin_helper_functions::get_adhoc_path_for_regular_file(QString file_path)
{
    if (file_path.trimmed().isEmpty() || adhoc_parent_path.isEmpty()) {
        return {};
    }
    return copy_under_free_name(file_path, adhoc_parent_path, Q_FUNC_INFO);
}
