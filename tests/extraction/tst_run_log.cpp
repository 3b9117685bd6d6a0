#include "tests/common/driven_plugin.h"
#include "tests/common/evidence_source.h"

#include <QDir>
#include <QSqlDatabase>
#include <QTest>

namespace {

const QString account_statement =
    QStringLiteral("select Z_PK,ZIDENTIFIER,ZPARENTACCOUNT,ZUSERNAME,ZOWNINGBUNDLEID,ZDATACLASSPROPERTIES "
                   "from ZACCOUNT where (ZIDENTIFIER = '%1' OR ZUSERNAME = '%1')");

const char* const failed_lookup = R"(
~extract_account: START
~sub_compare_identifier_with_db: [sub_compare_identifier_with_db]source_url query execution --------FAILED------->> @1
~sub_compare_identifier_with_db: @2
~sub_compare_identifier_with_db: @3
~extract_account: END)";

/// Expected lines: "/" stands for the plug-in object, "~" for the macOS extractor, @1 to @3 for the values.
QStringList lines(const char* text, const QStringList& values = {})
{
    QStringList lines = QString(text).split('\n', Qt::SkipEmptyParts);
    lines.replaceInStrings(QRegularExpression("^/"), "apple_mail_extractor::");
    lines.replaceInStrings(QRegularExpression("^~"), "apple_mail_extractor_macos::");
    for (qsizetype i = 0; i < values.size(); ++i) {
        lines.replaceInStrings('@' + QString::number(i + 1), values.at(i));
    }
    return lines;
}

QString error_of(const QString& database_path, const QString& statement)
{
    return rows_of(database_path, statement).value(0).remove("FAILED: ");
}

void add_one_account(const evidence_source& source)
{
    source.add_mail("ann", "V9/ID-A/1|V9/IMAP-a@host/1");
    source.add_store("ann", "1:ID-A::account@host");
}

/// What the extraction logs after the host has prepared it.
QStringList log_of_extraction(driven_plugin& plugin)
{
    plugin.prepare();
    const qsizetype prepared = plugin.log().size();
    plugin.extract();
    return plugin.log().mid(prepared);
}

} // namespace

class tst_run_log : public QObject
{
    Q_OBJECT

private slots:
    void a_whole_run()
    {
        const evidence_source source;
        add_one_account(source);
        driven_plugin plugin(source, {.users = {"ann"}, .clear = true});
        plugin.run();
        QCOMPARE(plugin.log(), lines(R"(
/set_destination_location: starts
/set_destination_location: ends
/clear_db_tables: [clear_db_tables]DB not exists and so returning...
/create_destination_database: starts
/create_db_tables: starts
/create_db_tables: end
/create_destination_database: ends
~find_source_file: starts
~find_source_file: ends
/pub_extract_artifacts: START
~extract_plugin_artifacts: starts
~extract_account: START
~extract_account: END
~extract_mail_extractor: starts
~extract_mail_extractor: ends
~extract_plugin_artifacts: ends
/pub_extract_artifacts: END)"));
    }

    // Log lines show a signature reduced; a connection is named after the whole of it.
    void connections_carry_whole_signatures()
    {
        const evidence_source source;
        add_one_account(source);
        driven_plugin(source, {{"ann"}}).run();
        driven_plugin(source, {.users = {"ann"}, .clear = true}).run();
        QStringList names = QSqlDatabase::connectionNames();
        names.sort();
        QCOMPARE(names.join('\n'),
                 "QList<apple_mail_extractor_macos::struct_apple_mail_extractor_account_details> "
                 "apple_mail_extractor_macos::sub_compare_identifier_with_db(QStringList, QString)\n"
                 "source_void apple_mail_extractor_macos::extract_account(QString, QString, QString)\n"
                 "static bool plugin_static_function::execute_db_command_by_dbpath(QString, QString, QString)"
                 "void apple_mail_extractor::clear_db_tables()\n"
                 "void apple_mail_extractor::create_db_tables()\n"
                 "void apple_mail_extractor_macos::extract_account(QString, QString, QString)\n"
                 "void apple_mail_extractor_macos::extract_mail_extractor()");
    }

    void other_schemes()
    {
        for (const auto& [scheme, known] :
             {std::pair("macos", false), {"", false}, {"iOS_UID", true}, {"winOS", true}}) {
            const evidence_source source;
            add_one_account(source);
            driven_plugin plugin(source, {.users = {"ann"}, .scheme = scheme});
            const QString failure = QString("------FAILED------- supported os scheme internal not matched, received os "
                                            "scheme internal =  %1, plugin name is Apple Mail Extractor")
                                        .arg(scheme);
            QCOMPARE(log_of_extraction(plugin),
                     known ? lines("/pub_extract_artifacts: START\n/pub_extract_artifacts: END")
                           : lines("/pub_find_source_file: @1\n/pub_extract_artifacts: START\n"
                                   "/pub_extract_artifacts: @1\n/pub_extract_artifacts: END",
                                   {failure}));
            QVERIFY(plugin.rows().isEmpty() && plugin.copied.isEmpty());
            plugin->pub_cancel_extraction();
            plugin->pub_extract_artifacts();
            QCOMPARE(plugin.events.join(", "), "records 0, records 0, records 0, records 0");
            QCOMPARE(plugin.log().last().endsWith("END"), !known);
        }
    }

    void unusable_stores()
    {
        // Without a store at all, with no database in it, with nothing in it, cut off behind its header.
        for (const QByteArray& content : {QByteArray(), QByteArray(5000, '?'), QByteArray(""),
                                          QByteArray("SQLite format 3\0\x10\0\x01\x01\0\x40\x20\x20", 24)}) {
            const evidence_source source;
            source.add_mail("ann", "V9/ID-A/1");
            driven_plugin plugin(source, {{"ann"}});
            if (content.isNull()) {
                QCOMPARE(log_of_extraction(plugin).mid(4, 2),
                         lines("~extract_account: START\n~extract_mail_extractor: starts"));
                continue;
            }
            source.add_file("Users/ann/Library/Accounts/Accounts4.sqlite", content);
            const QString statement = account_statement.arg("ID-A");
            const QString error = error_of(source.add_file("the same", content), statement);
            QVERIFY(!error.isEmpty());
            QCOMPARE(log_of_extraction(plugin).mid(4, 5),
                     lines(failed_lookup, {plugin.plugin_directory + "tmp/Accounts4.sqlite", error, statement}));
        }
    }

    void quotes_break_statements()
    {
        const evidence_source source;
        source.add_mail("ann", "V9/it's/1");
        source.add_mail("bob", "V9/ID-B/1");
        source.add_store("ann", "1:it's::ann@host");
        source.add_store("bob", "1:ID-B::o'neil@host");
        driven_plugin plugin(source, {{"ann", "bob"}});
        const QString store = source.root() + "Users/ann/Library/Accounts/Accounts4.sqlite";
        const QString by_identifier = account_statement.arg("it's");
        const QString by_name =
            "select Z_PK,ZIDENTIFIER,ZPARENTACCOUNT,ZUSERNAME,ZOWNINGBUNDLEID,ZACCOUNTDESCRIPTION from "
            "ZACCOUNT where ZUSERNAME = 'o'neil@host'";
        const QString scratch = plugin.plugin_directory + "tmp/";
        QCOMPARE(log_of_extraction(plugin).mid(4, 10),
                 lines(failed_lookup, {scratch + "Accounts4.sqlite", error_of(store, by_identifier), by_identifier}) +
                     lines(R"(
~extract_account: START
~extract_account: source_url query execution --------FAILED-------@1
~extract_account: ERROR :- @2
~extract_account: Query :- @3
~extract_account: END)",
                           {scratch + "1_Accounts4.sqlite", error_of(store, by_name), by_name}));
        QVERIFY(plugin.rows().isEmpty());
    }

