#include "tests/common/driven_program.h"
#include "tests/common/evidence_source.h"
#include "tests/common/files.h"
#include "tests/common/unprivileged.h"

#include <QDir>
#include <QDirIterator>
#include <QJsonArray>
#include <QTest>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const QString identifier = "6F9619FF-8B86-D011-B42D-00CF4FC964FF";
const QString library = "Users/ann/Library/";

program_result survey(const evidence_source& source, const QStringList& further = {"--json"},
                      const std::function<void()>& in_child = {})
{
    return run_program(QStringList{"survey", "--source", source.root()} + further, in_child);
}

QString mail(const evidence_source& source, const QString& name)
{
    return source.root() + library + "Mail/" + name;
}

void add_link(const evidence_source& source, const QString& name, const QString& target)
{
    QDir().mkpath(QFileInfo(source.root() + name).path());
    QCOMPARE(::symlink(qPrintable(target), qPrintable(source.root() + name)), 0);
}

QStringList column(const QJsonValue& rows, const QString& key)
{
    QStringList values;
    for (const QJsonValue row : rows.toArray()) {
        values += row[key].toVariant().toString();
    }
    return values;
}

std::pair<int, int> amounts(const QJsonValue& of)
{
    return {of["files"].toInt(), of["bytes"].toInt()};
}

QByteArray xml_list(const QByteArray& version)
{
    return "<plist><dict><key>LastUsedVersionDirectoryName</key><string>" + version + "</string></dict></plist>";
}

/// The beginning of a database with pages of 512 bytes, and nothing.
QByteArray store_of(qsizetype bytes)
{
    return QByteArray("SQLite format 3\0\x02\0", 18).leftJustified(bytes, '\0');
}

time_t access_time(const QString& path)
{
    struct stat status = {};
    ::lstat(qPrintable(path), &status);
    return status.st_atime;
}

/// Gives a path an access time that any ordinary read would replace.
void age(const QString& path)
{
    const timespec times[2] = {{1'000'000, 0}, {2'000'000, 0}};
    ::utimensat(AT_FDCWD, qPrintable(path), times, 0);
}

} // namespace

class tst_survey : public QObject
{
    Q_OBJECT

private slots:
    void everything_is_counted()
    {
        const evidence_source source;
        for (const QString& folder :
             {identifier, QString("IMAP-a@imap.b.c"), QString("POP-a@c"), QString("MailData")}) {
            source.add_file(library + "Mail/V9/" + folder + "/deep/1.emlx", QByteArray(10, 'x'));
        }
        source.add_mail("ann", "V9/IMAP-a@imap.b.c/.mboxCache.plist|V9/.hidden/visible name|V10/loose in version|"
                               "Bundles/b|loose|.DS_Store");
        source.add_file(library + "Accounts/Accounts4.sqlite", store_of(600));
        source.add_file(library + "Accounts/Accounts4.sqlite-wal", QByteArray(50, 'w'));
        for (const QString file : {"bob/Documents/1", "Shared/Library/Mail/V9/1", ".gone/Library/Mail/V9/1"}) {
            source.add_file("Users/" + file);
        }

        const program_result result = survey(source);
        QCOMPARE(result.exit_code, 0);
        const QJsonArray users = result.json()["users"].toArray();
        QCOMPARE(column(users, "name"), QStringList({"ann", "bob"}));
        QVERIFY(!users[1]["has_mail_directory"].toBool());

        const QJsonValue ann = users[0];
        const QJsonArray folders = ann["mail_folders"].toArray();
        QCOMPARE(column(folders, "name"), QStringList({"V9", "V10", "Bundles"}));
        QCOMPARE(amounts(folders[0]["visible"]), std::pair(4, 40));
        QCOMPARE(amounts(folders[0]["hidden"]), std::pair(2, 2));
        QCOMPARE(amounts(folders[1]["visible"]), std::pair(1, 1));
        QCOMPARE(amounts(ann["hidden"]), std::pair(3, 3));
        QCOMPARE(amounts(ann["loose"]), std::pair(1, 1));
        QCOMPARE(column(folders[0]["folders"], "naming"), QStringList({"identifier", "imap", "other", "pop"}));
        QCOMPARE(amounts(folders[0]["folders"][1]["visible"]), std::pair(1, 10));

        const QJsonValue store = ann["account_stores"][0];
        QCOMPARE(store["bytes"].toInt(), 600);
        QCOMPARE(store["wal_bytes"].toInt(), 50);
        QVERIFY(store["shm_bytes"].isNull());
    }

