#include "support/encryptor_string.h"
#include "tests/common/driven_program.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

namespace {

const QByteArray marker = "<[{()}]>";

QByteArray record(const QString& line)
{
    return encryptor_string().encryptToString(line).toLatin1() + marker;
}

program_result decipher(const QByteArray& log)
{
    const QTemporaryDir folder;
    QFile file(folder.filePath("log"));
    if (!file.open(QIODevice::WriteOnly) || file.write(log) != log.size() || !file.flush()) {
        return {};
    }
    return run_program({"decipher", file.fileName()});
}

} // namespace

class tst_decipher : public QObject
{
    Q_OBJECT

private slots:
    void every_record_wherever_a_read_ends()
    {
        QByteArray log;
        QByteArray plain;
        for (int i = 0; i < 6000; ++i) {
            const QString line = QString("[line %1] J\u00fcrgen %2").arg(i).arg(QString(i % 97, 'x'));
            log += record(line);
            plain += line.toUtf8() + '\n';
        }
        const program_result read = decipher(log + "\n");
        QCOMPARE(read.exit_code, 0);
        QVERIFY2(read.errors.isEmpty(), read.errors);
        QVERIFY(read.output == plain);
    }

    void what_may_never_end_is_refused()
    {
        const QTemporaryDir folder;
        const QString pipe = folder.filePath("log");
        QCOMPARE(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
        for (const QString& path : {pipe, QString("/dev/zero")}) {
            const program_result read = run_program({"decipher", path});
            QCOMPARE(read.exit_code, 1);
            QVERIFY2(read.errors.contains(path.toUtf8() + ": is no file: "), read.errors);
        }
    }

    void damaged_record_data()
    {
        QTest::addColumn<QByteArray>("damaged");
        QTest::addColumn<QByteArray>("reason");
        const QByteArray sound = QByteArray::fromBase64(record("second").chopped(marker.size()));
        QByteArray version = sound;
        version[0] = 4;
        QByteArray body = sound;
        body[body.size() - 1] = static_cast<char>(body.back() ^ 1);
        QTest::newRow("version") << version.toBase64() + marker << QByteArray("unknown version");
        QTest::newRow("integrity") << body.toBase64() + marker << QByteArray("integrity");
        QTest::newRow("cut") << sound.chopped(4).toBase64() + marker << QByteArray("integrity");
        QTest::newRow("short") << sound.left(2).toBase64() + marker << QByteArray("truncated");
        QTest::newRow("empty") << marker << QByteArray("truncated");
        QTest::newRow("not base64") << "AwI!" + marker << QByteArray("base64");
        QTest::newRow("log that ends in it") << QByteArray() << QByteArray("truncated");
        QTest::newRow("endless") << QByteArray(40 << 20, 'A') + marker << QByteArray("longer than 1 MiB");
    }

    void damaged_record()
    {
        QFETCH(QByteArray, damaged);
        QFETCH(QByteArray, reason);
        const bool is_end = damaged.isEmpty();
        const program_result read =
            decipher(record("first") + (is_end ? record("second").chopped(8) : damaged + record("third")));
        QCOMPARE(read.exit_code, 3);
        QCOMPARE(read.output, is_end ? "first\n" : "first\nthird\n");
        QVERIFY2(read.errors.count('\n') == 1 && read.errors.contains(": record 2: ") && read.errors.contains(reason),
                 read.errors);
    }

    void nothing_to_decipher()
    {
        const program_result plain = decipher("[2024-Mar-05T14-07-09][KAVRO_DESK][Artifacts Extraction][a::b]:-- x\n");
        QCOMPARE(plain.exit_code, 1);
        QVERIFY(plain.output.isEmpty());
        QVERIFY2(plain.errors.contains("plain log"), plain.errors);

        QCOMPARE(decipher("").exit_code, 0);
    }
};

QTEST_GUILESS_MAIN(tst_decipher)
#include "tst_decipher.moc"
