#include "macos/account_lookup.h"

#include "support/limited_database.h"

#include <QSqlError>
#include <QSqlRecord>
#include <QVariant>

#include <algorithm>
#include <limits>

namespace {

// So few look-ups are quicker one by one: most of them end at an early row.
constexpr qsizetype few_values = 32;
constexpr qsizetype longest_text = 4096;
constexpr int username_column = 3;
constexpr qint64 no_row = std::numeric_limits<qint64>::max();

/// True when a value stays a value in a statement that it is pasted into.
bool is_plain(const QString& value)
{
    return !value.contains(QLatin1Char('\'')) && !value.contains(QChar::Null);
}

} // namespace

account_lookup::account_lookup(limited_database& database, const QString& selected, const QStringList& compared)
    : store(database)
    , select(QStringLiteral("select ") + selected + QStringLiteral(" from ZACCOUNT where "))
    , columns(compared)
{
}

QString account_lookup::statement(const QString& value) const
{
    QStringList conditions;
    for (const QString& column : columns) {
        conditions.append(column + QStringLiteral(" = '") + value + QLatin1Char('\''));
    }
    const QString condition = conditions.join(QLatin1String(" OR "));
    return select + (columns.size() > 1 ? QLatin1Char('(') + condition + QLatin1Char(')') : condition);
}

void account_lookup::expect(const QStringList& values)
{
    if (values.size() <= few_values || !needs_whole_table() || !keep_expected(values)) {
        return;
    }
    are_expected = true;
    for (const QString& column : columns) {
        are_expected = are_expected && find_expected(column);
    }
}

/// True when SQLite would answer by reading the table from its beginning, so that the first row is that of least
/// number.
bool account_lookup::needs_whole_table()
{
    QSqlQuery plan(store.database());
    if (!store.execute(plan, QStringLiteral("explain query plan ") + statement(QStringLiteral("x"))) || !plan.next()) {
        return false;
    }
    constexpr int detail = 3;
    const QString step = plan.value(detail).toString();
    // A column of that name would hide the rows' own numbers.
    QSqlQuery number(store.database());
    return (step == QLatin1String("SCAN ZACCOUNT") || step == QLatin1String("SCAN TABLE ZACCOUNT")) &&
           store.execute(number, QStringLiteral("select 1 from pragma_table_xinfo('ZACCOUNT') where name = 'rowid' "
                                                "collate nocase")) &&
           !number.next();
}

/// Puts the values into a table of the connection's own, where the database can compare them by its own rules.
bool account_lookup::keep_expected(const QStringList& values)
{
    QSqlQuery query(store.database());
    if (!store.execute(query, QStringLiteral("drop table if exists temp.expected")) ||
        !store.execute(query, QStringLiteral("create temp table expected (value primary key) without rowid")) ||
        !query.prepare(QStringLiteral("insert or ignore into temp.expected values (?)"))) {
        return false;
    }
    for (const QString& value : values) {
        if (!is_plain(value) || first_rows.contains(value)) {
            continue;
        }
        query.addBindValue(value);
        if (!store.execute(query)) {
            return false;
        }
        first_rows.insert(value, no_row);
    }
    return true;
}

bool account_lookup::find_expected(const QString& column)
{
    QSqlQuery query(store.database());
    query.setForwardOnly(true);
    if (!store.execute(query, QStringLiteral("select a.rowid, e.value from ZACCOUNT as a not indexed cross join "
                                             "temp.expected as e where a.%1 = e.value")
                                  .arg(column))) {
        return false;
    }
    while (store.next(query)) {
        qint64& first = first_rows[query.value(1).toString()];
        first = std::min(first, query.value(0).toLongLong());
    }
    return !store.is_time_over() && !query.lastError().isValid();
}

bool account_lookup::execute(QSqlQuery& query, const QString& value)
{
    QString command = statement(value);
    if (const auto expected = first_rows.constFind(value); are_expected && expected != first_rows.constEnd()) {
        if (*expected == no_row) {
            query.clear();
            return true;
        }
        command = select + QStringLiteral("rowid = %1").arg(*expected);
    }
    if (!store.execute(query, command)) {
        failure = store.error_of(query);
        return false;
    }
    if (!is_row_of_account(query)) {
        failure = QStringLiteral("the row holds no account: its texts are too long");
        return false;
    }
    return true;
}

/// False when the first row has a text that no account has, and that would be kept for each of many folders.
bool account_lookup::is_row_of_account(QSqlQuery& query) const
{
    if (!query.next()) {
        return true;
    }
    const int last_column = std::min(username_column, query.record().count() - 1);
    for (int column = 0; column <= last_column; ++column) {
        if (query.value(column).toString().size() > longest_text) {
            return false;
        }
    }
    query.previous();
    return true;
}