    void no_result_database()
    {
        const evidence_source source;
        add_one_account(source);
        driven_plugin plugin(source, {.users = {"ann"}, .clear = true});
        // A folder in the place of the file.
        QVERIFY(QDir().mkpath(plugin.database_path));
        plugin.run();
        QCOMPARE(plugin.log().mid(2), lines(R"(
plugin_static_function::execute_db_command_by_dbpath:  Destination Db opening --------FAILED------ @1
plugin_static_function::execute_db_command_by_dbpath: CALLER FUNCTION -  void apple_mail_extractor::clear_db_tables()
plugin_static_function::execute_db_command_by_dbpath:  error -  @2
/create_destination_database: starts
/create_db_tables: starts
/create_db_tables: [create_db_tables]open destination database -------FAILED-----@1
/create_db_tables: @2
/create_db_tables: @1
/create_destination_database: ends
~find_source_file: starts
~find_source_file: ends
/pub_extract_artifacts: START
~extract_plugin_artifacts: starts
~extract_account: START
~extract_account: destination_db Db opening --------FAILED------- @1
~extract_account: ERROR :- @2
~extract_mail_extractor: starts
~extract_mail_extractor: Destination Db opening --------FAILED------ @1
~extract_mail_extractor: ERROR :- @2
~extract_plugin_artifacts: ends
/pub_extract_artifacts: END)",
                                            {plugin.database_path, error_of(plugin.database_path, {})}));
        QCOMPARE(plugin.events.join(", "), "records 0, records 0, tabs 1, records 0, records 0");
    }

    void no_result_table()
    {
        const evidence_source source;
        add_one_account(source);
        driven_plugin plugin(source, {{"ann"}});
        plugin.prepare();
        QCOMPARE(rows_of(plugin.database_path, "DROP TABLE accounts"), QStringList());
        plugin.extract();
        const auto failed_row = [&plugin](const char* operation, const QString& statement) {
            const QVariantList values(statement.count('?'), "0");
            const QStringList failure =
                rows_of(plugin.database_path, statement, values).replaceInStrings("FAILED: ", "");
            return lines("~@4: insert in  mailaccounts ---------FAILED------ @1\n~@4: ERROR :- @2\n~@4: Query :- @3",
                         {plugin.database_path, failure.value(0), failure.value(1), operation});
        };
        QCOMPARE(
            plugin.log().filter(QRegularExpression("FAILED|ERROR|Query")),
            failed_row("extract_account",
                       "insert into accounts (bookmark, system_user, account,account_type, files_copied,source_file,"
                       "artifacts_relation_source_file,dest_path,os_scheme_display ,source_count_name)"
                       "values(?,?,?,?,? ,?,?,?,?,?)") +
                failed_row("extract_mail_extractor",
                           "insert into accounts (bookmark, system_user, account,account_type, files_copied, "
                           "source_file,artifacts_relation_source_file,dest_path,source_count_name) "
                           "values(?,?,?,?,? ,?,?,?,?)"));
        QCOMPARE(plugin.events.last(), "records 0");
    }
};

QTEST_MAIN(tst_run_log)
#include "tst_run_log.moc"
