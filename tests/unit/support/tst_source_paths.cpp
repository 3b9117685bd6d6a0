#include "support/plugin_helper_functions.h"
#include "support/plugin_static_function.h"
#include "tests/common/captured_log.h"

#include <QTest>

#include <sys/stat.h>

using plugin = plugin_static_function;

namespace {

const QString home = QStringLiteral("macOS_Home_Directory");

QString entries_of(const QString& directory)
{
    const auto everything = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
    return QDir(directory).entryList(everything, QDir::Name).join(' ');
}

} // namespace

class tst_source_paths : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { plugin::set_essentials(); }
    void relative_paths()
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
              {"/a/ ", "/a/", home, " "}}) {
            const auto source_file = plugin::get_final_artifact_source_file(path, root, type);
            QCOMPARE(source_file.final_source_file, relative);
            QCOMPARE(source_file.complete_file_path, type == home ? path : QString());
        }
    }

    void complete_paths()
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

    void users_of_paths()
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
        QCOMPARE(user_of("/src/Users/Ann/Library", "/src/"), "Ann/");
        QCOMPARE(user_of("/src//x", "/src"), "/of the nameless");
        QCOMPARE(user_of("/src", "/src"), "/");
        QCOMPARE(user_of("/", "/longer/than/the/path"), "/");
    }

    void copying_a_directory()
    {
        const QTemporaryDir directory;
        const QString from = directory.filePath("from");
        const QString to = directory.filePath("to");
        QByteArray large(250000, '\0');
        for (qsizetype i = 0; i < large.size(); ++i) {
            large[i] = static_cast<char>(i % 251);
        }
        write_file(from + "/large", large);
        write_file(from + "/sub/deeper/small", "new");
        write_file(from + "/blocked");
        write_file(from + "/pipe");
        write_file(from + "/.hidden");
        write_file(from + "/.folder/file");
        write_file(to + "/sub/deeper/small", "much longer than the new one");
        QVERIFY(QDir().mkpath(to + "/blocked"));
        QCOMPARE(::mkfifo(qPrintable(to + "/pipe"), 0600), 0);
        const captured_log log;
        plugin::copy_directory(directory.filePath("missing"), to);
        plugin::copy_directory(from, to);
        QVERIFY(content_of(to + "/large") == large);
        QCOMPARE(content_of(to + "/sub/deeper/small"), "new");
        QCOMPARE(entries_of(to), "blocked large pipe sub");
        const QString operation = "plugin_static_function::copy_directory: [copy_directory] ";
        QFile blocked(to + "/blocked");
        QVERIFY(!blocked.open(QIODevice::WriteOnly));
        const QString failed = operation + "destination file open ----FAILED---- :";
        QStringList lines = log.lines();
        QCOMPARE(lines.takeFirst(),
                 operation + "source diectory does not exist ----FAILED---- :" + directory.filePath("missing"));
        // The file system's own order decides which comes first.
        if (lines.first().endsWith("pipe")) {
            lines.swapItemsAt(0, 2);
            lines.swapItemsAt(1, 3);
        }
        QCOMPARE(lines, QStringList({failed + blocked.fileName(), operation + "Error:" + blocked.errorString(),
                                     failed + to + "/pipe", operation + "Error:neither file nor folder"}));

        plugin::set_cancel_extraction(true);
        plugin::copy_directory(from, directory.filePath("cancelled"));
        QVERIFY(QDir(directory.filePath("cancelled")).exists());
        QCOMPARE(entries_of(directory.filePath("cancelled")), "");
    }

    void removing_a_directory()
    {
        const QTemporaryDir directory;
        write_file(directory.filePath("tmp/sub/.hidden/.file"));
        write_file(directory.filePath("tmp/file"));
        const QString outside = write_file(directory.filePath("outside/file"));
        QVERIFY(QFile::link(directory.filePath("outside"), directory.filePath("tmp/sub/link")));
        QVERIFY(QFile::link("nowhere", directory.filePath("tmp/dangling")));
        plugin::remove_directory(directory.filePath("tmp"));
        plugin::remove_directory(directory.filePath("tmp"));
        // An unset scratch directory must not mean the one the host was started in.
        const QString before = QDir::currentPath();
        QVERIFY(QDir::setCurrent(directory.path()));
        plugin::remove_directory({});
        QVERIFY(QDir::setCurrent(before));
        QCOMPARE(entries_of(directory.path()), "outside");
        QCOMPARE(content_of(outside), "x");
    }

    void working_copies()
    {
        const QTemporaryDir directory;
        const QString store = write_file(directory.filePath("source/Accounts4.sqlite"), "database");
        write_file(store + "-wal", "log");
        const QString scratch = directory.filePath("new/scratch/");
        plugin_helper_functions helper(nullptr);
        helper.set_adhoc_parent_path(scratch);
        QCOMPARE(helper.get_adhoc_path_for_database(" "), "");
        QCOMPARE(helper.get_adhoc_path_for_regular_file(""), "");
        QVERIFY(!QDir(scratch).exists());

        QCOMPARE(helper.get_adhoc_path_for_database(store), scratch + "Accounts4.sqlite");
        QCOMPARE(helper.get_adhoc_path_for_regular_file(store), scratch + "1_Accounts4.sqlite");
        QCOMPARE(entries_of(scratch), "1_Accounts4.sqlite Accounts4.sqlite Accounts4.sqlite-wal");
        write_file(store + "-shm", "index");
        QCOMPARE(helper.get_adhoc_path_for_database(store), scratch + "2_Accounts4.sqlite");
        QCOMPARE(content_of(scratch + "Accounts4.sqlite") + content_of(scratch + "2_Accounts4.sqlite-wal") +
                     content_of(scratch + "2_Accounts4.sqlite-shm"),
                 "databaselogindex");
        QCOMPARE(helper.get_adhoc_path_for_database(directory.filePath("source/missing")), scratch + "missing");
        QVERIFY(!QFile::exists(scratch + "missing"));

        // Names are compared by case, and trimmed.
        write_file(scratch + "3_accounts4.sqlite");
        QCOMPARE(plugin::get_available_file(store, scratch, "caller"), "3_Accounts4.sqlite");
        write_file(scratch + "3_Accounts4.sqlite ");
        QCOMPARE(plugin::get_available_file(store, scratch, "caller"), "4_Accounts4.sqlite");
        QVERIFY(plugin::is_file_exist_in_dir(scratch, " Accounts4.sqlite", "caller"));
        // Whatever bears a name takes it.
        write_file(scratch + ".name");
        QCOMPARE(plugin::get_available_file(".name", scratch, "caller"), "1_.name");
        QCOMPARE(::mkfifo(qPrintable(scratch + "1_.name"), 0600), 0);
        QVERIFY(QFile::link("nowhere", scratch + "2_.name"));
        QCOMPARE(plugin::get_available_file(".name", scratch, "caller"), "3_.name");

        plugin::set_cancel_extraction(true);
        QCOMPARE(helper.get_adhoc_path_for_database(store), scratch);
        QVERIFY(!plugin::is_file_exist_in_dir(scratch, "Accounts4.sqlite", "caller"));
    }

    void working_copies_stand_alone()
    {
        const QTemporaryDir directory;
        const QString scratch = directory.filePath("scratch/");
        plugin_helper_functions helper(nullptr);
        helper.set_adhoc_parent_path(scratch);

        // What lies in the place of a companion belongs to another file.
        const QString store = write_file(directory.filePath("store"), "database");
        for (const char* foreign : {"store-wal", "store-shm", "store-journal"}) {
            write_file(scratch + foreign, "foreign");
        }
        // Whoever opens a pipe waits for ever.
        QCOMPARE(::mkfifo(qPrintable(store + "-wal"), 0600), 0);
        QCOMPARE(helper.get_adhoc_path_for_database(store), scratch + "store");
        QCOMPARE(entries_of(scratch), "store");

        const QString pipe = directory.filePath("pipe");
        QCOMPARE(::mkfifo(qPrintable(pipe), 0600), 0);
        write_file(pipe + "-wal", "log of what was not copied");
        QCOMPARE(helper.get_adhoc_path_for_database(pipe), scratch + "pipe");
        QCOMPARE(helper.get_adhoc_path_for_regular_file(pipe), scratch + "pipe");
        QCOMPARE(entries_of(scratch), "store");
    }

    void unmatched_entries()
    {
        const QStringList parent{"b", "a", "b", "A"};
        QCOMPARE(plugin::get_unmatched_varible_list_of_parentlist(parent, {"a"}), QStringList({"b", "b", "A"}));
        plugin::set_cancel_extraction(true);
        QCOMPARE(plugin::get_unmatched_varible_list_of_parentlist(parent, {}), QStringList());
    }
};

QTEST_MAIN(tst_source_paths)
#include "tst_source_paths.moc"
