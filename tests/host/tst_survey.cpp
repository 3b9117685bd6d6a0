#include "host/link_guard.h"
#include "host/room_guard.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr const char* identifier = "6F9619FF-8B86-D011-B42D-00CF4FC964FF";

/// A source of its own for each test.
class source_tree_on_disk
{
public:
    source_tree_on_disk() { QDir().mkpath(path()); }

    QString path(const QString& relative = {}) const { return folder.filePath("source/" + relative); }
    QString mail(const QString& relative = {}) const { return path("Users/ann/Library/Mail/" + relative); }

    void write(const QString& file, const QByteArray& bytes) const
    {
        QDir().mkpath(QFileInfo(file).path());
        QFile out(file);
        QVERIFY2(out.open(QIODevice::WriteOnly), qPrintable(file));
        out.write(bytes);
    }
    void link(const QString& file, const QString& target) const
    {
        QDir().mkpath(QFileInfo(file).path());
        QCOMPARE(::symlink(qPrintable(target), qPrintable(file)), 0);
    }

    QTemporaryDir folder;
};

struct program_result
{
    int exit_code = -1;
    QByteArray output;
    QByteArray errors;
    QJsonObject json() const { return QJsonDocument::fromJson(output).object(); }
};

program_result survey(const QStringList& arguments, bool as_nobody = false)
{
    QProcess program;
    if (as_nobody)
        program.setChildProcessModifier([] {
            if (::setgroups(0, nullptr) != 0 || ::setgid(65534) != 0 || ::setuid(65534) != 0)
                ::_exit(126);
        });
    program.start(MAIL_EXTRACT_PROGRAM, QStringList{"survey"} + arguments);
    if (!program.waitForFinished(20'000))
        return {};
    return {program.exitCode(), program.readAllStandardOutput(), program.readAllStandardError()};
}

QStringList column(const QJsonValue& rows, const QString& key)
{
    QStringList values;
    for (const QJsonValue& row : rows.toArray())
        values += row[key].toVariant().toString();
    return values;
}

QByteArray xml_list(const QByteArray& version)
{
    return "<plist><dict><key>LastUsedVersionDirectoryName</key><string>" + version + "</string></dict></plist>";
}

timespec access_time(const QString& path)
{
    struct stat status = {};
    ::lstat(qPrintable(path), &status);
#ifdef Q_OS_MACOS
    return status.st_atimespec;
#else
    return status.st_atim;
#endif
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
    void everything_is_counted();
    void the_live_version_is_read_or_its_absence_said_data();
    void the_live_version_is_read_or_its_absence_said();
    void links_are_judged_as_a_copy_follows_them_data();
    void links_are_judged_as_a_copy_follows_them();
    void what_cannot_be_taken_is_named();
    void unreadable_entries_are_named();
    void a_page_fits_one_screen();
    void nothing_in_the_source_changes();
    void room_is_measured();
    void failures_have_exit_codes_data();
    void failures_have_exit_codes();
};

void tst_survey::everything_is_counted()
{
    const source_tree_on_disk source;
    for (const QString folder : {identifier, "IMAP-a@imap.b.c", "POP-a@pop3.b.c", "MailData"})
        source.write(source.mail("V9/" + folder + "/deep/1.emlx"), QByteArray(10, 'x'));
    source.write(source.mail("V9/IMAP-a@imap.b.c/.mboxCache.plist"), "1234567");
    source.write(source.mail("V9/.hidden/visible name"), "12");
    source.write(source.mail("V10/loose in version"), "123");
    source.write(source.mail("Bundles/b"), "1");
    source.write(source.mail("loose"), "12345");
    source.write(source.mail(".DS_Store"), "1");
    const QString store = source.path("Users/ann/Library/Accounts/Accounts4.sqlite");
    source.write(store, QByteArray(100, 's'));
    source.write(store + "-wal", QByteArray(50, 'w'));
    for (const QString directory : {"Users/bob/Documents", "Users/Shared/Library/Mail", "Users/.gone/Library/Mail"})
        QDir().mkpath(source.path(directory));

    const program_result result = survey({"--source", source.path(), "--json"});
    QCOMPARE(result.exit_code, 0);
    const QJsonArray users = result.json()["users"].toArray();
    QCOMPARE(column(users, "name"), QStringList({"ann", "bob"}));
    QVERIFY(!users[1]["has_mail_directory"].toBool());

    const QJsonValue ann = users[0];
    const QJsonArray folders = ann["mail_folders"].toArray();
    QCOMPARE(column(folders, "name"), QStringList({"V9", "V10", "Bundles"}));
    const auto amounts = [](const QJsonValue& of) { return std::pair(of["files"].toInt(), of["bytes"].toInt()); };
    QCOMPARE(amounts(folders[0]["visible"]), std::pair(4, 40));
    QCOMPARE(amounts(folders[0]["hidden"]), std::pair(2, 9));
    QCOMPARE(amounts(folders[1]["visible"]), std::pair(1, 3));
    QCOMPARE(amounts(ann["hidden"]), std::pair(3, 10));
    QCOMPARE(amounts(ann["loose"]), std::pair(1, 5));
    QCOMPARE(column(folders[0]["folders"], "naming"), QStringList({"identifier", "imap", "other", "pop"}));
    QCOMPARE(amounts(folders[0]["folders"][1]["visible"]), std::pair(1, 10));

    const QJsonValue found_store = ann["account_stores"][0];
    QCOMPARE(found_store["bytes"].toInt(), 100);
    QCOMPARE(found_store["wal_bytes"].toInt(), 50);
    QVERIFY(found_store["shm_bytes"].isNull());
}

void tst_survey::the_live_version_is_read_or_its_absence_said_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("shown");
    QTest::newRow("xml") << xml_list("V9") << "ann   V9 ";
    QTest::newRow("binary") << QByteArray::fromBase64("YnBsaXN0MDDRAQJfEBxMYXN0VXNlZFZlcnNpb25EaXJlY3RvcnlOYW1lUlY5"
                                                      "CAsqAAAAAAAAAQEAAAAAAAAAAwAAAAAAAAAAAAAAAAAAAC0=")
                            << "ann   V9 ";
    QTest::newRow("of another version") << xml_list("V8") << "V8, which is not there";
    QTest::newRow("absent") << QByteArray() << "unknown: there is none";
    QTest::newRow("damaged") << QByteArray("bplist00 and no more") << "unknown: the property list is damaged";
}

void tst_survey::the_live_version_is_read_or_its_absence_said()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, shown);
    const source_tree_on_disk source;
    source.write(source.mail("V9/1"), "1");
    if (!content.isEmpty())
        source.write(source.mail("PersistenceInfo.plist"), content);
    const program_result result = survey({"--source", source.path()});
    QVERIFY2(result.output.contains(shown.toUtf8()), result.output.constData());
    QCOMPARE(result.output.contains("V9 (live)"), shown.contains("ann   V9 "));
}

