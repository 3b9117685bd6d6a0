#include "host/manifest.h"
#include "host/report.h"
#include "host/report_command.h"
#include "host/report_data.h"
#include "host/run_record.h"

#include <QDir>
#include <QFile>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>
#include <QXmlStreamReader>

namespace {

const QString hostile = QStringLiteral("\"><script>alert('x')</script>&amp;\n\t\u0001\u202Eabc\uFFFE");
const QString dated = QStringLiteral("Artifacts_Result/Apple_Mail_Extractor/Apple_Mail_Extractor_anna_11-21-2026/");

/// A document as an XML parser sees it.
struct parsed_report
{
    QString error;
    QString text;      ///< all text, style and script included
    QStringList links; ///< as written
    int scripts = 0;
};

parsed_report parsed(const QByteArray& document)
{
    parsed_report found;
    QXmlStreamReader xml(document);
    while (!xml.atEnd()) {
        xml.readNext();
        if (xml.isCharacters())
            found.text += xml.text();
        if (!xml.isStartElement())
            continue;
        found.scripts += xml.name() == QLatin1String("script") ? 1 : 0;
        if (xml.name() == QLatin1String("a"))
            found.links += xml.attributes().value("href").toString();
    }
    found.error = xml.errorString();
    return found;
}

manifest_entry entry(const QByteArray& name, entry_status status, qint64 size, bool has_copy = true)
{
    manifest_entry made;
    made.path = "Users/anna/Library/Mail/" + name;
    made.copy = has_copy ? dated.toUtf8() + name : QByteArray();
    made.user = "anna";
    made.size = size;
    made.status = status;
    if (status == entry_status::copied)
        made.source_sha256 = made.copy_sha256 = sha256_digest{};
    return made;
}

/// A result directory as a run leaves it, with as little in it as a test asks for.
class result_fixture
{
public:
    result_fixture()
    {
        QDir().mkpath(path(QStringLiteral("Artifacts_Result/Apple_Mail_Extractor")));
        QDir().mkpath(path(QStringLiteral("mail-extract")));
        execute(QStringLiteral("create table accounts(INT INTEGER PRIMARY KEY, system_user, account, account_type, "
                               "files_copied, dest_path)"),
                {});
    }

    QString path(const QString& below = {}) const { return directory.path() + QStringLiteral("/result/") + below; }
    QString database() const
    {
        return path(QStringLiteral("Artifacts_Result/Apple_Mail_Extractor/Apple_Mail_Extractor.sqlite"));
    }

    void execute(const QString& statement, const QVariantList& values) const
    {
        {
            QSqlDatabase rows = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("fixture"));
            rows.setDatabaseName(database());
            QVERIFY(rows.open());
            QSqlQuery query(rows);
            query.prepare(statement);
            for (const QVariant& value : values)
                query.addBindValue(value);
            QVERIFY(query.exec());
        }
        QSqlDatabase::removeDatabase(QStringLiteral("fixture"));
    }

    void add_account(const QString& user, const QString& account, const QString& dest_path) const
    {
        execute(QStringLiteral("insert into accounts(system_user, account, account_type, files_copied, dest_path) "
                               "values (?, ?, 'IMAP', 1, ?)"),
                {user, account, dest_path});
    }

    void write_manifest(const QList<manifest_entry>& entries) const
    {
        manifest_writer writer;
        QVERIFY(writer.open(path(QStringLiteral("mail-extract"))));
        for (const manifest_entry& one : entries)
            writer.write(one);
        QVERIFY(writer.commit());
    }

    /// Writes a file of the copied tree, "V9/IMAP-a/1.emlx", with its folders.
    void write_copy(const QString& name, const QByteArray& content) const
    {
        QFile file(path(dated + name));
        QDir().mkpath(QFileInfo(file).path());
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content);
    }

    void write_run(const run_record& record) const
    {
        QString error;
        QVERIFY2(write_run_record(path(), record, error), qPrintable(error));
    }

    /// Writes the report and returns its bytes.
    QByteArray report(const QString& output = {}) const
    {
        const QString place = output.isEmpty() ? default_report_path(path()) : output;
        QString error;
        if (!write_report(path(), place, error))
            qWarning().noquote() << error;
        QFile file(place);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    QTemporaryDir directory;
};

