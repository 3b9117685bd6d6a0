#include "support/plugin_static_function.h"
#include "tests/common/captured_log.h"

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
    bool reads() const { return named("stringlist"); }
    bool lists_tables() const { return named("total"); }
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
    void init()
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

    void cleanup()
    {
        plugin::set_essentials();
        database = QSqlDatabase();
        for (const QString& name : QSqlDatabase::connectionNames()) {
            QSqlDatabase::removeDatabase(name);
        }
    }

    void success_data() { members_data(); }
    void success()
    {
        QFETCH(const member*, called);
        // A connection left from the first call is no hindrance to the second. A text is greater than any number.
        for (int i = 0; i < 2; ++i) {
            check(called,
                  called->binds() ? "SELECT n, v FROM t WHERE n > CAST(? AS INTEGER) AND typeof(?) = 'text'"
                                  : "SELECT n, v FROM t WHERE n > 1",
                  called->binds() ? QStringList({"1", "2"}) : QStringList(),
                  called->lists_tables() ? "t"
                  : called->reads()      ? "two,Three"
                                         : "true",
                  QString(called->start) + '|' + called->end);
        }
    }

    void failures_data() { members_data(); }
    void failures()
    {
        QFETCH(const member*, called);
        const QString start = QString(called->start) + '|';
        const QString command = "SELECT * FROM missing";
        QSqlQuery same(database);
        QVERIFY(!same.prepare(command) && !same.exec());
        const QString nothing = called->reads() ? "" : "false";
        check(called, command, {}, called->lists_tables() ? "t" : nothing, start + called->execution_failure,
              same.lastError().text());

        if (*called->connection != '\0') {
            path = directory->filePath("missing/folder.sqlite");
            check(called, "SELECT 1, 2", {}, called->lists_tables() ? "" : nothing, start + called->opening_failure,
                  "unable to open database file Error opening database");
            // SQLite itself would open a database of its own, which is gone with the connection.
            path.clear();
            check(called, "SELECT 1, 2", {}, called->lists_tables() ? "" : nothing, start + called->opening_failure,
                  "the path of the database is empty");
        }
    }

    void cancelled_data() { members_data(); }
    void cancelled()
    {
        QFETCH(const member*, called);
        const bool is_polled = called->binds() || called->reads() || called->named("check");
        const bool deletes = !is_polled && !called->lists_tables();
        const QString command = called->reads() || called->named("check") ? "SELECT n, v FROM t" : "DELETE FROM t";
        plugin::set_cancel_extraction(true);
        check(called, called->binds() ? command + " WHERE n > ?" : command,
              called->binds() ? QStringList("0") : QStringList(),
              called->lists_tables() ? "t"
              : called->reads()      ? ""
                                     : text_of(deletes),
              called->start);
        QSqlQuery rows("SELECT count(*) FROM t", database);
        QVERIFY(rows.next());
        QCOMPARE(rows.value(0).toInt(), deletes ? 0 : 3);
        rows.finish();
        // Without a value to bind nothing is polled before the execution.
        if (called->binds() && !called->reads()) {
            QCOMPARE(called->run({command, {}, path, database}), "true");
        }
    }

    void values_are_compared_trimmed_and_by_case()
    {
        for (const auto& [value, exists] :
             {std::pair("\tThree ", true), {"one", true}, {"three", false}, {"", false}}) {
            QCOMPARE(plugin::check_value_existence_in_db_by_dbreference("SELECT v FROM t", 0, value, database), exists);
        }
    }

private:
    void members_data()
    {
        QTest::addColumn<const member*>("called");
        for (const member& called : members) {
            QTest::newRow(called.name) << &called;
        }
    }

    /// Calls the member and compares its result, the texts that it logs, and the connections that it leaves.
    void check(const member* called, const QString& command, const QStringList& values, const QString& result,
               const QString& texts, const QString& error = {})
    {
        const captured_log log;
        QCOMPARE(called->run({command, values, path, database}), result);
        QVERIFY2(database.isOpen(), "the caller's connection was closed");
        QStringList lines = texts.split('|', Qt::SkipEmptyParts);
        lines.replaceInStrings("%1", path).replaceInStrings("%2", command).replaceInStrings("%3", error);
        lines.replaceInStrings(QRegularExpression("^"), QString("plugin_static_function::%1: ").arg(called->name));
        QCOMPARE(log.lines(), lines);
        const bool cancelled = plugin::bool_cancel_extraction && (called->binds() || called->reads());
        QCOMPARE(registered(), cancelled || called->keeps_connection() ? called->connection : "");
        for (const QString& left : QSqlDatabase::connectionNames()) {
            QVERIFY2(QSqlDatabase::database(left, false).isOpen() == (cancelled || left == caller_connection),
                     "only a cancelled call leaves its connection open");
        }
    }

    std::unique_ptr<QTemporaryDir> directory;
    QString path;
    QSqlDatabase database;
};

QTEST_MAIN(tst_database_commands)
#include "tst_database_commands.moc"
