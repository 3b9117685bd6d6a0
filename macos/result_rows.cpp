#include "macos/apple_mail_extractor_macos.h"
#include "support/plugin_static_function.h"
#include "support/shared_texts.h"

#include <QSqlError>
#include <QSqlQuery>

namespace {

constexpr qint64 records_signal_interval_ms = 1001;

} // namespace

void apple_mail_extractor_macos::insert_account_row(QSqlDatabase& database, const QString& statement,
                                                    const QVariantList& values, const char* signature)
{
    QSqlQuery query(database);
    query.prepare(statement);
    for (const QVariant& value : values) {
        // A text without characters is stored as such: NULL is left to the columns that a row does not have.
        const bool is_null_text = value.typeId() == QMetaType::QString && value.toString().isNull();
        query.addBindValue(is_null_text ? QVariant(QLatin1String("")) : value, QSql::In);
    }
    if (!query.exec()) {
        // The table's name in this text is an old one that log readers know.
        plugin_static_function::app_debug(
            QStringLiteral("insert in  mailaccounts ---------FAILED------ ") + database.databaseName(), signature);
        plugin_static_function::app_debug(QStringLiteral("ERROR :- ") + query.lastError().text(), signature);
        plugin_static_function::app_debug(QStringLiteral("Query :- ") + query.executedQuery(), signature);
        return;
    }
    ++record_count;
    if (elapsed_timer.elapsed() >= records_signal_interval_ms) {
        emit signal_extracted_records_of_plugin_macos(record_count);
        elapsed_timer.restart();
    }
}

/// Returns the folder of the result tree that takes a user's mail today.
QString apple_mail_extractor_macos::dated_destination(const QString& system_user) const
{
    return destination_root_path + shared_texts::dated_folder(plugin_name, system_user, extract_current_date());
}

/// Returns a path as the source's own file system knows it, with a leading "/".
QString apple_mail_extractor_macos::path_below_source(const QString& path) const
{
    QString below = path.trimmed();
    if (below.startsWith(source_root_path)) {
        below.remove(0, source_root_path.size());
    }
    if (!below.startsWith(QLatin1Char('/')) && !below.trimmed().isEmpty()) {
        below.prepend(QLatin1Char('/'));
    }
    return below;
}

/// Returns a result path relative to the case's result directory, with a leading "/".
QString apple_mail_extractor_macos::path_below_result(QString path) const
{
    const qsizetype marker = path.indexOf(shared_texts::results_directory + QLatin1Char('/'));
    if (marker > 0) {
        path.remove(0, marker);
    }
    if (!path.startsWith(QLatin1Char('/'))) {
        path.prepend(QLatin1Char('/'));
    }
    return path;
}
