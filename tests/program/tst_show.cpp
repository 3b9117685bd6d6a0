#include "host/mail_database/account_tables.h"
#include "tests/common/driven_program.h"
#include "tests/common/files.h"
#include "tests/common/result_fixture.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTest>

namespace {

const QString copies = "/Artifacts_Result/Apple_Mail_Extractor/Apple_Mail_Extractor_";
const QString long_folder =
    copies + "Ju\u0308rgen \"J\"_11-21-2026/V10/" + QString("very long ").repeated(40) + "the end.mbox";

/// A result with one ordinary row and one that is hard to print.
class shown_result : public result_fixture
{
public:
    shown_result()
    {
        add_row({0, 1, "anna", "anna@example.com", "IMAP", 12, copies + "anna_11-21-2026/V9/x",
                 QVariant(QMetaType::fromType<QString>())});
        add_row({0, 2, "Ju\u0308rgen \"J\"", "a,b\r\n\x1b[31mred\u202e", "", "many", long_folder, "note"});
    }

    program_result show(const QString& format = "table", const QStringList& further = {}) const
    {
        return run_program(QStringList{"show", "--result", path(), "--format", format} + further);
    }
};

/// What the program itself found: the folder of the first row with a mark, and what has no row.
account_dossier found_beside_rows()
{
    const auto folder = [](const char* name) {
        account_place place;
        place.mail_version = "V9";
        place.path = QString("Users/anna/Library/Mail/V9/") + name;
        return place;
    };
    account_record marked;
    marked.user = "anna";
    marked.user_name = marked.store = "x' OR '1'='1";
    marked.folders = {folder("x")};
    marked.marks = {"its name holds a quote"};
    account_record without_row = marked;
    without_row.user_name = "lost@example.org";
    without_row.folders = {folder("lost")};
    account_record without_record = without_row;
    without_record.store.clear();
    without_record.marks.clear();
    without_record.folders = {folder("UUID")};
    account_record without_folder = without_record;
    without_folder.folders.clear();
    without_folder.store = "Accounts4.sqlite";
    without_folder.mail_enabled = true;
    account_record disabled = without_folder;
    disabled.user_name = "off@example.org";
    disabled.mail_enabled = false;
    account_dossier dossier;
    dossier.accounts = {marked, without_row, without_record, without_folder, disabled};
    dossier.other_folders = {{"anna", folder("MailData")}};
    return dossier;
}

} // namespace