    void the_live_version_is_read_or_its_absence_said_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QByteArray>("shown");
        QTest::newRow("xml") << xml_list("V9") << QByteArray("ann   V9 ");
        QTest::newRow("of another version") << xml_list("V8") << QByteArray("V8, which is not there");
        QTest::newRow("absent") << QByteArray() << QByteArray("unknown: there is none");
        QTest::newRow("damaged") << QByteArray("bplist00 and no")
                                 << QByteArray("unknown: the property list is damaged");
    }

    void the_live_version_is_read_or_its_absence_said()
    {
        QFETCH(QByteArray, content);
        QFETCH(QByteArray, shown);
        const evidence_source source;
        source.add_mail("ann", "V9/1");
        if (!content.isEmpty()) {
            source.add_file(library + "Mail/PersistenceInfo.plist", content);
        }
        const QByteArray output = survey(source, {}).output;
        QVERIFY2(output.contains(shown), output);
        QCOMPARE(output.contains("V9 (live)"), shown == "ann   V9 ");
    }

    void links_are_judged_as_a_copy_follows_them_data()
    {
        QTest::addColumn<QStringList>("links"); // below the library: name, target, name, target ...
        QTest::addColumn<QStringList>("problems");
        const auto row = [](const char* name, const QStringList& links, const QStringList& problems) {
            QTest::newRow(name) << links << problems;
        };
        row("root", {"Mail/V9/a", "/"}, {"Mail/V9/a leaves_source"});
        row("a file outside", {"Mail/V9/a", "/etc/passwd"}, {"Mail/V9/a leaves_source"});
        row("the directory above", {"Mail/V9/a", ".."}, {"Mail/V9/a cycle"});
        row("the home, back through directories", {"Mail/V9/a", "../../.."}, {"Mail/V9/a cycle"});
        row("each other", {"Mail/V9/x/a", "../y", "Mail/V9/y/b", "../x"}, {"Mail/V9/y/b cycle"});
        row("outside by way of another", {"Mail/V9/a", "../../hop", "hop", "/usr"}, {"Mail/V9/a leaves_source"});
        row("the Mail directory", {"Mail", "/usr"}, {"Mail leaves_source"});
        row("the account store", {"Mail/V9/a", ".none", "Accounts/Accounts4.sqlite", "/etc/passwd"},
            {"Accounts/Accounts4.sqlite leaves_source"});
        row("no problem: inside, nowhere, hidden, loose",
            {"Mail/V9/a", "../V8", "Mail/V8/b", "nowhere", "Mail/V9/.c", "/", "Mail/d", "/etc/passwd"}, {});
    }

    void links_are_judged_as_a_copy_follows_them()
    {
        QFETCH(QStringList, links);
        const evidence_source source;
        for (qsizetype index = 0; index < links.size(); index += 2) {
            add_link(source, library + links[index], links[index + 1]);
        }
        QStringList found;
        for (const QJsonValue problem : survey(source).json()["link_problems"].toArray()) {
            found += problem["path"].toString().mid(library.size()) + ' ' + problem["kind"].toString();
        }
        QTEST(found, "problems");
    }

    void what_cannot_be_taken_is_named()
    {
        const evidence_source source;
        source.add_mail("ann", "V9/a\nb\033[31m|V9/closed file|V9/closed directory/1");
        add_link(source, library + "Mail/V9/nowhere", "/private/gone");
        QCOMPARE(::mkfifo(qPrintable(mail(source, "V9/pipe")), 0600), 0);
        const QByteArray odd_name = QFile::encodeName(mail(source, "V9/")) + "caf\xE9";
        const int odd_file = ::open(odd_name.constData(), O_CREAT | O_WRONLY, 0644);
        ::chmod(qPrintable(source.root() + ".."), 0755);
        ::chmod(qPrintable(mail(source, "V9/closed file")), 0);
        ::chmod(qPrintable(mail(source, "V9/closed directory")), 0);
        const program_result result = survey(source, {}, as_nobody());
        ::chmod(qPrintable(mail(source, "V9/closed directory")), 0700);
        ::unlink(odd_name.constData()); // the temporary folder cannot remove what it cannot name
        ::close(odd_file);
        if (::geteuid() == 0 && result.exit_code != 3) {
            QSKIP("the program cannot be started without the superuser's privileges here");
        }
        for (const char* line : {"V9/pipe: named pipe", "V9/nowhere: link to /private/gone: No such file or directory",
                                 "V9/closed directory: content unknown: Permission denied",
                                 "V9/closed file: no permission to read the file"}) {
            QVERIFY2(result.output.contains(line + QByteArray("\n")), result.output);
        }
        QVERIFY(!result.output.contains('\033'));
        QCOMPARE(result.output.contains("V9/caf\\xe9: the name is not UTF-8\n"), odd_file >= 0);
    }

    void a_page_fits_one_screen()
    {
        const evidence_source source;
        const QString long_name = QString(200, 'n');
        for (const QString user : {"ann", "bob", "cyd", "dan"}) {
            for (const QString version : {"V8", "V9", "V10"}) {
                source.add_mail(user, version + "/IMAP-" + long_name + "/1");
            }
            for (int number = 0; number < 10; ++number) {
                add_link(source, "Users/" + user + "/Library/Mail/V9/" + long_name + QString::number(number), "/");
            }
            source.add_file("Users/" + user + "/Library/Accounts/Accounts4.sqlite", store_of(512));
        }
        const QByteArray output = survey(source, {"--result", source.result()}).output;
        QVERIFY2(output.count('\n') <= 40, output);
        for (const QString& line : QString::fromUtf8(output).split('\n')) {
            QVERIFY2(line.size() <= 100, qPrintable(line));
        }
        QVERIFY(output.contains("... and 35 more (all with --json)"));
    }

    void nothing_in_the_source_changes()
    {
        const evidence_source source;
        source.add_mail("ann", "V9/IMAP-a/1.emlx");
        source.add_file(library + "Mail/PersistenceInfo.plist", xml_list("V9"));
        source.add_file(library + "Accounts/Accounts4.sqlite", store_of(512));
        const QString probe = source.result() + "/probe";
        QVERIFY(QFile::copy(source.add_file("probe"), probe));
        age(probe);
        QCOMPARE(content_of(probe), "x");
        if (access_time(probe) == 1'000'000) {
            QSKIP("this file system does not record access times");
        }
        const auto all = [&source] {
            QStringList found{source.root()};
            QDirIterator walk(source.root(), QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                              QDirIterator::Subdirectories);
            while (walk.hasNext()) {
                found += walk.next();
            }
            return found;
        };
        const QStringList before = all();
        std::for_each(before.begin(), before.end(), age);
        QCOMPARE(survey(source, {"--result", source.result()}).exit_code, 0);
        for (const QString& path : before) {
            QVERIFY2(access_time(path) == 1'000'000, qPrintable(path));
            QCOMPARE(QFileInfo(path).lastModified().toSecsSinceEpoch(), 2'000'000);
        }
        QCOMPARE(all(), before);
    }

    void room_is_measured()
    {
        const evidence_source source;
        source.add_mail("ann", "V9/IMAP-a/1|V9/MailData/3|V9/.hidden|loose");
        source.add_file(library + "Mail/V9/" + identifier + "/2", QByteArray(5000, '2'));
        source.add_link("V9/again", "MailData");
        const QString result = source.result() + "/not/there/yet";
        const QJsonValue room = survey(source, {"--json", "--result", result}).json()["room"];
        QCOMPARE(room["mail_trees"].toInt(), (1 + 2 + 1 + 1) * 4096);
        const auto bytes = [&room](const char* part) { return room[QLatin1String(part)].toInteger(); };
        QCOMPARE(bytes("needed"), bytes("mail_trees") + bytes("kept_files") + bytes("records"));
        QVERIFY(bytes("kept_files") >= 8192 && bytes("records") > 0 && bytes("account_folders") == 0);
        QCOMPARE(room["account_folders_one_by_one"].toInt(), (1 + 2) * 4096);
        QCOMPARE(room["measured_at"].toString(), source.result());
        QVERIFY(room["enough"].toBool());
        QVERIFY(room["entries"].toInt() >= 6 && room["entries"].toInt() < 100);

        QFile huge(mail(source, "V9/huge"));
        QVERIFY(huge.open(QIODevice::WriteOnly));
        if (!huge.resize(room["free"].toInteger() + 1'000'000'000)) {
            QSKIP("this file system takes no sparse file larger than its free room");
        }
        const QByteArray output = survey(source, {"--result", result}).output;
        QVERIFY2(output.contains("NOT ENOUGH ROOM at " + source.result().toUtf8() + "\n  needed "), output);
        const program_result refused = run_program({"run", "--source", source.root(), "--result", result});
        QCOMPARE(refused.exit_code, 1);
        QVERIFY2(refused.errors.contains("/yet: not enough room at ") && refused.errors.count('\n') == 1,
                 refused.errors);
        QVERIFY(QDir(source.result()).isEmpty());
    }

    void what_stands_in_a_directorys_place_is_named_data()
    {
        QTest::addColumn<QString>("place");
        for (const char* place :
             {"Users", "Users/ann/Library", "Users/ann/Library/Mail", "Users/ann/Library/Accounts"}) {
            QTest::newRow(place) << place;
        }
    }

    void what_stands_in_a_directorys_place_is_named()
    {
        QFETCH(QString, place);
        const evidence_source source;
        source.add_mail("ann", "V9/IMAP-a/1");
        QDir(source.root() + place).removeRecursively();
        source.add_file(place);
        const program_result found = survey(source, {});
        QVERIFY2(found.exit_code == 3 && found.errors.contains(place.toUtf8() + ": is no directory: file"),
                 found.errors);
    }

    void links_that_multiply_a_tree_need_more_than_there_is_data()
    {
        QTest::addColumn<QString>("innermost");
        // In 64 bits the room for the records of these 3 * 2^51 files, multiplied out, is negative.
        QTest::newRow("files") << "V9/51/1|V9/51/2|V9/51/3";
        QTest::newRow("directories alone") << "V9/51/";
    }

    void links_that_multiply_a_tree_need_more_than_there_is()
    {
        QFETCH(QString, innermost);
        const evidence_source source;
        source.add_mail("ann", innermost);
        for (int level = 50; level >= 0; --level) {
            source.add_mail("ann", QString("V9/%1/").arg(level));
            for (const char* name : {"a", "b"}) {
                source.add_link(QString("V9/%1/%2").arg(level).arg(name), QString("../%1").arg(level + 1));
            }
        }
        const QJsonValue room = survey(source, {"--json", "--result", source.result()}).json()["room"];
        QVERIFY(!room["enough"].toBool() && room["needed"].toDouble() > 1e17);
    }
};

QTEST_GUILESS_MAIN(tst_survey)
#include "tst_survey.moc"
