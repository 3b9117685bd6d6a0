#include "host/case_tasks/cluster_scripts.h"

#include "tests/common/files.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

class tst_cluster_scripts : public QObject
{
    Q_OBJECT

private slots:
    void blocks_data()
    {
        QTest::addColumn<QList<int>>("indexes");
        QTest::addColumn<int>("limit");
        QTest::addColumn<QString>("blocks");
        QTest::newRow("one") << QList<int>{7} << 1001 << "0:7";
        QTest::newRow("gaps") << QList<int>{1, 2, 3, 7, 9, 10} << 1001 << "0:1-3,7,9-10";
        QTest::newRow("at the limit") << QList<int>{999, 1000, 1001, 1002} << 1001 << "0:999-1000 1000:1-2";
        QTest::newRow("an empty block") << QList<int>{1, 25} << 11 << "0:1 20:5";
    }
    void blocks()
    {
        QFETCH(QList<int>, indexes);
        QFETCH(int, limit);
        QStringList found;
        for (const array_block& block : array_blocks(indexes, limit)) {
            found.append(QString::number(block.offset) + ':' + block.tasks);
        }
        QTEST(found.join(' '), "blocks");
    }

    void scripts_reach_the_program_unchanged_data()
    {
        QTest::addColumn<QString>("engine");
        QTest::addColumn<QString>("variable");
        QTest::addColumn<QString>("argument");
        QTest::newRow("slurm") << "slurm"
                               << "SLURM_ARRAY_TASK_ID=12"
                               << "1000";
        QTest::newRow("sge") << "sge"
                             << "SGE_TASK_ID=2"
                             << "";
        QTest::newRow("kubernetes") << "kubernetes"
                                    << "JOB_COMPLETION_INDEX=1"
                                    << "";
        QTest::newRow("parallel") << "parallel"
                                  << "PARALLEL_HOME=."
                                  << "";
    }
    /// Runs what is written with the program's path replaced by that of a script that prints its arguments.
    void scripts_reach_the_program_unchanged()
    {
        QFETCH(QString, engine);
        QFETCH(QString, variable);
        QFETCH(QString, argument);
        if (engine == "parallel" && QStandardPaths::findExecutable("parallel").isEmpty()) {
            QSKIP("GNU parallel is not installed");
        }
        QTemporaryDir directory;
        const QString printer = directory.filePath("printer");
        write_file(printer, "#!/bin/sh\nprintf '%s\\n' \"$TZ\" \"$@\"\n");
        QFile(printer).setPermissions(QFile::ReadOwner | QFile::ExeOwner);
        const case_paths paths(directory.filePath("it's a \"case\" $HOME"));
        const cluster_work work{paths, {5, 1012}, 3, true, {"/a b=/c'd"}};
        const QList<cluster_file> files = cluster_files(engine, work);
        for (const cluster_file& file : files) {
            QVERIFY(engine != "sge" || !file.name.endsWith(".sh") || file.content.contains("\n#$ -S /bin/bash\n"));
            write_file(paths.cluster() + '/' + file.name,
                       QByteArray(file.content)
                           .replace(shell_word(QCoreApplication::applicationFilePath()).toUtf8(), printer.toUtf8()));
        }
        QProcess shell;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(variable.section('=', 0, 0), variable.section('=', 1));
        environment.remove("TZ");
        const QString script = paths.cluster() + '/' + files.first().name;
        QStringList words{"bash", script};
        if (engine == "kubernetes") {
            const QJsonObject job = QJsonDocument::fromJson(files.first().content).object();
            const QJsonValue container = job["spec"]["template"]["spec"]["containers"][0];
            environment.insert("TZ", container["env"][0]["value"].toString());
            words = container["command"].toVariant().toStringList();
            words.last().replace("mail-extract", printer);
        } else if (!argument.isEmpty()) {
            words.append(argument);
        }
        shell.setProcessEnvironment(environment);
        shell.start(words.first(), words.mid(1));
        QVERIFY(shell.waitForFinished());
        const QStringList said = QString::fromUtf8(shell.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
        const QStringList expected{"UTC",  "case",    "run",    paths.root(), "--index",
                                   "1012", "--retry", "failed", "--map",      "/a b=/c'd"};
        // GNU parallel goes through the whole list, in any order.
        QCOMPARE(engine == "parallel" ? said.size() : expected.size(),
                 expected.size() * (engine == "parallel" ? 2 : 1));
        const qsizetype at = said.indexOf("1012") - 5;
        QCOMPARE(engine == "parallel" ? said.mid(at, expected.size()) : said, expected);
    }
};

QTEST_GUILESS_MAIN(tst_cluster_scripts)
#include "tst_cluster_scripts.moc"
