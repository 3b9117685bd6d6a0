#pragma once

#include "host/result/result_paths.h"

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QString>

/// A result's own database, mail.sqlite, open for reading only.
class own_database
{
public:
    /// Throws a failure that names the path and the reason.
    explicit own_database(const result_paths& result);
    ~own_database();
    own_database(const own_database&) = delete;
    own_database& operator=(const own_database&) = delete;

    /// Runs a query; throws a failure when it fails.
    QSqlQuery query(const QString& statement) const;

private:
    [[noreturn]] void fail(const QString& reason) const;

    QString path;
    QSqlDatabase database;
};
