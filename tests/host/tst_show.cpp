#include "tests/host/driven_program.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTest>

namespace {

const QString long_folder = QString("/Artifacts_Result/%1/the end.mbox").arg(QString("very long ").repeated(40));

/// A result that holds only a database, with one ordinary row and one that is hard to print.
class result_on_disk
{
public:
    result_on_disk()
    {
        QDir().mkpath(QFileInfo(path()).path());
        database = QSqlDatabase::addDatabase("QSQLITE", "tst_show");
        database.setDatabaseName(path());
        database.open();
        execute("CREATE TABLE accounts(bookmark INTEGER, INT INTEGER PRIMARY KEY, system_user VARCHAR, account "
                "VARCHAR, account_type VARCHAR, files_copied VARCHAR, dest_path VARCHAR, notes VARCHAR)");
        add({0, 1, "anna", "anna@example.com", "IMAP", 12, "/Artifacts_Result/x",
             QVariant(QMetaType::fromType<QString>())});
        add({0, 2, "J\u00fcrgen \"J\"", "a,b\r\n\x1b[31mred\u202e", "", "many", long_folder, "note"});
    }
    ~result_on_disk()
    {
        database = {};
        QSqlDatabase::removeDatabase("tst_show");
    }
    Q_DISABLE_COPY_MOVE(result_on_disk)

    QString path() const
    {
        return folder.filePath("Artifacts_Result/Apple_Mail_Extractor/Apple_Mail_Extractor.sqlite");
    }
    program_result show(const QString& format = "table") const
    {
        return run_program({"show", "--result", folder.path(), "--format", format});
    }
    void add(const QVariantList& values) const
    {
        QSqlQuery query(database);
        query.prepare("INSERT INTO accounts VALUES(?, ?, ?, ?, ?, ?, ?, ?)");
        for (const QVariant& value : values) {
            query.addBindValue(value);
        }
        QVERIFY(query.exec());
    }
    void execute(const QString& statement) const { QVERIFY(QSqlQuery(database).exec(statement)); }

    QTemporaryDir folder;
    QSqlDatabase database;
};

} // namespace

class tst_show : public QObject
{
    Q_OBJECT

private slots:
    void table_fits_the_page()
    {
        const result_on_disk result;
        const program_result shown = result.show();
        QCOMPARE(shown.exit_code, 0);
        const QStringList lines = QString::fromUtf8(shown.output).split('\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 4);
        for (const QString& line : lines) {
            QVERIFY2(line.size() <= 100, qPrintable(line));
            for (const QChar character : line) {
                QVERIFY2(character.category() != QChar::Other_Control && character.category() != QChar::Other_Format,
                         qPrintable(line));
            }
        }
        QVERIFY(lines[0].contains("account") && lines[0].endsWith("folder"));
        QCOMPARE(lines[2].simplified(), "1 anna anna@example.com IMAP 12 /Artifacts_Result/x");
        QVERIFY(lines[3].contains("/Artifacts_") && lines[3].contains(u'…') && lines[3].endsWith("end.mbox"));
    }

    void csv_keeps_everything()
    {
        const result_on_disk result;
        const QByteArray expected = "bookmark,INT,system_user,account,account_type,files_copied,dest_path,notes\r\n"
                                    "0,1,anna,anna@example.com,IMAP,12,/Artifacts_Result/x,\r\n"
                                    "0,2,\"J\u00fcrgen \"\"J\"\"\",\"a,b\r\n\x1b[31mred\u202e\",,many," +
                                    long_folder.toUtf8() + ",note\r\n";
        QCOMPARE(result.show("csv").output, expected);
    }

    void json_keeps_everything()
    {
        const result_on_disk result;
        const QJsonArray rows = QJsonDocument::fromJson(result.show("json").output).array();
        QCOMPARE(rows.size(), 2);
        QVERIFY(rows[0]["notes"].isNull() && rows[0].toObject().contains("notes"));
        QCOMPARE(rows[0]["files_copied"], QJsonValue(12));
        QCOMPARE(rows[1]["INT"], QJsonValue(2));
        QCOMPARE(rows[1]["account"].toString(), QString("a,b\r\n\x1b[31mred\u202e"));
        QCOMPARE(rows[1]["files_copied"], QJsonValue("many"));
        QCOMPARE(rows[1]["dest_path"].toString(), long_folder);

        result.execute("DELETE FROM accounts");
        QCOMPARE(QJsonDocument::fromJson(result.show("json").output).array(), QJsonArray());
        QCOMPARE(result.show("json").output.trimmed(), "[]");
    }

    void unfinished_transaction_is_not_shown_and_not_touched()
    {
        const result_on_disk result;
        // A page cache of nothing makes the open transaction reach the file, as in a run that was killed.
        result.execute("PRAGMA cache_size = 0");
        result.execute("PRAGMA cache_spill = 1");
        result.execute("BEGIN IMMEDIATE");
        for (int i = 3; i < 2000; ++i) {
            result.add({0, i, "half", "written", "", 0, long_folder, "x"});
        }
        QTemporaryDir killed;
        const QString there = killed.filePath("Artifacts_Result/Apple_Mail_Extractor");
        QVERIFY(QDir().mkpath(there));
        const QString copy = there + "/Apple_Mail_Extractor.sqlite";
        QVERIFY(QFile::copy(result.path(), copy) && QFile::copy(result.path() + "-journal", copy + "-journal"));
        QVERIFY(QFileInfo(copy).size() > 100'000);

        const program_result shown = run_program({"show", "--result", killed.path(), "--format", "json"});
        QVERIFY2(shown.exit_code == 0, shown.errors);
        QCOMPARE(QJsonDocument::fromJson(shown.output).array().size(), 2);
        QVERIFY(QFile::exists(copy + "-journal") && QFileInfo(copy).size() > 100'000);
    }

    void nothing_to_show()
    {
        const QTemporaryDir empty;
        const program_result absent = run_program({"show", "--result", empty.path()});
        QCOMPARE(absent.exit_code, 1);
        QVERIFY2(absent.errors.contains(empty.path().toUtf8()) && absent.errors.contains("no such file"),
                 absent.errors);

        const result_on_disk result;
        result.execute("DROP TABLE accounts");
        const program_result other = result.show();
        QCOMPARE(other.exit_code, 1);
        QVERIFY2(other.errors.contains("no such table"), other.errors);
    }
};

QTEST_GUILESS_MAIN(tst_show)
#include "tst_show.moc"
