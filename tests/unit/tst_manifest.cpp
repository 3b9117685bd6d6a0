#include "host/manifest.h"

#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <filesystem>
#include <fstream>
#include <limits>

/// The manifest's texts: names, times, lines.
class tst_manifest : public QObject
{
    Q_OBJECT

private:
    static manifest_entry entry_named(const QByteArray& name)
    {
        manifest_entry entry;
        entry.path = "Users/" + name;
        entry.copy = name;
        entry.user = name;
        entry.size = 3;
        entry.modified_ns = -1;
        entry.source_sha256 = entry.copy_sha256 =
            digest_from_hex("ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
        entry.reason = name;
        return entry;
    }

private slots:
    void names_are_written_on_one_line_and_read_back_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("plain") << QByteArray("a b'c\\") << QByteArray("a b'c\\");
        QTest::newRow("line ends") << QByteArray("a\r\nb") << QByteArray("a%0D%0Ab");
        QTest::newRow("percent") << QByteArray("100%25") << QByteArray("100%2525");
        QTest::newRow("csv marks") << QByteArray("\"a\",b") << QByteArray("\"a\",b");
        QTest::newRow("umlauts, NFC and NFD") << QByteArray("\u00fcu\u0308") << QByteArray("\u00fcu\u0308");
        QTest::newRow("beyond the BMP") << QByteArray("\U0001F4E7") << QByteArray("\U0001F4E7");
        QTest::newRow("C1 control, delete") << QByteArray("\u0085\x7f") << QByteArray("%C2%85%7F");
        QTest::newRow("latin-1") << QByteArray("b\xfc"
                                               "cher")
                                 << QByteArray("b%FCcher");
        QTest::newRow("cut short") << QByteArray("\xe2\x82") << QByteArray("%E2%82");
        QTest::newRow("overlong slash") << QByteArray("\xc0\xaf") << QByteArray("%C0%AF");
        QTest::newRow("surrogate") << QByteArray("\xed\xa0\x80") << QByteArray("%ED%A0%80");
    }

    void names_are_written_on_one_line_and_read_back()
    {
        QFETCH(QByteArray, name);
        QFETCH(QByteArray, text);
        QCOMPARE(percent_encoded_name(name), text);
        QCOMPARE(percent_decoded_name(text), name);

        const QTemporaryDir folder;
        const manifest_entry entry = entry_named(name);
        manifest_writer writer;
        QVERIFY(writer.open(folder.path()));
        writer.write(entry);
        QVERIFY2(writer.commit(), qPrintable(writer.error()));

        manifest_reader reader;
        QVERIFY(reader.open(folder.filePath("manifest.csv")));
        QVERIFY(reader.next() == entry);
        QVERIFY(!reader.next());
        QCOMPARE(reader.error(), QString());
    }

    void sums_are_what_sha256sum_reads()
    {
        const QString program = QStandardPaths::findExecutable("sha256sum");
        if (program.isEmpty())
            QSKIP("sha256sum is not installed");
        const QTemporaryDir folder;
        manifest_writer writer;
        QVERIFY(writer.open(folder.filePath("mail-extract")));
        const std::filesystem::path folder_path = folder.path().toStdString();
        qsizetype written = 0;
        const QByteArrayList names = {"plain", "a\nb", "a\rb", "a\\nb", "\\", " blank ", "latin \xfc", "*star"};
        for (const QByteArray& name : names) {
            // Not every file system takes the name that is not UTF-8, and Qt never does.
            std::ofstream file(folder_path / name.toStdString(), std::ios::binary);
            if (!(file << "abc"))
                continue;
            writer.write(entry_named(name));
            ++written;
        }
        QVERIFY(written >= names.size() - 1);
        manifest_entry unproven = entry_named("absent");
        unproven.status = entry_status::different;
        writer.write(unproven);
        QVERIFY(writer.commit());

        QProcess check;
        check.setWorkingDirectory(folder.path());
        check.start(program, {"--check", "--strict", "mail-extract/SHA256SUMS"});
        QVERIFY(check.waitForFinished());
        QCOMPARE(check.readAllStandardError(), QByteArray());
        QCOMPARE(check.readAllStandardOutput().count(": OK"), written);
        QCOMPARE(check.exitCode(), 0);
        std::filesystem::remove_all(folder_path);
    }

    void times_data()
    {
        QTest::addColumn<qint64>("nanoseconds");
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("epoch") << qint64(0) << QByteArray("1970-01-01T00:00:00.000000000Z");
        QTest::newRow("before") << qint64(-1) << QByteArray("1969-12-31T23:59:59.999999999Z");
        QTest::newRow("leap day") << qint64(1709211661000000042) << QByteArray("2024-02-29T13:01:01.000000042Z");
        QTest::newRow("first") << std::numeric_limits<qint64>::min() << QByteArray("1677-09-21T00:12:43.145224192Z");
        QTest::newRow("last") << std::numeric_limits<qint64>::max() << QByteArray("2262-04-11T23:47:16.854775807Z");
    }

    void times()
    {
        QFETCH(qint64, nanoseconds);
        QFETCH(QByteArray, text);
        QCOMPARE(time_to_text(nanoseconds), text);
        QCOMPARE(time_from_text(text), nanoseconds);
    }

    void damaged_manifests_are_named_not_read_past_data()
    {
        QTest::addColumn<QByteArray>("from");
        QTest::addColumn<QByteArray>("to");
        QTest::newRow("cut off") << QByteArray(",why\r\n") << QByteArray(",w");
        QTest::newRow("column lost") << QByteArray(",3,") << QByteArray(",");
        QTest::newRow("unknown status") << QByteArray("copied") << QByteArray("copyed");
        QTest::newRow("digest short") << QByteArray("ba7816bf") << QByteArray("ba7816b");
        QTest::newRow("open quote") << QByteArray("why") << QByteArray("\"why");
        QTest::newRow("lower-case escape") << QByteArray("why") << QByteArray("%0a");
        QTest::newRow("no such day") << QByteArray("1969-12-31") << QByteArray("1969-02-30");
        QTest::newRow("far year") << QByteArray("1969-12-31") << QByteArray("9969-12-31");
    }

    void damaged_manifests_are_named_not_read_past()
    {
        QFETCH(QByteArray, from);
        QFETCH(QByteArray, to);
        const QTemporaryDir folder;
        manifest_writer writer;
        QVERIFY(writer.open(folder.path()));
        manifest_entry entry = entry_named("x");
        entry.reason = "why";
        writer.write(entry);
        QVERIFY(writer.commit());

        QFile file(folder.filePath("manifest.csv"));
        QVERIFY(file.open(QIODevice::ReadWrite));
        QByteArray text = file.readAll();
        const qsizetype place = text.lastIndexOf(from);
        QVERIFY(place > 0);
        text.replace(place, from.size(), to);
        file.resize(0);
        file.seek(0);
        file.write(text);
        file.close();

        manifest_reader reader;
        QVERIFY(reader.open(file.fileName()));
        QVERIFY(!reader.next());
        QCOMPARE(reader.error(), file.fileName() + ": line 2 cannot be understood");
    }
};

QTEST_GUILESS_MAIN(tst_manifest)
#include "tst_manifest.moc"