run_record finished_run()
{
    run_record run = begin_run_record({QStringLiteral("mail-extract"), QStringLiteral("run")});
    run.started = run.started.addSecs(-60);
    run.ended = run.started.addSecs(30);
    run.status = QStringLiteral("finished");
    run.exit_code = 0;
    return run;
}

} // namespace

class tst_report : public QObject
{
    Q_OBJECT

private slots:
    void names_cannot_break_out()
    {
        const result_fixture result;
        // A name without "/" can be a folder as well.
        const QString folder_name = QString(hostile).remove(QLatin1Char('/')).remove(QChar(0xFFFE));
        result.write_copy(folder_name + QStringLiteral("/1.emlx"), "x");
        result.add_account(hostile, hostile, QStringLiteral("/") + dated + folder_name);
        result.add_account(hostile, hostile, hostile);
        manifest_entry lost = entry(hostile.toUtf8() + "\xff", entry_status::missing, 5);
        lost.reason = hostile.toUtf8();
        result.write_manifest({lost});
        run_record run = finished_run();
        run.status = QStringLiteral("failed");
        run.source = run.error = run.host_name = run.plugin_path = hostile;
        run.command_line = run.log_failure_lines = {hostile};
        run.options = {{hostile, hostile}};
        run.log_failures = 1;
        result.write_run(run);

        const QByteArray document = result.report();
        const parsed_report page = parsed(document);
        QCOMPARE(page.error, QString());
        QCOMPARE(page.scripts, 1);
        QCOMPARE(document.count("<script"), 1);
        QVERIFY(page.text.count(QStringLiteral("\"><script>alert('x')</script>&amp;\\n\\t\\u{0001}\\u{202e}abc")) >= 8);
        QCOMPARE(page.links.size(), 2); // the one account with a folder, and the manifest
        for (const char byte : document)
            QVERIFY(byte == '\n' || static_cast<unsigned char>(byte) >= 0x20);
        for (const char* absent : {"\u202E", "http:", "https:", "src="})
            QVERIFY2(!document.contains(absent), absent);
    }

    void links_lead_to_the_folders_data()
    {
        QTest::addColumn<QString>("place");
        QTest::newRow("its own place") << "result/mail-extract/report.html";
        QTest::newRow("in the result") << "result/report.html";
        QTest::newRow("beside the result") << "else where/report.html";
    }

    void links_lead_to_the_folders()
    {
        QFETCH(const QString, place);
        const result_fixture result;
        const QString output = result.directory.filePath(place);
        QDir().mkpath(QFileInfo(output).path());
        const QStringList names = {QStringLiteral("V9/IMAP-a b@x"), QStringLiteral("V9/POP-50%25 #1?"),
                                   QStringLiteral("V9/IMAP-\u00fc:u\u0308")};
        for (const QString& name : names) {
            result.write_copy(name + QStringLiteral("/1.emlx"), "x");
            result.add_account(QStringLiteral("anna"), name, QStringLiteral("/") + dated + name);
        }
        for (const char* unlinked : {"/Artifacts_Result/gone", "/Artifacts_Result/../../..", "/etc", ""})
            result.add_account(QStringLiteral("anna"), QStringLiteral("x"), QString::fromLatin1(unlinked));

        const parsed_report page = parsed(result.report(output));
        QCOMPARE(page.links.size(), names.size());
        for (qsizetype i = 0; i < names.size(); ++i) {
            const QUrl link = QUrl::fromLocalFile(output).resolved(QUrl(page.links[i], QUrl::StrictMode));
            QVERIFY(QUrl(page.links[i], QUrl::StrictMode).isRelative());
            QCOMPARE(QDir::cleanPath(link.toLocalFile()), QDir::cleanPath(result.path(dated + names[i])));
        }
    }

