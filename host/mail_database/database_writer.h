#pragma once

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QString>
#include <QVariantList>

/// Writes a database of the program's own beside its place under a temporary name; it takes its place whole, or not at
/// all. Everything here throws a failure that names the path and the reason.
class mail_database_writer
{
public:
    /// Begins an empty database that will be at `path`, whose directory exists.
    explicit mail_database_writer(const QString& path);
    /// Removes what was not put in place.
    ~mail_database_writer();
    mail_database_writer(const mail_database_writer&) = delete;
    mail_database_writer& operator=(const mail_database_writer&) = delete;

    /// Runs one statement ("CREATE TABLE ...").
    void execute(const QString& statement);
    /// Returns a statement to be given rows with insert(); must not outlive this object's put_in_place().
    QSqlQuery prepare(const QString& statement);
    /// Runs a prepared statement with one row's values.
    void insert(QSqlQuery& statement, const QVariantList& values);

    /// Commits, checks that everything is on the disk and renames the database to its place.
    void put_in_place();

private:
    void close();
    [[noreturn]] void fail(const QString& reason) const;

    QString path;
    QString temporary;
    QString connection_name;
    QSqlDatabase database;
};
