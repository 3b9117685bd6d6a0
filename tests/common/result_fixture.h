#pragma once

#include <QDir>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTest>

/// A result directory with a table of accounts as the plug-in makes it, open all the while.
class result_fixture
{
public:
    result_fixture()
    {
        QDir(path()).mkpath("Artifacts_Result/Apple_Mail_Extractor");
        QDir(path()).mkpath("mail-extract");
        rows = QSqlDatabase::addDatabase("QSQLITE", "result_fixture");
        rows.setDatabaseName(database());
        rows.open();
        execute("CREATE TABLE accounts(bookmark INTEGER, INT INTEGER PRIMARY KEY, system_user VARCHAR, account "
                "VARCHAR, account_type VARCHAR, files_copied VARCHAR, dest_path VARCHAR, notes VARCHAR)");
    }
    ~result_fixture()
    {
        rows = {};
        QSqlDatabase::removeDatabase("result_fixture");
    }
    Q_DISABLE_COPY_MOVE(result_fixture)

    QString path(const QString& below = {}) const { return directory.filePath("result/" + below); }
    QString database() const { return path("Artifacts_Result/Apple_Mail_Extractor/Apple_Mail_Extractor.sqlite"); }

    void execute(const QString& statement, const QVariantList& values = {}) const
    {
        QSqlQuery query(rows);
        query.prepare(statement);
        for (const QVariant& value : values) {
            query.addBindValue(value);
        }
        QVERIFY2(query.exec(), qPrintable(statement));
    }
    void add_row(const QVariantList& values) const
    {
        execute("INSERT INTO accounts VALUES(?, ?, ?, ?, ?, ?, ?, ?)", values);
    }

    QTemporaryDir directory;
    QSqlDatabase rows;
};