    void amounts_come_from_manifest_or_folder_data()
    {
        QTest::addColumn<bool>("has_manifest");
        QTest::addColumn<QList<qint64>>("expected"); // files, bytes, not copied; of outer, of inner, of the user
        QTest::newRow("manifest") << true << QList<qint64>{2, 300, 1, 1, 200, 1, 3, 1300, 1};
        QTest::newRow("folder") << false << QList<qint64>{2, 30, 0, 1, 20, 0, 3, 50, 0};
    }

    void amounts_come_from_manifest_or_folder()
    {
        QFETCH(const bool, has_manifest);
        const result_fixture result;
        const QString outer = QStringLiteral("V9/IMAP-a");
        const QString inner = QStringLiteral("V9/IMAP-a/IMAP-b");
        result.write_copy(outer + QStringLiteral("/1"), QByteArray(10, 'x'));
        result.write_copy(inner + QStringLiteral("/2"), QByteArray(20, 'x'));
        result.write_copy(QStringLiteral("V9/IMAP-a2/3"), QByteArray(40, 'x'));
        for (const QString& folder : {outer, inner})
            result.add_account(QStringLiteral("anna"), folder, QStringLiteral("/") + dated + folder);
        if (has_manifest)
            result.write_manifest({entry("V9/.x", entry_status::hidden, 7, false),
                                   entry("V9/IMAP-a/1", entry_status::copied, 100),
                                   entry("V9/IMAP-a/IMAP-b/2", entry_status::different, 200),
                                   entry("V9/IMAP-a2/3", entry_status::copied, 1000)});
        QString error;
        const auto data = load_report_data(QDir::cleanPath(result.path()), error);
        QVERIFY2(data && data->users.size() == 1 && data->users[0].accounts.size() == 2, qPrintable(error));
        QList<qint64> found;
        for (const report_amount& amount :
             {data->users[0].accounts[0].amount, data->users[0].accounts[1].amount, data->users[0].mail_tree})
            found << amount.files << amount.bytes << amount.not_copied;
        QTEST(found, "expected");
    }

