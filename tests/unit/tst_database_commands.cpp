#include "support/plugin_static_function.h"
#include "tests/unit/captured_log.h"

#include <QRegularExpression>
#include <QSqlError>
#include <QSqlQuery>
#include <QTest>

using plugin = plugin_static_function;

namespace {

const QString caller = QStringLiteral("void a::b()");
const QString caller_connection = QStringLiteral("the caller's");

struct call
{
    QString command;
    QStringList values;
    QString path;
    QSqlDatabase& database;
};

QString text_of(bool result)
{
    return result ? "true" : "false";
}

QString text_of(const QStringList& result)
{
    return result.join(',');
}

/// One member of the family and what it says and leaves. The texts are lines, separated by "|", in which %1 stands for
/// the database, %2 for the command and %3 for the error.
struct member
{
    const char* name;
    QString (*run)(const call&); ///< the result as text
    const char* connection;      ///< its own connection's name; "" for the caller's, "time" for one by the clock
    const char* opening_failure;
    const char* execution_failure;
    const char* start = "";
    const char* end = "";

    bool named(const char* part) const { return QString(name).contains(part); }
    bool binds() const { return named("bind"); }
    bool keeps_connection() const { return *connection != '\0' && QString(connection) != "time"; }
};

// clang-format off
const char* const opening = " Destination Db opening --------FAILED------ %1|CALLER FUNCTION -  void a::b()| error -  %3";
const char* const list_opening = "Destination Db opening --------FAILED------ %1|CALLER FUNCTION -  void a::b()|error -  %3";
const char* const by_reference = " query  --------FAILED------ db file - %1| CALLER FUNCTION -  -  void a::b()| command -  %2| error -  %3";
const char* const list_by_reference = " query  --------FAILED------db file - %1| CALLER FUNCTION -  -  void a::b()| command -  %2| error -  %3";
const char* const list_by_path = "query  --------FAILED------db file - %1|CALLER FUNCTION -  void a::b()|command -  %2|error -  %3";

const member members[] = {
    {"execute_db_command_by_dbpath",
     [](const call& c) { return text_of(plugin::execute_db_command_by_dbpath(c.command, c.path, caller)); },
     "static bool plugin_static_function::execute_db_command_by_dbpath(QString, QString, QString)void a::b()", opening,
     " query  --------FAILED------ db file - %1|CALLER FUNCTION -  void a::b()| command -  %2| error -  %3"},
    {"execute_db_command_with_addbindvalue_by_dbpath",
     [](const call& c) { return text_of(plugin::execute_db_command_with_addbindvalue_by_dbpath(c.command, c.values, c.path, caller)); },
     "static bool plugin_static_function::execute_db_command_with_addbindvalue_by_dbpath(QString, QStringList, QString, QString)void a::b()", opening,
     " query  --------FAILED------ db file - %1| CALLER FUNCTION -  void a::b()| command -  %2| error -  %3"},
    {"execute_db_command_by_dbreference",
     [](const call& c) { return text_of(plugin::execute_db_command_by_dbreference(c.command, c.database, caller)); },
     "", "", by_reference},
    {"execute_db_command_with_addbindvalue_by_dbreference",
     [](const call& c) { return text_of(plugin::execute_db_command_with_addbindvalue_by_dbreference(c.command, c.values, c.database, caller)); },
     "", "", by_reference},
    {"get_stringlist_from_db_by_dbreference",
     [](const call& c) { return text_of(plugin::get_stringlist_from_db_by_dbreference(c.command, 1, c.database, caller)); },
     "", "", list_by_reference, " Start ", " end "},
    {"get_stringlist_from_db_with_addbindvalues_by_dbreference",
     [](const call& c) { return text_of(plugin::get_stringlist_from_db_with_addbindvalues_by_dbreference(c.command, c.values, 1, c.database, caller)); },
     "", "", list_by_reference, " Start ", " end "},
    {"get_stringlist_from_db_by_dbpath",
     [](const call& c) { return text_of(plugin::get_stringlist_from_db_by_dbpath(c.command, 1, c.path, caller)); },
     "time", list_opening, list_by_path, " Start ", " end "},
    {"get_stringlist_from_db_with_addbindvalues_by_dbpath",
     [](const call& c) { return text_of(plugin::get_stringlist_from_db_with_addbindvalues_by_dbpath(c.command, c.values, 1, c.path, caller)); },
     "time", list_opening, list_by_path, " Start ", " End "},
    {"check_value_existence_in_db_by_dbreference",
     [](const call& c) { return text_of(plugin::check_value_existence_in_db_by_dbreference(c.command, 1, " two ", c.database)); },
     "", "", "[check_value_existence_in_db_by_dbpath] query --------FAILED------the caller's|"
             "[check_value_existence_in_db_by_dbpath]command%2|[check_value_existence_in_db_by_dbpath] error%3"},
    {"get_total_tables_list_by_dbpath",
     [](const call& c) { return text_of(plugin::get_total_tables_list_by_dbpath(c.path, caller)); },
     "static QStringList plugin_static_function::get_total_tables_list_by_dbpath(QString, QString)void a::b()", opening, ""},
};
// clang-format on

/// The lines that a member is to write.
QStringList lines_of(const member& of, const QStringList& texts, const QStringList& values = {})
{
    QStringList lines = texts.join('|').split('|', Qt::SkipEmptyParts);
    for (QString& line : lines) {
        for (qsizetype i = 0; i < values.size(); ++i) {
            line.replace('%' + QString::number(i + 1), values.at(i));
        }
        line.prepend(QString("plugin_static_function::%1: ").arg(of.name));
    }
    return lines;
}

/// The registered connections but the caller's; one that goes by the clock counts as "time".
QString registered()
{
    QStringList names = QSqlDatabase::connectionNames();
    names.removeAll(caller_connection);
    return names.replaceInStrings(QRegularExpression("^\\d{13}$"), "time").join(',');
}

} // namespace

