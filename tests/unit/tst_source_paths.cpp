#include "support/plugin_helper_functions.h"
#include "support/plugin_static_function.h"
#include "tests/unit/captured_log.h"

#include <QDir>
#include <QTest>

using plugin = plugin_static_function;

namespace {

const QString home = QStringLiteral("macOS_Home_Directory");

QString written(const QTemporaryDir& directory, const QString& name, const QByteArray& content = "x")
{
    const QString path = directory.filePath(name);
    QFile file(path);
    if (!QDir().mkpath(QFileInfo(path).path()) || !file.open(QIODevice::WriteOnly) ||
        file.write(content) != content.size()) {
        qFatal("%s cannot be written", qUtf8Printable(path));
    }
    return path;
}

QByteArray content_of(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : "FAILED: " + file.errorString().toUtf8();
}

QStringList entries_of(const QString& directory)
{
    return QDir(directory).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
}

} // namespace

class tst_source_paths : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { plugin::set_essentials(); }
    void relative_paths();
    void complete_paths();
    void users_of_paths();
    void free_names();
    void copying_a_directory();
    void copying_logs_what_it_cannot_open();
    void removing_a_directory();
    void working_copies();
    void unmatched_entries();
};

void tst_source_paths::relative_paths()
{
    struct path_case
    {
        QString path, root, type, relative;
    };
    for (const auto& [path, root, type, relative] :
         {path_case{"/Volumes/src/Users/ann", "/Volumes/src", home, "/Users/ann"},
          {"/Volumes/src/Users/ann", "/Volumes/src", "macos_home_directory", "/Volumes/src/Users/ann"},
          {"/a/ann/b/ann/c", "ann", home, "/b/ann/c"},
          {"/a/Ann/b", "ann", home, "/a/Ann/b"},
          {"/a/annex", "ann", home, "/ex"},
          {"a/b", "none", "", "/a/b"},
          {"/a/b", "/a/b", home, ""},
          {"/a/ ", "/a/", home, " "},
          {"", "", home, ""}}) {
        QCOMPARE(plugin::get_relative_file_path(path, root, type), relative);
        const auto source_file = plugin::get_final_artifact_source_file(path, root, type);
        QCOMPARE(source_file.final_source_file, relative);
        QCOMPARE(source_file.complete_file_path, type == home ? path : QString());
    }
}

void tst_source_paths::complete_paths()
{
    for (const auto& [path, complete] : {std::pair("/Users/ann/Library", "/Users/bob/Library"),
                                         {"/Users/ann", "/Users/bob/Users/ann"},
                                         {"/Users//Library", "/Users/bob/Library"},
                                         {"/users/ann/x", "/users/ann/x"},
                                         {"Users/ann/x", "/Users/ann/x"},
                                         {" ", " "}}) {
        QCOMPARE(plugin::get_complete_file_path(path, "bob", home), complete);
    }
    QCOMPARE(plugin::get_complete_file_path("/Users/ann/x", "bob", "macOS"), "/Users/ann/x");
}

void tst_source_paths::users_of_paths()
{
    const auto user_of = [](const char* path, const char* root) {
        const auto user = plugin::extract_user_name_from_sourcefile(path, root);
        return user.system_user + '/' + user.domain_user;
    };
    QCOMPARE(user_of("/src/Users/ann/Library", "/src/"), "/");
    struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_source_info source;
    source.system_account_QList = {{"ann", "first"}, {"ann", "second"}, {"", "of the nameless"}};
    plugin::set_source_info(source);
    QCOMPARE(user_of("/src/Users/ann/Library", "/src/Users"), "ann/first");
    QCOMPARE(user_of("/src/Users/bob/Library", "/src/"), "bob/");
    QCOMPARE(user_of("/src/Users/Ann/Library", "/src/"), "Ann/");
    QCOMPARE(user_of("/xyz/Users/ann/Library", "/src/"), "ann/first");
    QCOMPARE(user_of("/src//x", "/src"), "/of the nameless");
    QCOMPARE(user_of("/src", "/src"), "/");
    QCOMPARE(user_of("/", "/longer/than/the/path"), "/");

    QCOMPARE(plugin::get_source_count_name(), "Source-1");
    plugin::set_source_count(12);
    QCOMPARE(plugin::get_source_count_name(), "Source12");
}

void tst_source_paths::free_names()
{
    const QTemporaryDir directory;
    const QString scratch = directory.filePath("new/scratch");
    const auto free_name = [&scratch] { return plugin::get_available_file("/some/where/name.db", scratch, "caller"); };
    QCOMPARE(free_name(), "name.db");
    QVERIFY(QDir(scratch).exists());
    written(directory, "new/scratch/name.db");
    QCOMPARE(free_name(), "1_name.db");
    written(directory, "new/scratch/1_name.db ");
    written(directory, "new/scratch/2_Name.db");
    QCOMPARE(free_name(), "2_name.db");
    QVERIFY(plugin::is_file_exist_in_dir(scratch, " name.db", "caller"));
    plugin::set_cancel_extraction(true);
    QCOMPARE(free_name(), "");
    QVERIFY(!plugin::is_file_exist_in_dir(scratch, "name.db", "caller"));
}