void tst_survey::links_are_judged_as_a_copy_follows_them_data()
{
    QTest::addColumn<QStringList>("links"); // below Users/ann/Library: name, target, name, target ...
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

void tst_survey::links_are_judged_as_a_copy_follows_them()
{
    QFETCH(QStringList, links);
    QFETCH(QStringList, problems);
    const source_tree_on_disk source;
    const QString library = source.path("Users/ann/Library/");
    for (qsizetype index = 0; index < links.size(); index += 2)
        source.link(library + links[index], links[index + 1]);

    const program_result result = survey({"--source", source.path(), "--json"});
    QStringList found;
    for (const QJsonValue& problem : result.json()["link_problems"].toArray())
        found +=
            problem["path"].toString().mid(qsizetype(qstrlen("Users/ann/Library/"))) + ' ' + problem["kind"].toString();
    QCOMPARE(found, problems);
    // The guard of a run sees the same and names where the link leads.
    const auto guarded =
        find_link_problems(QFile::encodeName(source.path()), {QFile::encodeName(source.mail()).chopped(1)});
    QCOMPARE(qsizetype(guarded.size()), problems.size());
    for (const link_problem& problem : guarded)
        QVERIFY2(QFileInfo::exists(QFile::decodeName(problem.target)), qPrintable(link_problem_text(problem)));
}

void tst_survey::what_cannot_be_taken_is_named()
{
    const source_tree_on_disk source;
    source.write(source.mail("V9/a\nb\033[31m"), "1");
    source.link(source.mail("V9/nowhere"), "/private/gone");
    QCOMPARE(::mkfifo(qPrintable(source.mail("V9/pipe")), 0600), 0);
    const QByteArray odd_name = QFile::encodeName(source.mail("V9/")) + "caf\xE9";
    const int odd_file = ::open(odd_name.constData(), O_CREAT | O_WRONLY, 0600);
    if (odd_file >= 0)
        ::close(odd_file);

    const program_result result = survey({"--source", source.path()});
    ::unlink(odd_name.constData()); // the temporary folder cannot remove what it cannot name
    QCOMPARE(result.exit_code, 0);
    QVERIFY2(result.output.contains("V9/pipe: named pipe\n"), result.output.constData());
    QVERIFY(result.output.contains("V9/nowhere: -> /private/gone: No such file"));
    QVERIFY(!result.output.contains('\033'));
    QCOMPARE(result.output.contains("V9/caf\\xe9: the name is not UTF-8\n"), odd_file >= 0);
}

void tst_survey::unreadable_entries_are_named()
{
    const source_tree_on_disk source;
    source.write(source.mail("V9/closed file"), "1");
    source.write(source.mail("V9/closed directory/1"), "1");
    QFile::setPermissions(source.folder.path(), QFileDevice::Permissions(0x7755));
    ::chmod(qPrintable(source.mail("V9/closed file")), 0);
    ::chmod(qPrintable(source.mail("V9/closed directory")), 0);

    const bool is_root = ::geteuid() == 0;
    const program_result result = survey({"--source", source.path(), "--json"}, is_root);
    ::chmod(qPrintable(source.mail("V9/closed directory")), 0700);
    if (is_root && result.exit_code != 0)
        QSKIP("the program cannot be started without the superuser's privileges here");
    QCOMPARE(column(result.json()["unreadable"], "path"),
             QStringList({"Users/ann/Library/Mail/V9/closed directory", "Users/ann/Library/Mail/V9/closed file"}));
    QCOMPARE(result.json()["unreadable"][0]["reason"].toString(), "Permission denied");
}

void tst_survey::a_page_fits_one_screen()
{
    const source_tree_on_disk source;
    const QString long_name = QString(200, 'n');
    for (const QString user : {"ann", "bob", "cyd", "dan"}) {
        const QString library = source.path("Users/" + user + "/Library/");
        for (const QString version : {"V8", "V9", "V10"})
            source.write(library + "Mail/" + version + "/IMAP-" + long_name + "/1", "1");
        for (int number = 0; number < 10; ++number)
            source.link(library + "Mail/V9/" + long_name + QString::number(number), "/");
        source.write(library + "Accounts/Accounts4.sqlite", "1");
    }
    const program_result result = survey({"--source", source.path(), "--result", source.path("../result")});
    const QStringList lines = QString::fromUtf8(result.output).split('\n');
    QVERIFY2(lines.size() <= 40, qPrintable(QString::number(lines.size())));
    for (const QString& line : lines)
        QVERIFY2(line.size() <= 100, qPrintable(line));
    QVERIFY(result.output.contains("... and 35 more (all with --json)"));
}

void tst_survey::nothing_in_the_source_changes()
{
    const source_tree_on_disk source;
    source.write(source.mail("PersistenceInfo.plist"), xml_list("V9"));
    source.write(source.mail("V9/IMAP-a/1.emlx"), "1");
    source.write(source.path("Users/ann/Library/Accounts/Accounts4.sqlite"), "SQLite format 3");
    const QString probe = source.folder.filePath("probe");
    source.write(probe, "1");
    age(probe);
    QFile probe_file(probe);
    QVERIFY(probe_file.open(QIODevice::ReadOnly) && probe_file.readAll().size() == 1);
    if (access_time(probe).tv_sec == 1'000'000)
        QSKIP("this file system does not record access times");

    QStringList paths{source.path()};
    const auto all_below = [&] {
        QStringList found;
        QDirIterator walk(source.path(), QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                          QDirIterator::Subdirectories);
        while (walk.hasNext())
            found += walk.next();
        return found;
    };
    const QStringList before = all_below();
    paths += before;
    for (const QString& path : paths)
        age(path);
    QCOMPARE(survey({"--source", source.path(), "--result", source.folder.filePath("result")}).exit_code, 0);
    for (const QString& path : paths) {
        QVERIFY2(access_time(path).tv_sec == 1'000'000, qPrintable(path));
        QCOMPARE(QFileInfo(path).lastModified().toSecsSinceEpoch(), 2'000'000);
    }
    QCOMPARE(all_below(), before);
}

void tst_survey::room_is_measured()
{
    const source_tree_on_disk source;
    source.write(source.mail("V9/IMAP-a/1"), "1");
    source.write(source.mail("V9/%1/2").arg(identifier), QByteArray(5000, '2'));
    source.write(source.mail("V9/MailData/3"), "3");
    source.write(source.mail("V9/.hidden"), "4");
    source.write(source.mail("loose"), "5");
    source.link(source.mail("V9/again"), "MailData");
    const QString result = source.folder.filePath("not/there/yet");
    const auto room =
        estimate_room(QFile::encodeName(source.path()), {QFile::encodeName(source.mail()).chopped(1)}, result);
    QCOMPARE(room.mail_trees, (1 + 2 + 1 + 1) * 4096);
    QCOMPARE(room.account_folders, (1 + 2) * 4096);
    QCOMPARE(room.measured_at, source.folder.path());
    QVERIFY(room.is_enough());

    QFile huge(source.mail("V9/huge"));
    QVERIFY(huge.open(QIODevice::WriteOnly));
    if (!huge.resize(room.free + 1'000'000'000))
        QSKIP("this file system takes no sparse file larger than its free room");
    const program_result surveyed = survey({"--source", source.path(), "--result", result});
    QVERIFY2(surveyed.output.contains("NOT ENOUGH ROOM at " + source.folder.path().toUtf8() + "\n  needed "),
             surveyed.output.constData());
}

void tst_survey::failures_have_exit_codes_data()
{
    QTest::addColumn<QString>("below"); // the source given, below a directory that holds a file and an empty directory
    QTest::addColumn<int>("code");
    QTest::newRow("absent") << "absent" << 1;
    QTest::newRow("a file") << "file" << 1;
    QTest::newRow("no Mail directory") << "empty" << 4;
}

void tst_survey::failures_have_exit_codes()
{
    QFETCH(QString, below);
    const source_tree_on_disk source;
    source.write(source.path("file"), "1");
    QDir().mkpath(source.path("empty"));
    const program_result result = survey({"--source", source.path(below)});
    QTEST(result.exit_code, "code");
    QCOMPARE(result.errors.count('\n'), 1);
    QVERIFY2(result.errors.contains(source.path(below).toUtf8()), result.errors.constData());
}

QTEST_GUILESS_MAIN(tst_survey)
#include "tst_survey.moc"
