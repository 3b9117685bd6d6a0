#include "macos/account_folder_names.h"
#include "macos/account_lookup.h"
#include "macos/apple_mail_extractor_macos.h"
#include "support/limited_database.h"
#include "support/plugin_static_function.h"

#include <QDirIterator>
#include <QFileInfo>
#include <QSqlQuery>

namespace {

// Nothing reads them, and one is kept for every folder.
constexpr qsizetype longest_properties = 4096;

} // namespace

QStringList apple_mail_extractor_macos::sub_get_identifier_bundle_path(QString directory)
{
    QStringList paths;
    if (!QFileInfo::exists(directory)) {
        return paths;
    }
    QDirIterator entries(directory);
    while (entries.hasNext() && !cancel_requested) {
        const QString path = QFileInfo(entries.next()).absoluteFilePath();
        const QString name = entries.fileName();
        if (name != QLatin1String(".") && name != QLatin1String("..")) {
            paths.append(path);
        }
    }
    return paths;
}

QStringList apple_mail_extractor_macos::sub_get_identifier_bundle_name(QStringList paths)
{
    QStringList names;
    for (const QString& path : paths) {
        if (cancel_requested) {
            return names;
        }
        const std::optional<QString> candidate = candidate_from_folder_name(QFileInfo(path).fileName());
        if (candidate) {
            names.append(*candidate);
        }
    }
    return names;
}

QList<apple_mail_extractor_macos::struct_apple_mail_extractor_account_details>
apple_mail_extractor_macos::sub_compare_identifier_with_db(QStringList identifiers, QString database)
{
    QList<struct_apple_mail_extractor_account_details> details;
    limited_database store(Q_FUNC_INFO, database, account_table, look_up_time_left);
    if (!store.is_open()) {
        plugin_static_function::app_debug(
            QStringLiteral("[sub_compare_identifier_with_db]Source Db opening --------FAILED------- "), Q_FUNC_INFO);
        plugin_static_function::app_debug(store.opening_error(), Q_FUNC_INFO);
        plugin_static_function::app_debug(database, Q_FUNC_INFO);
        return details;
    }

    account_lookup lookup(
        store, QStringLiteral("Z_PK,ZIDENTIFIER,ZPARENTACCOUNT,ZUSERNAME,ZOWNINGBUNDLEID,ZDATACLASSPROPERTIES"),
        {QStringLiteral("ZIDENTIFIER"), QStringLiteral("ZUSERNAME")});
    lookup.expect(identifiers);
    for (const QString& identifier : identifiers) {
        if (cancel_requested) {
            return details;
        }
        QSqlQuery query(store.database());
        if (!lookup.execute(query, identifier)) {
            plugin_static_function::app_debug(
                QStringLiteral("[sub_compare_identifier_with_db]source_url query execution --------FAILED------->> ") +
                    database,
                Q_FUNC_INFO);
            plugin_static_function::app_debug(lookup.error(), Q_FUNC_INFO);
            plugin_static_function::app_debug(lookup.statement(identifier), Q_FUNC_INFO);
            if (store.is_time_over()) {
                return details;
            }
            continue;
        }
        if (!query.next()) {
            continue;
        }
        if (cancel_requested) {
            return details;
        }
        const auto text = [&query](int column) { return query.value(column).toString(); };
        // A row that leads to no name, neither its own nor a parent's, cannot become an account.
        if (text(2).isEmpty() && text(3).isEmpty()) {
            continue;
        }
        details.append({text(0), text(1), text(2), text(3), text(4), text(5).left(longest_properties)});
    }
    return details;
}