    void a_large_manifest_stays_light()
    {
        const result_fixture result;
        result.add_account(QStringLiteral("anna"), QStringLiteral("a"),
                           QStringLiteral("/") + dated + QStringLiteral("V9"));
        QList<manifest_entry> entries;
        for (int i = 0; i < 99'000; ++i)
            entries += entry("V9/" + QByteArray::number(i), i < 50'000 ? entry_status::copied : entry_status::link, 1);
        for (int i = 0; i < 1'000; ++i)
            entries += entry("V9/z" + QByteArray::number(i), entry_status::missing, 1);
        result.write_manifest(entries);
        const QByteArray document = result.report();
        const parsed_report page = parsed(document);
        QCOMPARE(page.error, QString());
        QVERIFY2(document.size() < 2'000'000, qPrintable(QString::number(document.size())));
        QVERIFY(page.text.contains(QStringLiteral("The first 2,000 of 50,000 are shown")));
        // The faults come last by path, and all of them are there; then links fill up the rest.
        QCOMPARE(page.text.count(QStringLiteral("Library/Mail/V9/z")), 1'000);
        QCOMPARE(page.text.count(QStringLiteral("Users/anna/Library/Mail/V9/")), 2'000);
        QCOMPARE(page.links.count(QStringLiteral("manifest.csv")), 2);
    }

    void a_result_that_is_not_whole_says_so_data()
    {
        QTest::addColumn<QString>("status");   // empty for no run record
        QTest::addColumn<int>("manifest_age"); // seconds; negative for none
        QTest::addColumn<QString>("said");
        QTest::addColumn<bool>("is_whole");
        QTest::newRow("whole") << "finished" << 0 << "has the bytes of its source: 1 files" << true;
        QTest::newRow("killed") << "running" << -1 << "its record still says \"running\"" << false;
        QTest::newRow("killed, counts the log")
            << "running" << -1 << "Source Db opening --------FAILED-------" << false;
        QTest::newRow("cancelled") << "cancelled" << 0 << "This run was cancelled" << false;
        QTest::newRow("failed") << "failed" << -1 << "This run failed: disk full" << false;
        QTest::newRow("not verified") << "finished" << -1 << "The copies are not verified" << false;
        QTest::newRow("manifest of an earlier run")
            << "finished" << 3600 << "before the run began, and is left aside" << false;
        QTest::newRow("no run record") << "" << 0 << "no run record there" << true;
    }

    void a_result_that_is_not_whole_says_so()
    {
        QFETCH(const QString, status);
        QFETCH(const int, manifest_age);
        const result_fixture result;
        run_record run = finished_run();
        run.status = status;
        run.error = QStringLiteral("disk full");
        if (!status.isEmpty())
            result.write_run(run);
        QFile log(result.path(QStringLiteral("mail-extract/log.txt")));
        QVERIFY(log.open(QIODevice::WriteOnly));
        log.write("starts\nSource Db opening --------FAILED------- x\n");
        log.close();
        if (manifest_age >= 0) {
            result.write_manifest({entry("V9/1", entry_status::copied, 1)});
            QFile manifest(result.path(QStringLiteral("mail-extract/manifest.csv")));
            QVERIFY(manifest.open(QIODevice::ReadWrite));
            QVERIFY(manifest.setFileTime(QDateTime::currentDateTime().addSecs(-manifest_age),
                                         QFileDevice::FileModificationTime));
        }
        const parsed_report page = parsed(result.report());
        QCOMPARE(page.error, QString());
        QFETCH(const QString, said);
        QVERIFY2(page.text.contains(said), qPrintable(said));
        QTEST(page.text.contains(QStringLiteral("Every copy that is due is there")), "is_whole");
    }

    void refusals_name_path_and_reason_data()
    {
        QTest::addColumn<QString>("spoilt");
        QTest::addColumn<QString>("output");
        QTest::addColumn<QString>("named");
        QTest::addColumn<QString>("reason");
        const QString database = QStringLiteral("Apple_Mail_Extractor.sqlite");
        QTest::newRow("no database") << "absent"
                                     << "r.html" << database << "no such file";
        QTest::newRow("no database file") << "garbage"
                                          << "r.html" << database << "not a database";
        QTest::newRow("no table") << "no table"
                                  << "r.html" << database << "no such table";
        QTest::newRow("no directory") << ""
                                      << "nowhere/r.html"
                                      << "nowhere/r.html"
                                      << "No such file or directory";
        QTest::newRow("in the source") << ""
                                       << "source/r.html"
                                       << "source/r.html"
                                       << "would lie in the source";
    }

    void refusals_name_path_and_reason()
    {
        QFETCH(const QString, spoilt);
        QFETCH(const QString, output);
        const result_fixture result;
        run_record run = finished_run();
        run.source = result.directory.filePath(QStringLiteral("source"));
        QDir().mkpath(run.source);
        result.write_run(run);
        if (spoilt == QLatin1String("no table"))
            result.execute(QStringLiteral("drop table accounts"), {});
        else if (!spoilt.isEmpty())
            QFile::remove(result.database());
        if (spoilt == QLatin1String("garbage")) {
            QFile file(result.database());
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(QByteArray(4096, 'x'));
        }
        const QString place = result.directory.filePath(output);
        QString error;
        QVERIFY(!write_report(result.path(), place, error));
        QFETCH(const QString, named);
        QFETCH(const QString, reason);
        QVERIFY2(error.contains(named) && error.contains(reason) && !error.contains(QLatin1Char('\n')),
                 qPrintable(error));
        QCOMPARE(report_command({result.path(), place}), 1);
        QVERIFY(!QFile::exists(place));
    }
};

QTEST_GUILESS_MAIN(tst_report)
#include "tst_report.moc"
