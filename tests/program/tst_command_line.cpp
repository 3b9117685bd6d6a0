#include "tests/common/driven_program.h"
#include "tests/common/evidence_source.h"
#include "tests/common/files.h"

#include <QDir>
#include <QJsonObject>
#include <QTest>

#include <csignal>

#include <unistd.h>

namespace {

QStringList words(const QString& line)
{
    return line.split(' ', Qt::SkipEmptyParts);
}

} // namespace

class tst_command_line : public QObject
{
    Q_OBJECT

private slots:
    void typing_errors_are_named_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QByteArray>("answer");
        const auto row = [](const char* line, const char* answer) {
            QTest::newRow(line) << line << QByteArray(answer);
        };
        row("runn", "unknown command 'runn': did you mean run?");
        row("xyzzy", "unknown command 'xyzzy'; 'mail-extract --help' lists");
        row("run --sorce x --result y", "unknown option --sorce: did you mean --source?");
        row("run --soucre=x --result y", "unknown option --soucre: did you mean --source?");
        row("run --source x --result y --json --qiuet", "unknown option --qiuet: did you mean --quiet?");
        row("survey /mnt/mac", "unexpected argument '/mnt/mac': type --source /mnt/mac");
        row("show /cases/17 --format json", "unexpected argument '/cases/17': type --result /cases/17");
        row("--source x run", "--source belongs behind a command");
        row("", "type a command");
        row("run --result x", "run: --source is required");
        row("show --result x --format xml", "--format: xml not in {table,csv,json}");
        row("run --source x --result y --user", "--user: 1 required NAME missing");
    }

    void typing_errors_are_named()
    {
        QFETCH(QString, line);
        QFETCH(QByteArray, answer);
        const program_result result = run_program(words(line));
        QCOMPARE(result.exit_code, 2);
        QVERIFY2(result.errors.contains(answer) && result.errors.count('\n') == 1, result.errors);
        const QJsonObject error = result.json()["error"].toObject();
        QCOMPARE(error["exit_code"].toInt(), line.contains("json") ? 2 : 0);
        QCOMPARE(result.errors.contains(error["message"].toString().toUtf8() + '\n'), true);
    }

    void help_fits_the_page_data()
    {
        QTest::addColumn<QString>("command");
        for (const char* command : {"", "demo", "survey", "run", "show", "verify", "report", "decipher"}) {
            QTest::addRow("%s", command) << command;
        }
    }

    void help_fits_the_page()
    {
        QFETCH(QString, command);
        const program_result help = run_program(words(command) << "--help");
        QCOMPARE(help.exit_code, 0);
        for (const QString& line : QString::fromUtf8(help.output).split('\n')) {
            QVERIFY2(line.size() <= 80, qPrintable(line));
        }
        QVERIFY(!help.output.contains("\n\n\n"));
        const qsizetype group = help.output.indexOf("\nFor integrators:\n");
        for (const char* option :
             {"--scheme", "--source-type", "--source-number", "--engine", "--as-suite", "--plugin"}) {
            QCOMPARE(help.output.indexOf(option) > group, command == "run");
        }
        QCOMPARE(group > help.output.indexOf("--json"), command == "run");
    }

    void wrong_sources_get_a_hint_data()
    {
        QTest::addColumn<QString>("entry"); // below the root; a folder when it ends with "/"
        QTest::addColumn<QString>("named"); // as the source, below the root
        QTest::addColumn<QString>("hint");  // with %1 for the root
        const auto row = [](const char* name, const QString& entry, const QString& named, const QString& hint) {
            QTest::newRow(name) << entry << named << hint;
        };
        row("Users", "mac/Users/ann/Library/Mail/V9/", "mac/Users", "this is \"Users\" itself: type --source %1mac");
        row("a home", "mac/Users/ann/Library/Mail/V9/", "mac/Users/ann", "home directory: type --source %1mac");
        row("a home, a blank", "a mac/Users/ann/Library/Mail/", "a mac/Users/ann", "type --source '%1a mac'");
        row("a home alone", "ann/Library/Mail/V9/", "ann", "name the folder in which the home lies as Users/NAME");
        row("a Library", "mac/Users/ann/Library/Mail/V9/", "mac/Users/ann/Library", "type --source %1mac");
        row("a Mail directory", "mac/Users/ann/Library/Mail/V9/", "mac/Users/ann/Library/Mail", "type --source %1mac");
        row("one above", "mnt/mac/Users/ann/Library/Mail/V9/", "mnt", "one level below: type --source %1mnt/mac");
        row("the system volume", "mac/System/Volumes/Data/Users/ann/Library/Mail/V9/", "mac",
            "type --source %1mac/System/Volumes/Data");
        row("lower case", "mac/users/ann/Library/Mail/V9/", "mac", "there is %1mac/users, but users are looked for in");
        row("an archive", "mac.tar.GZ", "mac.tar.GZ", "mac.tar.GZ is an archive: unpack it");
        row("an image", "mac.E01", "mac.E01", "mac.E01 is a disk image: mount it read-only");
        row("an image that is a folder", "mac.sparsebundle/bands/", "mac.sparsebundle", "is a disk image: mount it");
    }

    void wrong_sources_get_a_hint()
    {
        QFETCH(QString, entry);
        QFETCH(QString, named);
        QFETCH(QString, hint);
        const evidence_source place;
        const bool is_folder = entry.endsWith('/');
        QDir().mkpath(place.root() + (is_folder ? entry : "."));
        if (!is_folder) {
            place.add_file(entry);
        } else if (entry.contains("mac/users") && QFileInfo::exists(place.root() + "mac/Users")) {
            QSKIP("this file system does not tell letters by their case");
        }
        for (const char* command : {"survey", "run"}) {
            const program_result result =
                run_program({command, "--source", place.root() + named, "--result", place.result()});
            QCOMPARE(result.exit_code, is_folder ? 4 : 1);
            QVERIFY2(result.errors.contains(hint.replace("%1", place.root()).toUtf8()), result.errors);
        }
        QVERIFY(QDir(place.result()).isEmpty());
    }

    void either_composition_of_a_name_is_understood_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<bool>("is_known");
        QTest::newRow("composed") << QString("j\u00FCrgen") << true;
        QTest::newRow("decomposed") << QString("ju\u0308rgen") << true;
        QTest::newRow("without") << QString("jurgen") << false;
    }

    void either_composition_of_a_name_is_understood()
    {
        QFETCH(QString, typed);
        QFETCH(bool, is_known);
        const evidence_source source;
        const QString own = QString("ju\u0308rgen");
        source.add_mail(own, "V9/IMAP-a/1");
        source.add_mail("ann", "V9/IMAP-b/1");
        const program_result run =
            run_program({"run", "--source", source.root(), "--result", source.result(), "--user", typed});
        QCOMPARE(run.exit_code, is_known ? 0 : 1);
        const QStringList copies = QDir(source.result() + "/Artifacts_Result/Apple_Mail_Extractor")
                                       .entryList({"Apple_Mail_Extractor_*_*"}, QDir::Dirs);
        QCOMPARE(copies.size(), is_known ? 1 : 0);
        QVERIFY(!is_known || copies[0].contains(own));
        QCOMPARE(run.errors.contains("left out by --user, of the users in the source: 1: ann\n"), is_known);
    }

    /// The working directory may be the evidence, and what lies there is not to be run.
    void no_library_comes_from_the_working_directory()
    {
        const evidence_source source;
        const QByteArray directory = QFile::encodeName(source.root());
        write_file(source.root() + "libQt6Core.so.6", "no library");
        const program_result told =
            run_program({"--version"}, [&directory] { static_cast<void>(::chdir(directory.constData()) == 0); });
        QVERIFY2(told.exit_code == 0, told.errors);
    }

    void signals_end_a_wait_data()
    {
        QTest::addColumn<int>("number");
        QTest::newRow("Ctrl-C") << SIGINT;
        QTest::newRow("the terminal is gone") << SIGHUP;
        QTest::newRow("termination") << SIGTERM;
    }

    void signals_end_a_wait()
    {
        QFETCH(int, number);
        const evidence_source source;
        QFile log(source.result() + "/log");
        constexpr qint64 more_than_is_read_in_an_hour = qint64(1) << 43;
        QVERIFY(log.open(QIODevice::WriteOnly) && log.resize(more_than_is_read_in_an_hour));
        QProcess program;
        program.start(MAIL_EXTRACT_PROGRAM, {"decipher", log.fileName()});
        QVERIFY(program.waitForStarted());
        QTest::qWait(500); // it looks for a record
        QVERIFY(program.processId() > 0);
        ::kill(pid_t(program.processId()), number);
        QVERIFY(program.waitForFinished(5000));
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 130);
    }
};

QTEST_GUILESS_MAIN(tst_command_line)
#include "tst_command_line.moc"
