#include "host/result/manifest.h"
#include "tests/common/failure_text.h"
#include "tests/common/files.h"

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
        entry.metadata.modified = file_time{-1, 999'999'999};
        entry.metadata.mode = 0644;
        entry.metadata.inode = 18'446'744'073'709'551'615U;
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
        const auto row = [](const char* title, const QByteArray& name, const QByteArray& text) {
            QTest::newRow(title) << name << text;
        };
        row("plain", "a b'c\\", "a b'c\\");
        row("line ends", "a\r\nb", "a%0D%0Ab");
        row("percent", "100%25", "100%2525");
        row("csv marks", "\"a\",b", "\"a\",b");
        row("umlauts, NFC and NFD", "\u00fcu\u0308", "\u00fcu\u0308");
        row("beyond the BMP", "\U0001F4E7", "\U0001F4E7");
        row("C1 control, delete", "\u0085\x7f", "%C2%85%7F");
        row("latin-1", "b\374cher", "b%FCcher");
        row("cut short", "\xe2\x82", "%E2%82");
        row("overlong slash", "\xc0\xaf", "%C0%AF");
        row("surrogate", "\xed\xa0\x80", "%ED%A0%80");
    }

    void names_are_written_on_one_line_and_read_back()
    {
        QFETCH(QByteArray, name);
        QFETCH(QByteArray, text);
        QCOMPARE(percent_encoded_name(name), text);
        QCOMPARE(percent_decoded_name(text), name);

        const QTemporaryDir folder;
        const manifest_entry entry = entry_named(name);
        const result_paths result(folder.path());
        QVERIFY(QDir().mkpath(result.products()));
        manifest_writer writer(result);
        writer.write(entry);
        writer.commit();

        manifest_reader reader(result.path(product::manifest));
        QVERIFY(reader.next() == entry);
        QVERIFY(!reader.next());
    }

    void sums_are_what_sha256sum_reads()
    {
        const QString program = QStandardPaths::findExecutable("sha256sum");
        if (program.isEmpty()) {
            QSKIP("sha256sum is not installed");
        }
        const QTemporaryDir folder;
        const result_paths result(folder.path());
        QVERIFY(QDir().mkpath(result.products()));
        manifest_writer writer(result);
        const std::filesystem::path folder_path = folder.path().toStdString();
        qsizetype written = 0;
        const QByteArrayList names = {"plain", "a\nb", "a\rb", "a\\nb", "\\", " blank ", "latin \xfc", "*star"};
        for (const QByteArray& name : names) {
            // Not every file system takes the name that is not UTF-8, and Qt never does.
            std::ofstream file(folder_path / name.toStdString(), std::ios::binary);
            if (!(file << "abc")) {
                continue;
            }
            writer.write(entry_named(name));
            ++written;
        }
        QVERIFY(written >= names.size() - 1);
        manifest_entry unproven = entry_named("absent");
        unproven.status = entry_status::different;
        writer.write(unproven);
        writer.commit();

        QProcess check;
        check.setWorkingDirectory(folder.path());
        check.start(program, {"--check", "--strict", "mail-extract/SHA256SUMS"});
        QVERIFY(check.waitForFinished());
        QCOMPARE(check.readAllStandardError(), QByteArray());
        QCOMPARE(check.readAllStandardOutput().count(": OK"), written);
        QCOMPARE(check.exitCode(), 0);
        std::filesystem::remove_all(folder_path);
    }

    void times()
    {
        using limits = std::numeric_limits<qint64>;
        for (const auto& [time, text] : {std::pair(file_time{0, 0}, "1970-01-01T00:00:00.000000000Z"),
                                         {file_time{-1, 999'999'999}, "1969-12-31T23:59:59.999999999Z"},
                                         {file_time{1709211661, 42}, "2024-02-29T13:01:01.000000042Z"},
                                         {file_time{-62'135'596'800, 0}, "0001-01-01T00:00:00.000000000Z"},
                                         {file_time{-62'167'219'201, 0}, "-000001-12-31T23:59:59.000000000Z"},
                                         {file_time{253'402'300'800, 0}, "+010000-01-01T00:00:00.000000000Z"},
                                         {file_time{limits::max(), 1}, "+292277026596-12-04T15:30:07.000000001Z"},
                                         {file_time{limits::min(), 0}, "-292277022657-01-27T08:29:52.000000000Z"}}) {
            QCOMPARE(time_to_text(time), text);
            QCOMPARE(time_from_text(text), time);
        }
        QVERIFY(!time_from_text("2024-02-29T13:01:01.-00000042Z"));
    }

    void damaged_manifests_are_named_not_read_past_data()
    {
        QTest::addColumn<QByteArray>("from");
        QTest::addColumn<QByteArray>("to");
        const auto row = [](const char* title, const QByteArray& from, const QByteArray& to) {
            QTest::newRow(title) << from << to;
        };
        row("cut off", "\r\n", "");
        row("column lost", ",3,", ",");
        row("unknown status", "copied", "copyed");
        row("digest short", "ba7816bf", "ba7816b");
        row("open quote", "why", "\"why");
        row("lower-case escape", "why", "%0a");
        row("no such day", "1969-12-31", "1969-02-30");
        row("line without end", "why", QByteArray(2 << 20, 'x'));
        row("five digits of a year", "1969-12-31", "19690-12-31");
    }

    void damaged_manifests_are_named_not_read_past()
    {
        QFETCH(QByteArray, from);
        QFETCH(QByteArray, to);
        const QTemporaryDir folder;
        const result_paths result(folder.path());
        QVERIFY(QDir().mkpath(result.products()));
        manifest_writer writer(result);
        manifest_entry entry = entry_named("x");
        entry.reason = "why";
        writer.write(entry);
        writer.commit();

        const QString path = result.path(product::manifest);
        QByteArray text = content_of(path);
        const qsizetype place = text.lastIndexOf(from);
        QVERIFY(place > 0);
        write_file(path, text.replace(place, from.size(), to));

        manifest_reader reader(path);
        QCOMPARE(failure_text([&] { reader.next(); }), path + ": line 2 cannot be understood");
    }
};

QTEST_GUILESS_MAIN(tst_manifest)
#include "tst_manifest.moc"