class tst_database_commands : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void success_data() { members_data(); }
    void success();
    void failing_statements_data() { members_data(); }
    void failing_statements();
    void failing_openings_data() { members_data(); }
    void failing_openings();
    void cancelled_data() { members_data(); }
    void cancelled();
    void values_are_compared_trimmed_and_by_case();

private:
    void members_data();
    QString run(const member& called, const QString& command, const QStringList& values = {});

    std::unique_ptr<QTemporaryDir> directory;
    QString path;
    QSqlDatabase database;
};

void tst_database_commands::init()
{
    directory = std::make_unique<QTemporaryDir>();
    path = directory->filePath("test.sqlite");
    database = QSqlDatabase::addDatabase("QSQLITE", caller_connection);
    database.setDatabaseName(path);
    QVERIFY(database.open());
    for (const char* statement : {"CREATE TABLE t (n INTEGER, v VARCHAR)", "CREATE VIEW w AS SELECT * FROM t",
                                  "INSERT INTO t VALUES (1, ' one '), (2, 'two'), (3, 'Three\n')"}) {
        QVERIFY(QSqlQuery(database).exec(statement));
    }
}

void tst_database_commands::cleanup()
{
    plugin::set_essentials();
    database = QSqlDatabase();
    for (const QString& name : QSqlDatabase::connectionNames()) {
        QSqlDatabase::removeDatabase(name);
    }
}

void tst_database_commands::members_data()
{
    QTest::addColumn<int>("index");
    for (int i = 0; i < int(std::size(members)); ++i) {
        QTest::newRow(members[i].name) << i;
    }
}

QString tst_database_commands::run(const member& called, const QString& command, const QStringList& values)
{
    const QString result = called.run({command, values, path, database});
    return database.isOpen() ? result : "the caller's connection was closed";
}

