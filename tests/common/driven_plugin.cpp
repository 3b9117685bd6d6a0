#include "tests/common/driven_plugin.h"

#include "tests/common/evidence_source.h"
#include "tests/common/files.h"

#include <QDate>
#include <QLibrary>
#include <QRegularExpression>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>

QStringList rows_of(const QString& database_path, const QString& statement, const QVariantList& values)
{
    QStringList rows;
    {
        QSqlDatabase database = QSqlDatabase::addDatabase("QSQLITE", "rows of a test");
        database.setDatabaseName(database_path);
        if (!database.open()) {
            rows = QStringList("FAILED: " + database.lastError().text());
        }
        QSqlQuery query(database);
        if (!values.isEmpty()) {
            query.prepare(statement);
        }
        for (const QVariant& value : values) {
            query.addBindValue(value);
        }
        if (database.isOpen() && !(values.isEmpty() ? query.exec(statement) : query.exec())) {
            rows = QStringList{"FAILED: " + query.lastError().text(), query.executedQuery()};
        }
        while (query.next()) {
            QStringList row;
            for (int column = 0; column < query.record().count(); ++column) {
                row.append(query.isNull(column) ? "NULL" : query.value(column).toString());
            }
            rows.append(row.join('|'));
        }
    }
    QSqlDatabase::removeDatabase("rows of a test");
    return rows;
}

driven_plugin::driven_plugin(const evidence_source& evidence, const run_settings& run)
    : plugin_directory(evidence.result() + "/Artifacts_Result/Apple_Mail_Extractor/")
    , database_path(plugin_directory + "Apple_Mail_Extractor.sqlite")
    , source(evidence)
    , settings(run)
{
    static QLibrary library(QStringLiteral(PLUGIN_LIBRARY));
    const auto create = reinterpret_cast<apple_mail_extractor* (*)()>(library.resolve("create_object"));
    if (create == nullptr) {
        qFatal("%s", qUtf8Printable(library.errorString()));
    }
    plugin.reset(create());
    // By name, as a host does that has only the signals' texts.
    connect(plugin.get(), SIGNAL(signal_extracted_records_of_plugin_overall(qint64)), SLOT(take_records(qint64)));
    connect(plugin.get(), SIGNAL(signal_tab_processed_of_plugin_overall(int)), SLOT(take_tabs(int)));
    connect(plugin.get(), SIGNAL(signal_copy_progress_of_plugin_overall(qint64, qint64)),
            SLOT(take_copied(qint64, qint64)));
    connect(plugin.get(), SIGNAL(signal_copied_file_of_plugin_overall(copied_file)), SLOT(take_file(copied_file)));
    connect(plugin.get(), SIGNAL(signal_bulk_copied_of_plugin_overall()), SLOT(take_bulk_end()));
}

driven_plugin::~driven_plugin()
{
    // The log's switches belong to the whole process.
    plugin->pub_remove_temporary_asthetics();
    plugin->pub_set_essentials();
}

void driven_plugin::prepare()
{
    plugin->pub_set_essentials();
    plugin->pub_set_engine_type(settings.engine_type);
    plugin->pub_set_source_count(7);
    plugin->pub_set_ios_uid_backup_pointer(nullptr);
    plugin->pub_set_desktop_info({});
    plugin->pub_set_general_info({false, true, false, true, false, source.result() + "/log.txt"});
    set_users(settings.users);
    plugin->pub_set_essential_for_kavro_desk_extraction(settings.tables, {"ignored"});
    plugin->setProperty("additional_mail_versions", settings.additional_mail_versions);
    plugin->setProperty("bulk_copying", settings.bulk_copying);
    plugin->pub_set_result_directory(source.result());
    plugin->pub_set_clear_db(settings.clear);
    plugin->pub_create_db_tables();
    plugin->pub_set_extended_attributes_list({});
}

void driven_plugin::set_users(const QStringList& users)
{
    struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_source_info info;
    info.source_root_path = source.root();
    info.source_type_internal = settings.source_type;
    info.os_scheme_display = "macOS 14";
    info.os_scheme_internal = settings.scheme;
    for (const QString& user : users) {
        info.system_account_QList.append({user, {}});
    }
    plugin->pub_set_source_info(info);
}

void driven_plugin::extract()
{
    plugin->pub_find_source_file();
    plugin->pub_extract_artifacts();
}

void driven_plugin::run()
{
    prepare();
    extract();
    plugin->pub_generate_chat_html_pages();
    plugin->pub_remove_temporary_asthetics();
}

QStringList driven_plugin::rows() const
{
    QStringList rows = rows_of(database_path, "SELECT system_user, account, account_type, files_copied, source_file, "
                                              "artifacts_relation_source_file, dest_path, os_scheme_display, "
                                              "source_count_name FROM accounts");
    rows.replaceInStrings(QRegularExpression("_\\d\\d-\\d\\d-\\d{4}/"), "_DATE/");
    rows.sort();
    return rows;
}

QStringList driven_plugin::log() const
{
    static const QRegularExpression head("^\\[\\d{4}-[A-Z][a-z]{2}-\\d\\dT\\d\\d-\\d\\d-\\d\\d\\]"
                                         "\\[KAVRO_DESK\\]\\[Artifacts Extraction\\]\\[([^\\]]+)\\]:-- ");
    return QString::fromUtf8(content_of(source.result() + "/log.txt"))
        .split('\n', Qt::SkipEmptyParts)
        .replaceInStrings(head, "\\1: ");
}

QString driven_plugin::mail_copy(const QString& user) const
{
    return plugin_directory + "Apple_Mail_Extractor_" + user + '_' + QDate::currentDate().toString("MM-dd-yyyy");
}

void driven_plugin::take(QStringList& list, const QString& event)
{
    list.append(event);
    if (on_event) {
        on_event(event);
    }
}
