#include "support/named_connection.h"
#include "support/plugin_static_function.h"

#include <QDateTime>
#include <QSqlError>
#include <QSqlQuery>

namespace {

// Log readers search for these texts, so their irregular blanks and dashes stay. A text without a caller line has
// nullptr there.
struct failure_texts
{
    const char* what;
    const char* caller;
    const char* command;
    const char* error;
};

constexpr const char* open_failed = " Destination Db opening --------FAILED------ ";
constexpr const char* plain_caller = "CALLER FUNCTION -  ";

constexpr failure_texts opening_for_command{open_failed, plain_caller, nullptr, " error -  "};
constexpr failure_texts opening_for_list{"Destination Db opening --------FAILED------ ", plain_caller, nullptr,
                                         "error -  "};

constexpr failure_texts command_by_dbpath{" query  --------FAILED------ db file - ", plain_caller, " command -  ",
                                          " error -  "};
constexpr failure_texts bound_command_by_dbpath{" query  --------FAILED------ db file - ", " CALLER FUNCTION -  ",
                                                " command -  ", " error -  "};
constexpr failure_texts command_by_dbreference{" query  --------FAILED------ db file - ", " CALLER FUNCTION -  -  ",
                                               " command -  ", " error -  "};
constexpr failure_texts list_by_dbreference{" query  --------FAILED------db file - ", " CALLER FUNCTION -  -  ",
                                            " command -  ", " error -  "};
constexpr failure_texts list_by_dbpath{"query  --------FAILED------db file - ", plain_caller, "command -  ",
                                       "error -  "};
constexpr failure_texts value_existence{"[check_value_existence_in_db_by_dbpath] query --------FAILED------", nullptr,
                                        "[check_value_existence_in_db_by_dbpath]command",
                                        "[check_value_existence_in_db_by_dbpath] error"};

/// What one call hands to the shared steps; `signature` is the member's own.
struct call_details
{
    const char* signature;
    QString command;
    QStringList values;
    QString caller;
};

void log_failure(const failure_texts& texts, const call_details& call, const QString& database, const QString& error)
{
    const auto log = [&call](const char* text, const QString& value) {
        if (text != nullptr) {
            plugin_static_function::app_debug(QString::fromLatin1(text) + value, call.signature);
        }
    };
    log(texts.what, database);
    log(texts.caller, call.caller);
    log(texts.command, call.command);
    log(texts.error, error);
}

/// Replaces the connection of that name by one to the database, opened; a failure is logged.
QSqlDatabase open_or_log(const QString& name, const QString& path, const failure_texts& texts, const call_details& call)
{
    QSqlDatabase database;
    const QString error = open_connection(database, name, path);
    if (!error.isEmpty()) {
        log_failure(texts, call, path, error);
    }
    return database;
}

enum class outcome
{
    executed,
    failed,
    cancelled
};

/// Binds and executes; a failed preparation shows as a failed execution.
outcome execute(QSqlQuery& query, const call_details& call, const failure_texts& texts, const QString& database)
{
    query.prepare(call.command);
    for (const QString& value : call.values) {
        if (plugin_static_function::bool_cancel_extraction) {
            return outcome::cancelled;
        }
        query.addBindValue(value.isNull() ? QString::fromLatin1("") : value, QSql::In);
    }
    if (query.exec()) {
        return outcome::executed;
    }
    log_failure(texts, call, database, query.lastError().text());
    return outcome::failed;
}

/// Appends the column of every row, trimmed; false when cancelled before a row.
bool read_column(QSqlQuery& query, int column, QStringList& values)
{
    while (query.next()) {
        if (plugin_static_function::bool_cancel_extraction) {
            return false;
        }
        values.append(query.value(column).toString().trimmed());
    }
    return true;
}

bool run_by_dbpath(const call_details& call, const QString& path, const failure_texts& texts)
{
    QSqlDatabase database =
        open_or_log(QString::fromLatin1(call.signature) + call.caller, path, opening_for_command, call);
    if (!database.isOpen()) {
        return false;
    }
    outcome result = outcome::failed;
    {
        QSqlQuery query(database);
        result = execute(query, call, texts, path);
    }
    if (result != outcome::cancelled) {
        database.close();
    }
    return result == outcome::executed;
}

bool run_by_dbreference(const call_details& call, const QSqlDatabase& database)
{
    QSqlQuery query(database);
    return execute(query, call, command_by_dbreference, database.databaseName()) == outcome::executed;
}

QStringList list_from_connection(const call_details& call, int column, const QSqlDatabase& database)
{
    plugin_static_function::app_debug(QStringLiteral(" Start "), call.signature);
    QStringList values;
    QSqlQuery query(database);
    if (execute(query, call, list_by_dbreference, database.databaseName()) != outcome::executed) {
        return {};
    }
    if (read_column(query, column, values)) {
        plugin_static_function::app_debug(QStringLiteral(" end "), call.signature);
    }
    return values;
}

QStringList list_from_path(const call_details& call, int column, const QString& path, const char* end_text)
{
    plugin_static_function::app_debug(QStringLiteral(" Start "), call.signature);
    const QString connection_name = QString::number(QDateTime::currentMSecsSinceEpoch());
    QSqlDatabase database = open_or_log(connection_name, path, opening_for_list, call);
    QStringList values;
    outcome result = outcome::failed;
    if (database.isOpen()) {
        QSqlQuery query(database);
        result = execute(query, call, list_by_dbpath, path);
        if (result == outcome::executed && !read_column(query, column, values)) {
            result = outcome::cancelled;
        }
    }
    if (result == outcome::cancelled) {
        return values;
    }
    database.close();
    database = QSqlDatabase();
    QSqlDatabase::removeDatabase(connection_name);
    if (result == outcome::executed) {
        plugin_static_function::app_debug(QString::fromLatin1(end_text), call.signature);
    }
    return values;
}

} // namespace