void tst_source_paths::copying_a_directory()
{
    const QTemporaryDir directory;
    QByteArray large(250000, '\0');
    for (qsizetype i = 0; i < large.size(); ++i) {
        large[i] = static_cast<char>(i % 251);
    }
    written(directory, "from/large", large);
    written(directory, "from/sub/deeper/small", "new");
    written(directory, "from/.hidden");
    written(directory, "from/.folder/file");
    written(directory, "to/sub/deeper/small", "much longer than the new one");
    plugin::copy_directory(directory.filePath("from"), directory.filePath("to"));
    QVERIFY(content_of(directory.filePath("to/large")) == large);
    QCOMPARE(content_of(directory.filePath("to/sub/deeper/small")), "new");
    QCOMPARE(entries_of(directory.filePath("to")), QStringList({"large", "sub"}));

    plugin::set_cancel_extraction(true);
    plugin::copy_directory(directory.filePath("from"), directory.filePath("cancelled"));
    QVERIFY(QDir(directory.filePath("cancelled")).exists() && entries_of(directory.filePath("cancelled")).isEmpty());
}

void tst_source_paths::copying_logs_what_it_cannot_open()
{
    const QTemporaryDir directory;
    written(directory, "from/blocked");
    written(directory, "from/other", "copied");
    QVERIFY(QDir().mkpath(directory.filePath("to/blocked")));
    const captured_log log;
    plugin::copy_directory(directory.filePath("missing"), directory.filePath("to"));
    plugin::copy_directory(directory.filePath("from"), directory.filePath("to"));
    const QString operation = "plugin_static_function::copy_directory: [copy_directory] ";
    QFile blocked(directory.filePath("to/blocked"));
    QVERIFY(!blocked.open(QIODevice::WriteOnly));
    QCOMPARE(log.lines(),
             QStringList({operation + "source diectory does not exist ----FAILED---- :" + directory.filePath("missing"),
                          operation + "destination file open ----FAILED---- :" + blocked.fileName(),
                          operation + "Error:" + blocked.errorString()}));
    QCOMPARE(content_of(directory.filePath("to/other")), "copied");
}

void tst_source_paths::removing_a_directory()
{
    const QTemporaryDir directory;
    written(directory, "tmp/sub/.hidden/.file");
    written(directory, "tmp/file");
    const QString outside = written(directory, "outside/file");
    QVERIFY(QFile::link(directory.filePath("outside"), directory.filePath("tmp/sub/link")));
    QVERIFY(QFile::link("nowhere", directory.filePath("tmp/dangling")));
    plugin::remove_directory(directory.filePath("tmp"));
    plugin::remove_directory(directory.filePath("tmp"));
    QCOMPARE(entries_of(directory.path()), QStringList("outside"));
    QCOMPARE(content_of(outside), "x");
    // An unset scratch directory must not mean the one the host was started in.
    const QString before = QDir::currentPath();
    QVERIFY(QDir::setCurrent(directory.path()));
    plugin::remove_directory({});
    QVERIFY(QDir::setCurrent(before));
    QCOMPARE(content_of(outside), "x");
}

void tst_source_paths::working_copies()
{
    const QTemporaryDir directory;
    const QString store = written(directory, "source/Accounts4.sqlite", "database");
    written(directory, "source/Accounts4.sqlite-wal", "log");
    const QString scratch = directory.filePath("scratch/");
    plugin_helper_functions helper(nullptr);
    helper.set_adhoc_parent_path(scratch);
    QCOMPARE(helper.get_adhoc_path_for_database(" "), "");
    QCOMPARE(helper.get_adhoc_path_for_regular_file(""), "");
    QVERIFY(!QDir(scratch).exists());

    QCOMPARE(helper.get_adhoc_path_for_database(store), scratch + "Accounts4.sqlite");
    QCOMPARE(helper.get_adhoc_path_for_regular_file(store), scratch + "1_Accounts4.sqlite");
    QCOMPARE(entries_of(scratch), QStringList({"1_Accounts4.sqlite", "Accounts4.sqlite", "Accounts4.sqlite-wal"}));
    written(directory, "source/Accounts4.sqlite-shm", "index");
    QCOMPARE(helper.get_adhoc_path_for_database(store), scratch + "2_Accounts4.sqlite");
    QCOMPARE(content_of(scratch + "Accounts4.sqlite") + content_of(scratch + "2_Accounts4.sqlite-wal") +
                 content_of(scratch + "2_Accounts4.sqlite-shm"),
             "databaselogindex");
    QCOMPARE(helper.get_adhoc_path_for_database(directory.filePath("source/missing")), scratch + "missing");
    QVERIFY(!QFile::exists(scratch + "missing"));

    plugin::set_cancel_extraction(true);
    QCOMPARE(helper.get_adhoc_path_for_database(store), scratch);
}

void tst_source_paths::unmatched_entries()
{
    const QStringList parent{"b", "a", "b", "A"};
    QCOMPARE(plugin::get_unmatched_varible_list_of_parentlist(parent, {"a"}), QStringList({"b", "b", "A"}));
    QCOMPARE(plugin::get_unmatched_varible_list_of_parentlist({}, {"a"}), QStringList());
    plugin::set_cancel_extraction(true);
    QCOMPARE(plugin::get_unmatched_varible_list_of_parentlist(parent, {}), QStringList());
}

QTEST_MAIN(tst_source_paths)
#include "tst_source_paths.moc"
