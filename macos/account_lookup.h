#pragma once

#include <QHash>
#include <QSqlQuery>
#include <QString>
#include <QStringList>

class limited_database;

/// The one table of an account store that is read.
inline constexpr QLatin1String account_table("ZACCOUNT");

/// Looks up the first row of an account store's ZACCOUNT that has a value in one of some columns.
///
/// The value is pasted into the statement as it stands, so a quote in it changes the statement or makes it fail.
class account_lookup
{
public:
    /// `selected` names the columns to read, the account's key, identifier, parent and name first; `compared` those
    /// that are compared with the value.
    account_lookup(limited_database& store, const QString& selected, const QStringList& compared);

    /// Makes the look-ups of these values quick: without an index on the columns, each would read the whole table. What
    /// they find stays the same.
    void expect(const QStringList& values);
    /// Executes the look-up; false when it failed. On true, the query stands before the first row, if there is one; a
    /// further row means nothing.
    bool execute(QSqlQuery& query, const QString& value);
    /// Why the last look-up failed.
    QString error() const { return failure; }
    /// The statement that looks a value up.
    QString statement(const QString& value) const;

private:
    bool needs_whole_table();
    bool keep_expected(const QStringList& values);
    bool find_expected(const QString& column);
    bool is_row_of_account(QSqlQuery& query) const;

    limited_database& store;
    QString select;
    QStringList columns;
    QString failure;
    QHash<QString, qint64>
        first_rows; ///< the first row's number by expected value; the largest number when there is none
    bool are_expected = false;
};