bool plugin_static_function::execute_db_command_by_dbpath(QString command, QString database_path, QString caller)
{
    return run_by_dbpath({Q_FUNC_INFO, command, {}, caller}, database_path, command_by_dbpath);
}

bool plugin_static_function::execute_db_command_with_addbindvalue_by_dbpath(QString command, QStringList values,
                                                                            QString database_path, QString caller)
{
    return run_by_dbpath({Q_FUNC_INFO, command, values, caller}, database_path, bound_command_by_dbpath);
}

bool plugin_static_function::execute_db_command_by_dbreference(QString command, QSqlDatabase& database, QString caller)
{
    return run_by_dbreference({Q_FUNC_INFO, command, {}, caller}, database);
}

bool plugin_static_function::execute_db_command_with_addbindvalue_by_dbreference(QString command, QStringList values,
                                                                                 QSqlDatabase& database, QString caller)
{
    return run_by_dbreference({Q_FUNC_INFO, command, values, caller}, database);
}

QStringList plugin_static_function::get_stringlist_from_db_by_dbreference(QString command, int column,
                                                                          QSqlDatabase& database, QString caller)
{
    return list_from_connection({Q_FUNC_INFO, command, {}, caller}, column, database);
}

QStringList plugin_static_function::get_stringlist_from_db_with_addbindvalues_by_dbreference(
    QString command, QStringList values, int column, QSqlDatabase& database, QString caller)
{
    return list_from_connection({Q_FUNC_INFO, command, values, caller}, column, database);
}

QStringList plugin_static_function::get_stringlist_from_db_by_dbpath(QString command, int column, QString database_path,
                                                                     QString caller)
{
    return list_from_path({Q_FUNC_INFO, command, {}, caller}, column, database_path, " end ");
}

QStringList plugin_static_function::get_stringlist_from_db_with_addbindvalues_by_dbpath(QString command,
                                                                                        QStringList values, int column,
                                                                                        QString database_path,
                                                                                        QString caller)
{
    return list_from_path({Q_FUNC_INFO, command, values, caller}, column, database_path, " End ");
}

bool plugin_static_function::check_value_existence_in_db_by_dbreference(QString command, int column, QString value,
                                                                        QSqlDatabase database)
{
    QSqlQuery query(database);
    if (execute(query, {Q_FUNC_INFO, command, {}, {}}, value_existence, database.connectionName()) !=
        outcome::executed) {
        return false;
    }
    QStringList values;
    if (!read_column(query, column, values)) {
        return false;
    }
    const QString wanted = value.trimmed();
    for (const QString& candidate : values) {
        if (bool_cancel_extraction) {
            return false;
        }
        if (candidate == wanted) {
            return true;
        }
    }
    return false;
}

QStringList plugin_static_function::get_total_tables_list_by_dbpath(QString database_path, QString caller)
{
    const call_details call{Q_FUNC_INFO, {}, {}, caller};
    QSqlDatabase database =
        open_or_log(QString::fromLatin1(call.signature) + caller, database_path, opening_for_command, call);
    if (!database.isOpen()) {
        return {};
    }
    const QStringList tables = database.tables(QSql::Tables);
    database.close();
    return tables;
}
