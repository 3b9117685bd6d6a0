#include "host/case_tasks/cluster_scripts.h"

#include <QDir>
#include <QFile>
#include <QProcess>
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
    }
    /// Runs the script with the program's path replaced by one that prints its arguments.
    void scripts_reach_the_program_unchanged()
    {
        QFETCH(QString, engine);
        QFETCH(QString, variable);
        QFETCH(QString, argument);
        QTemporaryDir directory;
        const case_paths paths(directory.filePath("it's a \"case\" $HOME"));
        QVERIFY(QDir().mkpath(paths.cluster()));
        const cluster_work work{paths, {5, 1012}, 3, true, {"/a b=/c'd"}};
        for (const cluster_file& file : cluster_files(engine, work)) {
            QFile written(paths.cluster() + '/' + file.name);
            QVERIFY(written.open(QIODevice::WriteOnly));
            written.write(
                QByteArray(file.content)
                    .replace(shell_word(QCoreApplication::applicationFilePath()).toUtf8(), "printf '%s\\n' \"$TZ\"")
                    .replace("exec ", ""));
        }
        QProcess shell;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(variable.section('=', 0, 0), variable.section('=', 1));
        shell.setProcessEnvironment(environment);
        shell.start("bash", {paths.cluster() + '/' + cluster_files(engine, work).first().name, argument});
        QVERIFY(shell.waitForFinished());
        QCOMPARE(QString::fromUtf8(shell.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts),
                 (QStringList{"UTC", "case", "run", paths.root(), "--index", "1012", "--retry", "failed", "--map",
                              "/a b=/c'd"}));
    }
};

QTEST_GUILESS_MAIN(tst_cluster_scripts)
#include "tst_cluster_scripts.moc"