void tst_database_commands::success()
{
    QFETCH(const int, index);
    const member& called = members[index];
    const captured_log log;
    // A connection left from the first call is no hindrance to the second. A text is greater than any number.
    for (int i = 0; i < 2; ++i) {
        QCOMPARE(run(called,
                     called.binds() ? "SELECT n, v FROM t WHERE n > CAST(? AS INTEGER) AND typeof(?) = 'text'"
                                    : "SELECT n, v FROM t WHERE n > 1",
                     called.binds() ? QStringList({"1", "2"}) : QStringList()),
                 called.named("total")  ? "t"
                 : called.named("list") ? "two,Three"
                                        : "true");
    }
    QCOMPARE(log.lines(), lines_of(called, {called.start, called.end, called.start, called.end}));
    QCOMPARE(registered(), called.keeps_connection() ? called.connection : "");
    QVERIFY(!called.keeps_connection() || !QSqlDatabase::database(called.connection, false).isOpen());
}

void tst_database_commands::failing_statements()
{
    QFETCH(const int, index);
    const member& called = members[index];
    const captured_log log;
    const QString command = "SELECT * FROM missing";
    QSqlQuery same(database);
    QVERIFY(!same.prepare(command) && !same.exec());
    QCOMPARE(run(called, command), called.named("total") ? "t" : called.named("list") ? "" : "false");
    const QString named = called.named("check") ? caller_connection : path;
    QCOMPARE(log.lines(),
             lines_of(called, {called.start, called.execution_failure}, {named, command, same.lastError().text()}));
    QCOMPARE(registered(), called.keeps_connection() ? called.connection : "");
    QVERIFY(!called.keeps_connection() || !QSqlDatabase::database(called.connection, false).isOpen());
}

void tst_database_commands::failing_openings()
{
    QFETCH(const int, index);
    const member& called = members[index];
    const captured_log log;
    path = directory->filePath("missing/folder.sqlite");
    const bool own = *called.connection != '\0';
    if (own) {
        QCOMPARE(run(called, "SELECT 1, 2"), called.named("list") ? "" : "false");
        QCOMPARE(log.lines(), lines_of(called, {called.start, called.opening_failure},
                                       {path, {}, "unable to open database file Error opening database"}));
    }
    QCOMPARE(registered(), called.keeps_connection() ? called.connection : "");
}

void tst_database_commands::cancelled()
{
    QFETCH(const int, index);
    const member& called = members[index];
    const captured_log log;
    const bool reads = called.named("stringlist");
    const QString command = reads || called.named("check") ? "SELECT n, v FROM t" : "DELETE FROM t";
    plugin::set_cancel_extraction(true);
    QCOMPARE(run(called, called.binds() ? command + " WHERE n > ?" : command,
                 called.binds() ? QStringList("0") : QStringList()),
             called.named("total")                     ? "t"
             : reads                                   ? ""
             : called.binds() || called.named("check") ? "false"
                                                       : "true");
    QCOMPARE(log.lines(), lines_of(called, {called.start}));
    if (called.binds() || reads) {
        QCOMPARE(registered(), called.connection);
        for (const QString& left : QSqlDatabase::connectionNames()) {
            QVERIFY2(QSqlDatabase::database(left, false).isOpen(), "a cancelled call closes nothing");
        }
    }
    QSqlQuery rows("SELECT count(*) FROM t", database);
    QVERIFY(rows.next());
    const bool deletes = !reads && !called.binds() && called.named("execute");
    QCOMPARE(rows.value(0).toInt(), deletes ? 0 : 3);
    rows.finish();
    // Without a value to bind nothing is polled before the execution.
    if (called.binds() && !reads) {
        QCOMPARE(run(called, command), "true");
    }
}

void tst_database_commands::values_are_compared_trimmed_and_by_case()
{
    for (const auto& [value, exists] : {std::pair("\tThree ", true), {"one", true}, {"three", false}, {"", false}}) {
        QCOMPARE(plugin::check_value_existence_in_db_by_dbreference("SELECT v FROM t", 0, value, database), exists);
    }
}

QTEST_MAIN(tst_database_commands)
#include "tst_database_commands.moc"
