#include "tests/common/driven_program.h"
#include "tests/common/evidence_source.h"
#include "tests/common/files.h"
#include "tests/common/unprivileged.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QTest>

namespace {

const QString home = "Users/ann";
const QString mail = home + "/Library/Mail";
const QString accounts = home + "/Library/Accounts";

program_result command(const evidence_source& source, const QString& name, const QStringList& further)
{
    return run_program(QStringList{name, "--source", source.root()} + further, as_nobody());
}

/// Follows a path such as "users.0.name" into a document.
QJsonValue at(const QJsonDocument& document, const QString& path)
{
    QJsonValue value = document.object();
    for (const QString& step : path.split('.')) {
        value = value.isArray() ? value[step.toInt()] : value[step];
    }
    return value;
}

} // namespace

/// What may not be read is never "no mail".
class tst_survey_unreadable : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        if (run_program({"--version"}, as_nobody()).exit_code != 0) {
            QSKIP("the program cannot be started without the superuser's privileges here");
        }
    }

    void closed_directories_are_named_data()
    {
        QTest::addColumn<QString>("closed");
        QTest::addColumn<unsigned>("bits");
        QTest::addColumn<QString>("named");   // as unreadable; "" when nothing is
        QTest::addColumn<QString>("unknown"); // what is null in the survey
        const auto row = [](const char* name, const QString& closed, unsigned bits, const QString& named,
                            const QString& unknown) { QTest::newRow(name) << closed << bits << named << unknown; };
        row("Users", "Users", 0, "Users", "users");
        row("Users, no list", "Users", 1, "Users", "users");
        row("Users, no search", "Users", 4, "Users", "users.0.has_mail_directory");
        row("the home", home, 0, home, "users.0.has_mail_directory");
        row("the home, no search", home, 4, home, "users.0.mail_folders");
        row("the home, no list is needed", home, 1, {}, {});
        row("the Library", home + "/Library", 0, home + "/Library", "users.0.loose");
        row("the Mail directory", mail, 0, mail, "users.0.mail_folders");
        row("the Mail directory, no search", mail, 4, mail + "/V9", "users.0.live_version.none");
        row("a version", mail + "/V9", 0, mail + "/V9", "users.0.mail_folders.0.visible");
        row("an account folder", mail + "/V9/IMAP-a", 0, mail + "/V9/IMAP-a",
            "users.0.mail_folders.0.folders.0.visible");
        row("the account stores", accounts, 0, accounts, "users.0.account_stores");
    }

    void closed_directories_are_named()
    {
        QFETCH(QString, closed);
        QFETCH(unsigned, bits);
        QFETCH(QString, named);
        QFETCH(QString, unknown);
        const evidence_source source;
        source.add_mail("ann", "V9/IMAP-a/1.emlx");
        source.add_store("ann", "1:A:NULL:a@b.c");
        permit(source.root() + "..", 5);
        permit(source.root() + closed, bits);
        QDir().mkpath(source.result());
        permit(source.result(), 7);
        const program_result text = command(source, "survey", {});
        const program_result found = command(source, "survey", {"--json", "--result", source.result()});
        const program_result run = command(source, "run", {"--result", source.result(), "--quiet"});
        permit(source.root() + closed, 7);

        QCOMPARE(found.exit_code, named.isEmpty() ? 0 : 3);
        QVERIFY2(run.exit_code == found.exit_code, run.errors);
        QVERIFY2(!run.errors.contains("changed during the run"), run.errors);
        if (named.isEmpty()) {
            return;
        }
        QStringList paths;
        for (const QJsonValue finding : found.json()["unreadable"].toArray()) {
            paths += finding["path"].toString();
        }
        QCOMPARE(paths, QStringList(named));
        QCOMPARE(found.json()["room"]["is_least"].toBool(), named != accounts);
        const QJsonValue null = at(found.json(), unknown);
        QVERIFY2(null.isNull() || (unknown.endsWith("none") && null.isUndefined()), found.output);
        QVERIFY2(text.output.contains("  " + named.toUtf8() + ": "), text.output);
        for (const QByteArray& said : {text.output, run.errors}) {
            QVERIFY2(said.contains("Permission denied") && said.contains(named.toUtf8()), said);
        }
        QVERIFY2(text.output.contains("permission: run as root (sudo)"), text.output);
        QVERIFY2(!text.output.contains("no Mail directory") && !run.errors.contains("no Mail directory found"),
                 text.output + run.errors);
    }

    void damaged_stores_are_said_in_words_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("problem");
        const QByteArray header("SQLite format 3\0\x02\0\1\1\0\x40\x20\x20", 24);
        QTest::newRow("empty") << QByteArray() << "is empty";
        QTest::newRow("text") << QByteArray(1000, 'x') << "is damaged: not a database";
        QTest::newRow("a header alone") << header << "is damaged: not a database";
        QTest::newRow("pages of no size") << QByteArray(header).replace(16, 2, "\x03\1").leftJustified(2048, '\0')
                                          << "is damaged: a database with pages of 769 bytes";
        QTest::newRow("cut short") << header + QByteArray("\0\0\0\1\0\0\0\x09", 8) + QByteArray(60, '\0') +
                                          QByteArray("\0\0\0\1", 4) + QByteArray(1000, '\0')
                                   << "is damaged: ends at byte 1096 of 4608";
        QTest::newRow("one page") << header.leftJustified(512, '\0') << QString();
    }

    void damaged_stores_are_said_in_words()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, problem);
        const evidence_source source;
        source.add_mail("ann", "V9/IMAP-a/1.emlx");
        source.add_file(accounts + "/Accounts4.sqlite", content);
        const program_result found = run_program({"survey", "--source", source.root(), "--json"});
        QCOMPARE(at(found.json(), "users.0.account_stores.0.problem").toString(), problem);
        QCOMPARE(found.exit_code, problem.isEmpty() ? 0 : 3);
        const QByteArray text = run_program({"survey", "--source", source.root()}).output;
        QVERIFY2(text.contains("Accounts4.sqlite " + problem.toUtf8()), text);
        if (!problem.isEmpty()) {
            const program_result run = run_program({"run", "--source", source.root(), "--result", source.result()});
            QVERIFY2(run.exit_code == 3 && run.errors.contains("Accounts4.sqlite: " + problem.toUtf8()), run.errors);
        }
    }
};

QTEST_GUILESS_MAIN(tst_survey_unreadable)
#include "tst_survey_unreadable.moc"
