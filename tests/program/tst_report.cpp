#include "host/report/data.h"
#include "host/report/document.h"
#include "host/result/manifest.h"
#include "host/result/run_record.h"
#include "host/result/seal.h"
#include "host/result/verification_record.h"
#include "tests/common/driven_program.h"
#include "tests/common/files.h"
#include "tests/common/result_fixture.h"

#include <QRegularExpression>
#include <QTest>
#include <QUrl>
#include <QXmlStreamReader>

namespace {

const QString hostile = "\"><script>alert('x')</script>&amp;\n\t\u0001\u202Eabc\uFFFE";
const QString dated = "Artifacts_Result/Apple_Mail_Extractor/Apple_Mail_Extractor_anna_11-21-2026/";

/// A document as an XML parser sees it.
struct parsed_report
{
    QString error;
    QString text;      ///< all text, style and script included
    QStringList links; ///< as written, those within the page left out
    int scripts = 0;
};

parsed_report parsed(const QByteArray& document)
{
    parsed_report found;
    QXmlStreamReader xml(document);
    while (!xml.atEnd()) {
        xml.readNext();
        if (xml.isCharacters()) {
            found.text += xml.text();
        }
        if (!xml.isStartElement()) {
            continue;
        }
        found.scripts += xml.name() == QLatin1String("script") ? 1 : 0;
        const QString link = xml.attributes().value("href").toString();
        if (xml.name() == QLatin1String("a") && !link.startsWith('#')) {
            found.links += link;
        }
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
    if (status == entry_status::copied) {
        made.source_sha256 = made.copy_sha256 = sha256_digest{};
    }
    return made;
}

/// A result directory as a run leaves it, with as little in it as a test asks for.
class reported_result : public result_fixture
{
public:
    void add_account(const QString& user, const QString& account, const QString& dest_path) const
    {
        add_row({0, {}, user, account, "IMAP", 1, dest_path, {}});
    }

    void write_manifest(const QList<manifest_entry>& entries) const
    {
        manifest_writer writer{result_paths(path())};
        for (const manifest_entry& one : entries) {
            writer.write(one);
        }
        writer.commit();
    }

    /// Writes a file of the result, with its folders.
    void write(const QString& name, const QByteArray& content) const
    {
        QFile file(path(name));
        QDir().mkpath(QFileInfo(file).path());
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
    }

    void write_run(const run_record& record) const { write_run_record(result_paths(path()), record); }

    /// Seals what is there.
    QString seal() const { return digest_to_hex(seal_result(result_paths(path())).root); }

    /// Writes the report and returns its bytes.
    QByteArray report(const QString& output = {}) const
    {
        const result_paths result(path());
        const QString place = output.isEmpty() ? result.path(product::report) : output;
        write_report(result, place);
        return content_of(place);
    }
};

run_record finished_run()
{
    run_record run = begin_run_record({"mail-extract", "run"});
    run.started = run.started.addSecs(-60);
    run.ended = run.started.addSecs(30);
    run.status = run_status::finished;
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
        const reported_result result;
        // A name without "/" can be a folder as well.
        const QString folder_name = QString(hostile).remove('/').remove(QChar(0xFFFE));
        result.write(dated + folder_name + "/1.emlx", "x");
        result.add_account(hostile, hostile, "/" + dated + folder_name);
        result.add_account(hostile, hostile, hostile);
        manifest_entry lost = entry(hostile.toUtf8() + "\xff", entry_status::missing, 5);
        lost.reason = hostile.toUtf8();
        result.write_manifest({lost});
        run_record run = finished_run();
        run.status = run_status::failed;
        run.source = run.error = run.host_name = run.plugin_path = hostile;
        run.command_line = run.log_failure_lines = {hostile};
        run.options = {{hostile, hostile}};
        for (const case_field& field : case_fields) {
            run.about.*field.value = hostile;
        }
        run.log_failures = 1;
        result.write_run(run);

        const QByteArray document = result.report();
        const parsed_report page = parsed(document);
        QCOMPARE(page.error, QString());
        QCOMPARE(page.scripts, 1);
        QCOMPARE(document.count("<script"), 1);
        QVERIFY(page.text.count("\"><script>alert('x')</script>&amp;\\n\\t\\u{0001}\\u{202e}abc") >= 8);
        QCOMPARE(page.links.size(), 2); // the one account with a folder, and the manifest
        for (const char byte : document) {
            QVERIFY(byte == '\n' || static_cast<unsigned char>(byte) >= 0x20);
        }
        for (const char* absent : {"\u202E", "http:", "https:", "src="}) {
            QVERIFY2(!document.contains(absent), absent);
        }
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
        const reported_result result;
        const QString output = result.directory.filePath(place);
        QDir().mkpath(QFileInfo(output).path());
        const QStringList names = {"V9/IMAP-a b@x", "V9/POP-50%25 #1?", "V9/IMAP-\u00fc:u\u0308"};
        for (const QString& name : names) {
            result.write(dated + name + "/1.emlx", "x");
            result.add_account("anna", name, "/" + dated + name);
        }
        for (const char* unlinked : {"/Artifacts_Result/gone", "/Artifacts_Result/../../..", "/etc", ""}) {
            result.add_account("anna", "x", unlinked);
        }

        const parsed_report page = parsed(result.report(output));
        QCOMPARE(page.links.size(), names.size());
        for (qsizetype i = 0; i < names.size(); ++i) {
            const QUrl link = QUrl::fromLocalFile(output).resolved(QUrl(page.links[i], QUrl::StrictMode));
            QVERIFY(QUrl(page.links[i], QUrl::StrictMode).isRelative());
            QCOMPARE(QDir::cleanPath(link.toLocalFile()), QDir::cleanPath(result.path(dated + names[i])));
        }
    }

    void folder_of_another_day_is_linked_where_it_lies()
    {
        const reported_result result;
        result.write(dated + "V9/IMAP-a@b/1.emlx", "x");
        const QString written = '/' + QString(dated).replace(QRegularExpression("..-..-....(?=/$)"), "01-01-2027");
        QVERIFY(written != '/' + dated);
        result.add_account("anna", "a@b", written + "V9/IMAP-a@b");
        const parsed_report page = parsed(result.report());
        QCOMPARE(page.links.size(), 1);
        QVERIFY2(page.links[0].contains(dated), qPrintable(page.links[0]));
        QVERIFY(page.text.contains("another day: " + written));
    }

    void amounts_come_from_manifest_or_folder()
    {
        const reported_result result;
        for (const QString folder : {"V9/IMAP-a", "V9/IMAP-a/IMAP-b"}) {
            result.write(dated + folder + "/1", QByteArray(10, 'x'));
            result.add_account("anna", folder, "/" + dated + folder);
        }
        // Files, bytes and what is not copied: of the outer folder, of the inner one, of the user.
        const auto amounts = [&result] {
            QList<qint64> found;
            const report_user anna = load_report_data(result_paths(result.path())).users.value(0);
            for (const report_amount& amount :
                 {anna.accounts.value(0).amount, anna.accounts.value(1).amount, anna.mail_tree}) {
                found << amount.files << amount.bytes << amount.not_copied;
            }
            return found;
        };
        QCOMPARE(amounts(), (QList<qint64>{2, 20, 0, 1, 10, 0, 3, 30, 0}));
        result.write_manifest({entry("V9/.x", entry_status::hidden, 7, false),
                               entry("V9/IMAP-a/1", entry_status::copied, 100),
                               entry("V9/IMAP-a/IMAP-b/1", entry_status::different, 200),
                               entry("V9/IMAP-a2/3", entry_status::copied, 1000)});
        QCOMPARE(amounts(), (QList<qint64>{2, 300, 1, 1, 200, 1, 3, 1300, 1}));
    }

    void a_large_manifest_stays_light()
    {
        const reported_result result;
        result.add_account("anna", "a", "/" + dated + "V9");
        QList<manifest_entry> entries;
        for (int i = 0; i < 99'000; ++i) {
            entries += entry("V9/" + QByteArray::number(i), i < 50'000 ? entry_status::copied : entry_status::link, 1);
        }
        for (int i = 0; i < 1'000; ++i) {
            entries += entry("V9/z" + QByteArray::number(i), entry_status::missing, 1);
        }
        result.write_manifest(entries);
        const QByteArray document = result.report();
        const parsed_report page = parsed(document);
        QCOMPARE(page.error, QString());
        QVERIFY2(document.size() < 2'000'000, qPrintable(QString::number(document.size())));
        QVERIFY(page.text.contains("The first 2,000 of 50,000 are shown"));
        // The faults come last by path, and all of them are there; then links fill up the rest.
        QCOMPARE(page.text.count("Library/Mail/V9/z"), 1'000);
        QCOMPARE(page.text.count("Users/anna/Library/Mail/V9/"), 2'000);
        QCOMPARE(page.links.count("manifest.csv"), 2);
    }

    void the_totals_name_what_was_kept_and_equal_findings_are_one()
    {
        const reported_result result;
        const auto kept = [](const QByteArray& name, const QByteArray& reason) {
            manifest_entry made = entry(name, entry_status::kept, 1);
            made.reason = reason;
            return made;
        };
        QList<manifest_entry> entries = {entry("V9/1", entry_status::copied, 1), kept(".a", "hidden"),
                                         kept(".b", "hidden"), kept("c", "loose"), kept("store", "")};
        for (const char* name : {"V9/l1", "V9/l2", "V9/l3", "V9/l4"}) {
            entries += entry(name, entry_status::link, 1);
            entries.last().reason = "link to nowhere";
        }
        entries.last().reason = "link to elsewhere";
        entries += entry("V9/l5", entry_status::link, 1);
        entries.last().reason = "link to nowhere";
        entries[4].user.clear();
        result.write_manifest(entries);
        result.write("mail-extract/log.txt", "[1]:-- FAILED a\n[2]:-- FAILED a\n[3]:-- FAILED b\n");
        const parsed_report page = parsed(result.report());
        QCOMPARE(page.error, QString());
        QVERIFY(
            page.text.contains("1 of 9 files copied and proven, 3 kept aside (2 hidden, 1 loose), 5 links; 1 further"));
        QVERIFY(page.text.contains("link: 4 files shown, link to nowhere"));
        QVERIFY(page.text.contains("2 times: [1]:-- FAILED a"));
        QVERIFY(!page.text.contains("[2]:--") && page.text.contains("[3]:-- FAILED b"));
        QCOMPARE(load_report_data(result_paths(result.path())).users.size(), 1);
    }

    void a_result_that_is_not_whole_says_so_data()
    {
        QTest::addColumn<std::optional<run_status>>("status"); // empty for no run record
        QTest::addColumn<bool>("has_manifest");
        QTest::addColumn<QString>("said");
        QTest::addColumn<bool>("is_whole");
        const auto row = [](std::optional<run_status> status, bool has_manifest, const char* said, bool is_whole) {
            QTest::addRow("%s", said) << status << has_manifest << QString(said) << is_whole;
        };
        row(run_status::finished, true, "has the bytes of its source: 1 files", true);
        row(run_status::running, false, "its record still says \"running\"", false);
        row(run_status::running, false, "Source Db opening --------FAILED-------", false);
        row(run_status::cancelled, true, "This run was cancelled", false);
        row(run_status::failed, false, "This run failed: disk full", false);
        row(run_status::finished, false, "The copies are not verified", false);
        row({}, true, "no run record there", false);
    }

    void a_result_that_is_not_whole_says_so()
    {
        QFETCH(const std::optional<run_status>, status);
        QFETCH(const bool, has_manifest);
        const reported_result result;
        run_record run = finished_run();
        if (status) {
            run.status = *status;
            run.error = run.status == run_status::failed ? "disk full" : "";
            result.write_run(run);
        }
        result.write("mail-extract/log.txt", "starts\nSource Db opening --------FAILED------- x\n");
        if (has_manifest) {
            result.write_manifest({entry("V9/1", entry_status::copied, 1)});
        }
        result.seal();
        const parsed_report page = parsed(result.report());
        QCOMPARE(page.error, QString());
        QFETCH(const QString, said);
        QVERIFY2(page.text.contains(said), qPrintable(said));
        QTEST(page.text.contains("Every copy that is due is there"), "is_whole");
    }

    void green_rests_on_seal_and_newest_verification_data()
    {
        using deed = std::function<void(const reported_result&)>;
        QTest::addColumn<deed>("after_the_seal");
        QTest::addColumn<QString>("said");
        QTest::addColumn<bool>("is_green");
        const auto row = [](const char* said, bool is_green, const deed& done) {
            QTest::addRow("%s", said) << done << QString(said) << is_green;
        };
        // The newest is the one that was made last, wherever it lies.
        const auto verified = [](const reported_result& result, const char* when, qint64 findings) {
            verification_record record;
            record.verified = QDateTime::fromString(when, Qt::ISODate);
            record.copy_findings = findings;
            record.whole = findings == 0;
            write_verification_record(result.path(QString("mail-extract/verifications/") + when), record);
        };
        row("was not verified since the run", true, [](const auto&) {});
        row("says that this result is not whole: 3 findings", false, [verified](const auto& result) {
            verified(result, "2026-03-01T00:00:00Z", 0);
            verified(result, "2026-03-02T00:00:00Z", 3);
        });
        row("Verifications, the newest first", true, [verified](const auto& result) {
            verified(result, "2026-03-02T00:00:00Z", 0);
            verified(result, "2026-03-01T00:00:00Z", 3);
        });
        row("which has not come yet", false,
            [verified](const auto& result) { verified(result, "9999-03-01T00:00:00Z", 0); });
        row("this is no record of a verification", false, [verified](const auto& result) {
            verified(result, "2026-03-02T00:00:00Z", 0);
            result.write("mail-extract/verifications/2026-03-01.json", "{}");
        });
        row("there is no seal", false, [](const auto& result) { QFile::remove(result.path("mail-extract/seal.txt")); });
        row("line 1 cannot be understood", false,
            [](const auto& result) { result.write("mail-extract/seal.txt", "x\n"); });
        row("manifest.csv is not the one that was sealed", false,
            [](const auto& result) { result.write_manifest({entry("V9/2", entry_status::copied, 1)}); });
        row("manifest.csv is not on its list", false,
            [](const auto& result) { result.write("mail-extract/seal.txt", ""); });
        row("may have rows that were not sealed", false,
            [](const auto& result) { result.write("mail-extract/mail.sqlite-wal", "x"); });
    }

    void green_rests_on_seal_and_newest_verification()
    {
        const reported_result result;
        run_record run = finished_run();
        run.about.examiner = "Jane Doe";
        run.program_sha256 = QString(64, 'b');
        result.write_run(run);
        result.write_manifest({entry("V9/1", entry_status::copied, 1)});
        QDir().mkpath(result.path("mail-extract/verifications"));
        const QString root = result.seal();
        QFETCH(const std::function<void(const reported_result&)>, after_the_seal);
        after_the_seal(result);
        const parsed_report page = parsed(result.report());
        QCOMPARE(page.error, QString());
        QTEST(page.text.contains("Every copy that is due is there"), "is_green");
        QFETCH(const QString, said);
        QVERIFY2(page.text.contains(said), qPrintable(said));
        QFETCH(const bool, is_green);
        QVERIFY(!is_green || page.text.contains("Root hash: " + root)); // at the foot of printed pages
        QVERIFY(page.text.contains("Examiner: Jane Doe") && page.text.contains(run.program_sha256));
    }
};

QTEST_GUILESS_MAIN(tst_report)
#include "tst_report.moc"
