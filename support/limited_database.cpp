#include "support/limited_database.h"

#include <QSqlError>

namespace {

const QString too_slow = QStringLiteral("reading this database takes too long");

} // namespace

limited_database::limited_database(const QString& connection_name, const QString& path, const QString& table,
                                   qint64& nanoseconds_left)
    : connection(connection_name, path)
    , error(connection.opening_error())
{
    if (!connection.is_open()) {
        return;
    }
    limits.emplace(connection.database(), nanoseconds_left);
    QSqlQuery query(connection.database());
    execute(query, QStringLiteral("pragma trusted_schema = off"));
    error = reason_against(table);
}

/// Returns why a table must not be read; empty when it may be, and when that cannot be told.
QString limited_database::reason_against(const QString& table)
{
    QSqlQuery query(connection.database());
    const QString name = QLatin1Char('\'') + table + QLatin1Char('\'');
    // What has no page of its own is a view or a virtual table.
    if (execute(query, QStringLiteral("select count(*) from sqlite_master where name = %1 collate nocase and type in "
                                      "('table', 'view') and (type = 'view' or ifnull(rootpage, 0) = 0)")
                           .arg(name)) &&
        query.next() && query.value(0).toInt() != 0) {
        return table + QStringLiteral(" is no table but a view or a virtual table");
    }
    constexpr int first_hidden_kind_of_computed = 2;
    if (execute(query, QStringLiteral("pragma table_xinfo(%1)").arg(name))) {
        while (query.next()) {
            if (query.value(QStringLiteral("hidden")).toInt() >= first_hidden_kind_of_computed) {
                return table + QStringLiteral(" has computed columns");
            }
        }
    }
    return is_time_over() ? too_slow : QString();
}

bool limited_database::execute(QSqlQuery& query, const QString& statement)
{
    if (is_time_over()) {
        query.clear();
        return false;
    }
    limits->start();
    const bool done = statement.isEmpty() ? query.exec() : query.exec(statement);
    limits->stop();
    return done;
}

bool limited_database::next(QSqlQuery& query)
{
    limits->start();
    const bool is_there = query.next();
    limits->stop();
    return is_there;
}

QString limited_database::error_of(const QSqlQuery& query) const
{
    return is_time_over() ? too_slow : query.lastError().text();
}