class tst_show : public QObject
{
    Q_OBJECT

private slots:
    void table_fits_the_page()
    {
        const shown_result result;
        const program_result shown = result.show();
        QCOMPARE(shown.exit_code, 0);
        const QStringList lines = QString::fromUtf8(shown.output).split('\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 5);
        for (const QString& line : lines) {
            QVERIFY2(line.size() - line.count(QChar(0x308)) <= 100, qPrintable(line));
            QVERIFY2(!line.contains(QRegularExpression("[\\p{Cc}\\p{Cf}]")), qPrintable(line));
        }
        QVERIFY(lines[0].contains("/Artifacts_Result/Apple_Mail_Extractor,"));
        QCOMPARE(lines[3].simplified(), "1 anna anna@example.com IMAP 12 …11-21-2026/V9/x");
        QVERIFY(lines[4].contains("…11-21-2026/V10/") && lines[4].endsWith("the end.mbox"));
        // A mark on a letter takes no column.
        QCOMPARE(lines[4].indexOf("…11-21"), lines[3].indexOf("…11-21") + 1);
    }

    void csv_keeps_everything()
    {
        const shown_result result;
        const auto quoted = [](const QString& text) { return '"' + text.toUtf8().replace("\"", "\"\"") + '"'; };
        const QByteArray expected = "bookmark,INT,system_user,account,account_type,files_copied,dest_path,notes\r\n"
                                    "0,1,anna,anna@example.com,IMAP,12," +
                                    (copies + "anna_11-21-2026/V9/x,\r\n0,2,").toUtf8() + quoted("Ju\u0308rgen \"J\"") +
                                    ",\"a,b\r\n\x1b[31mred\u202e\",,many," + quoted(long_folder) + ",note\r\n";
        QCOMPARE(result.show("csv").output, expected);
    }

    void json_keeps_everything()
    {
        const shown_result result;
        const QJsonArray rows = result.show("json").json().array();
        QCOMPARE(rows.size(), 2);
        QVERIFY(rows[0]["notes"].isNull() && rows[0].toObject().contains("notes"));
        QCOMPARE(rows[0]["files_copied"], QJsonValue(12));
        QCOMPARE(rows[1]["INT"], QJsonValue(2));
        QCOMPARE(rows[1]["account"].toString(), QString("a,b\r\n\x1b[31mred\u202e"));
        QCOMPARE(rows[1]["files_copied"], QJsonValue("many"));
        QCOMPARE(rows[1]["dest_path"].toString(), long_folder);

        result.execute("DELETE FROM accounts");
        QCOMPARE(result.show("json").output.trimmed(), "[]");
    }

    void what_has_no_row_is_shown_behind_them()
    {
        const shown_result result;
        mail_database_writer writer(result.path("mail-extract/mail.sqlite"));
        write_account_tables(writer, found_beside_rows());
        writer.put_in_place();

        const QStringList expected = {
            "row 1: (!) its name holds a quote", "V9/lost account known, without a row; (!) its name holds a quote",
            "V9/UUID no account found for it", "- Mail enabled, no folder", "V9/MailData no account folder"};
        const QString table = QString::fromUtf8(result.show("table", {"--wide"}).output).simplified();
        QVERIFY2(!table.contains("off@example.org"), qPrintable(table));
        QVERIFY2(table.contains("1 anna anna@example.com (!) IMAP"), qPrintable(table));
        for (const QString& words : expected) {
            QVERIFY2(table.contains(words), qPrintable(table));
        }
        QCOMPARE(result.show("json").json().array().size(), 2);

        write_file(result.path("mail-extract/run.json"), "{}");
        write_file(result.path("mail-extract/mail.sqlite"), "damaged");
        const program_result damaged = result.show();
        QVERIFY2(damaged.exit_code == 3 && damaged.errors.contains("mail.sqlite"), damaged.errors);
    }

    void unfinished_transaction_is_not_shown_and_not_touched()
    {
        const shown_result result;
        // A page cache of nothing makes the open transaction reach the file, as in a run that was killed.
        result.execute("PRAGMA cache_size = 0");
        result.execute("PRAGMA cache_spill = 1");
        result.execute("BEGIN IMMEDIATE");
        for (int i = 3; i < 2000; ++i) {
            result.add_row({0, i, "half", "written", "", 0, long_folder, "x"});
        }
        QTemporaryDir killed;
        const QString there = killed.filePath("Artifacts_Result/Apple_Mail_Extractor");
        QVERIFY(QDir().mkpath(there));
        const QString copy = there + "/Apple_Mail_Extractor.sqlite";
        QVERIFY(QFile::copy(result.database(), copy) && QFile::copy(result.database() + "-journal", copy + "-journal"));
        QVERIFY(QFileInfo(copy).size() > 100'000);

        const program_result shown = run_program({"show", "--result", killed.path(), "--format", "json"});
        QVERIFY2(shown.exit_code == 0, shown.errors);
        QCOMPARE(shown.json().array().size(), 2);
        QVERIFY(QFile::exists(copy + "-journal") && QFileInfo(copy).size() > 100'000);
    }

    // SQLite deletes the file that the end of a journal names.
    void journal_that_names_another_file_is_refused()
    {
        const shown_result result;
        QFile journal(result.database() + "-journal");
        QVERIFY(journal.open(QIODevice::WriteOnly));
        const QByteArray magic = QByteArray::fromHex("d9d505f920a163d7");
        journal.write(magic + QByteArray(600, '\0') + "/tmp/case.txt" + QByteArray(8, '\0') + magic);
        journal.close();
        const program_result shown = result.show("json");
        QCOMPARE(shown.exit_code, 1);
        QVERIFY2(shown.errors.contains("names another file"), shown.errors);
    }

    void folder_of_another_day_is_shown_where_it_lies()
    {
        const shown_result result;
        const QString folder = "/Artifacts_Result/Apple_Mail_Extractor/Apple_Mail_Extractor_anna_%1/V10/IMAP-a@b";
        result.execute("DELETE FROM accounts");
        result.add_row({0, 1, "anna", "a@b", "IMAP", 1, folder.arg("01-01-2027"), "x"});
        const QFileInfo place(result.database());
        QVERIFY(QDir().mkpath(place.path() + "/Apple_Mail_Extractor_anna_12-31-2026/V10/IMAP-a@b"));
        const QByteArray shown = result.show("table").output;
        QVERIFY2(shown.contains("12-31-2026/V10/IMAP-a@b") && shown.contains("another day"), shown.constData());
    }

    void table_that_is_not_there()
    {
        const shown_result result;
        result.execute("DROP TABLE accounts");
        const program_result other = result.show();
        QCOMPARE(other.exit_code, 1);
        QVERIFY2(other.errors.contains("no such table"), other.errors);
    }
};

QTEST_GUILESS_MAIN(tst_show)
#include "tst_show.moc"
