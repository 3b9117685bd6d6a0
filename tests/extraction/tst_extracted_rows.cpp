#include "tests/common/driven_plugin.h"
#include "tests/common/evidence_source.h"
#include "tests/common/files.h"

#include <QMap>
#include <QTest>

#include <filesystem>

#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

const QString copy_today = QStringLiteral("/Artifacts_Result/Apple_Mail_Extractor/Apple_Mail_Extractor_%1_DATE/");

/// A row as the account store gives it; `folder` lies below the Mail directory, `store` below "Users".
QString store_row(const QString& user, const QString& account, int files, const QString& folder,
                  const QString& store = "%1/Library/Accounts/Accounts4.sqlite")
{
    return QString("%1|%2||%3|/Users/%1/Library/Mail/%4;++::++;/Users/" + store + "||" + copy_today +
                   "%5|macOS 14|Source7")
        .arg(user, account, QString::number(files), folder.section('/', 0, 0), folder);
}

/// A row as the name of a Mail folder gives it.
QString folder_row(const QString& user, const QString& account, const QString& type, int files, const QString& folder)
{
    return QString("%1|%2|%3|%4|/Users/%1/Library/Mail/%5||" + copy_today + "%5|NULL|Source7")
        .arg(user, account, type, QString::number(files), folder);
}

struct scenario
{
    const char* name;
    run_settings settings;
    void (*build)(const evidence_source&);
    QStringList rows;
};

const QString bob_store = QStringLiteral("bob/Library/Accounts/Accounts3.sqlite");
// One letter and its accent, as one character and as two: two different names to most file systems.
const QString composed = QString::fromUtf8("J\u00FCrg \"O'Neil\"");
const QString decomposed = QString::fromUtf8("Ju\u0308rg");
const QString odd_folder = QString::fromUtf8("IMAP-m\n\u00FC@host");

void build_many_versions(const evidence_source& source)
{
    source.add_mail("ann", "V10/ID-10/1|V9/ID-9/1|V8/ID-8/1|V7/ID-7/1|V6/ID-6/1|V2/IMAP-old@host/1");
    source.add_store("ann", "1:ID-9::nine|2:ID-8::eight|3:ID-7::seven|4:ID-6::six|5:ID-10::ten");
    source.add_store("ann", "1:ID-9::superseded", {}, "Accounts3.sqlite");
}

const QStringList rows_of_many_versions{store_row("ann", "nine", 1, "V9/ID-9"), store_row("ann", "eight", 1, "V8/ID-8"),
                                        store_row("ann", "seven", 1, "V7/ID-7"),
                                        folder_row("ann", "old@host", "IMAP", 1, "V2/IMAP-old@host")};

const scenario scenarios[] = {
    {"V9 and V8, of the older ones the newest", {{"ann"}}, build_many_versions, rows_of_many_versions},
    {"additional versions, where they exist",
     {.users = {"ann"}, .additional_mail_versions = {"V11", "V10"}},
     build_many_versions,
     rows_of_many_versions + QStringList(store_row("ann", "ten", 1, "V10/ID-10"))},
    // ann's V8 meets bob's store; bob's V3 has no store at its position and takes his own.
    {"versions and stores pair by position",
     {{"ann", "cid", "nobody", "bob"}},
     [](const evidence_source& source) {
         source.add_mail("ann", "V9/ID-A/1|V9/ID-B/1|V8/ID-A/1|V8/ID-B/1");
         source.add_store("ann", "1:ID-A::ann@host");
         source.add_mail("bob", "V3/ID-B/1|V3/ID-B/2");
         source.add_store("bob", "1:ID-B::bob@host", {}, "Accounts3.sqlite");
         source.add_mail("cid", "Signatures/1");
     },
     {store_row("ann", "ann@host", 1, "V9/ID-A"), store_row("ann", "bob@host", 1, "V8/ID-B", bob_store),
      store_row("bob", "bob@host", 2, "V3/ID-B", bob_store)}},
    {"a child is named by its parent",
     {{"ann"}},
     [](const evidence_source& source) {
         source.add_mail("ann", "V9/ID-CHILD/1|V9/ID-NAMED/1|V9/ID-ORPHAN/1|V9/ID-BLANK/1|V9/ID-PARENT/1");
         source.add_store("ann", "1:ID-PARENT::parent|2:ID-CHILD:1:|3:ID-NAMED:1:child|4:ID-ORPHAN:99:x|5:ID-BLANK::");
     },
     {store_row("ann", "parent", 1, "V9/ID-PARENT"), store_row("ann", "parent", 1, "V9/ID-CHILD"),
      store_row("ann", "parent", 1, "V9/ID-NAMED")}},
    {"accounts that live in the write-ahead log alone",
     {{"ann"}},
     [](const evidence_source& source) {
         source.add_mail("ann", "V9/ID-MAIN/|V9/ID-LOG/1");
         source.add_store("ann", "1:ID-MAIN::main", "2:ID-LOG::log");
     },
     {store_row("ann", "main", 0, "V9/ID-MAIN"), store_row("ann", "log", 1, "V9/ID-LOG")}},
    // "b@host" is looked up under that name and found by an identifier that ends the folder's own name.
    {"older folder names, nested folders, files named like folders",
     {{"ann"}},
     [](const evidence_source& source) {
         source.add_mail("ann", "V9/IMAP-a@imap.host/Sub/POP-p@pop3.live.com/1|V9/IMAP-a@imap.host/2|V9/IMAP-b@host/1|"
                                "V9/IMAP-x@file|V9/ID-FILE|V9/POP-q@pop3.host/|V9/POPular/1|V9/imap-lower@host/1|"
                                "IMAP-IMAP-top@host/1");
         source.add_store("ann", "1:b@host::b@host|2:ID-FILE::x@file");
     },
     {store_row("ann", "b@host", 1, "V9/IMAP-b@host"), folder_row("ann", "a@host", "IMAP", 2, "V9/IMAP-a@imap.host"),
      folder_row("ann", "p", "POP", 1, "V9/IMAP-a@imap.host/Sub/POP-p@pop3.live.com"),
      folder_row("ann", "b@host", "IMAP", 1, "V9/IMAP-b@host"),
      folder_row("ann", "q@pop3.host", "POP", 0, "V9/POP-q@pop3.host"),
      folder_row("ann", "POPular", "POP", 1, "V9/POPular"),
      folder_row("ann", "top@host", "IMAP", 1, "IMAP-IMAP-top@host")}},
    {"users and folders with quotes, umlauts, newlines and blanks",
     {{composed, decomposed, "line\nbreak", "%1 %s"}},
     [](const evidence_source& source) {
         source.add_mail(composed, "V9/ID-A/1|V8/" + odd_folder + "/1");
         source.add_store(composed, "1:ID-A::" + decomposed);
         source.add_mail(decomposed, "V2/IMAP-\"q'@host/1");
         source.add_mail("line\nbreak", "V2/POP-a@b/");
         source.add_mail("%1 %s", "V2/IMAP-%2@h/1");
     },
     {store_row(composed, decomposed, 1, "V9/ID-A"),
      folder_row(composed, odd_folder.mid(5), "IMAP", 1, "V8/" + odd_folder),
      folder_row(decomposed, "\"q'@host", "IMAP", 1, "V2/IMAP-\"q'@host"),
      folder_row("line\nbreak", "a@b", "POP", 0, "V2/POP-a@b"),
      folder_row("%1 %s", "%2@h", "IMAP", 1, "V2/IMAP-%2@h")}},
    {"hidden entries, links and dangling links",
     {{"ann"}},
     [](const evidence_source& source) {
         const QString inner = source.add_file("Elsewhere/IMAP-inner@host/1");
         source.add_mail("ann", "V9/ID-A/1|V9/ID-A/.hidden|V9/ID-A/.mboxCache/1|V9/.IMAP-hidden@host/1|"
                                ".Hidden/IMAP-below@host/1|loose.plist");
         source.add_link("V9/ID-A/linked", inner);
         source.add_link("V9/ID-A/dangling", "nowhere");
         ::mkfifo(qPrintable(source.root() + "Users/ann/Library/Mail/V9/ID-A/pipe"), 0600);
         source.add_link("V9/ID-A/link to pipe", "pipe"); // opening it would wait for ever
         source.add_link("V9/linked", source.root() + "Elsewhere");
         source.add_link("V9/IMAP-link@host", source.root() + "Elsewhere");
         source.add_link("V9/IMAP-dangling@host", "nowhere");
         source.add_store("ann", "1:ID-A::ann@host");
     },
     {store_row("ann", "ann@host", 2, "V9/ID-A"), folder_row("ann", "link@host", "IMAP", 1, "V9/IMAP-link@host")}},
    {"a user listed twice, an empty user, a file named like a version",
     {{"ann", "", "ann"}},
     [](const evidence_source& source) {
         source.add_mail("ann", "V9|V8/IMAP-a@host/1");
         source.add_store("ann", "1:V9::ann@host");
     },
     {folder_row("ann", "a@host", "IMAP", 1, "V8/IMAP-a@host")}},
};

/// The visible files below the folders of a directory, links followed, with their content.
QMap<QString, QByteArray> files_of_folders(const QString& directory)
{
    QMap<QString, QByteArray> files;
    std::error_code none;
    fs::recursive_directory_iterator entry(directory.toStdString(), fs::directory_options::follow_directory_symlink,
                                           none);
    for (; entry != fs::recursive_directory_iterator(); ++entry) {
        if (entry->path().filename().string().front() == '.') {
            entry.disable_recursion_pending();
        } else if (entry.depth() > 0 && entry->is_regular_file(none)) {
            const QString path = QString::fromStdString(entry->path().string());
            files.insert(path.mid(directory.size()), content_of(path));
        }
    }
    return files;
}

} // namespace

class tst_extracted_rows : public QObject
{
    Q_OBJECT

private slots:
    void rows_and_copies_data()
    {
        QTest::addColumn<const scenario*>("given");
        for (const scenario& given : scenarios) {
            QTest::newRow(given.name) << &given;
        }
    }

    void rows_and_copies()
    {
        QFETCH(const scenario*, given);
        const evidence_source source;
        given->build(source);
        driven_plugin plugin(source, given->settings);
        plugin.run();

        QStringList expected = given->rows;
        expected.sort();
        QCOMPARE(plugin.rows(), expected);
        for (const QString& user : given->settings.users) {
            const QString mail = source.root() + "Users/" + user + "/Library/Mail";
            QCOMPARE(QDir(plugin.mail_copy(user)).exists(), !user.isEmpty() && QDir(mail).exists());
            QCOMPARE(files_of_folders(plugin.mail_copy(user)), files_of_folders(mail));
            QVERIFY(QDir(plugin.mail_copy(user)).entryList(QDir::Files | QDir::Hidden).isEmpty());
        }
        QVERIFY(!QDir(plugin.plugin_directory + "tmp").exists());
        const QString records = QString("records %1").arg(expected.size());
        QCOMPARE(plugin.events.first(), "records 0");
        QCOMPARE(plugin.events.last(4), QStringList({records, "tabs 1", records, records}));
    }

    void home_directory_sources_record_two_paths()
    {
        // The path is cut behind the first place where the user's name occurs, inside "Users" too.
        for (const auto& [user, cut] : {std::pair("ann", ""), std::pair("ser", "/s/ser")}) {
            const evidence_source source;
            source.add_mail(user, "V9/ID-A/1|V9/IMAP-a@host/1");
            source.add_store(user, "1:ID-A::a");
            driven_plugin plugin(source, {.users = {user}, .source_type = "macOS_Home_Directory"});
            plugin.run();
            const QString store_paths("%1/Library/Mail/V9;++::++;%1/Library/Accounts/Accounts4.sqlite");
            const QString folder_path("%1/Library/Mail/V9/IMAP-a@host");
            const QString complete = QString("/Users/") + user;
            QCOMPARE(rows_of(plugin.database_path, "SELECT source_file, artifacts_relation_source_file FROM accounts "
                                                   "ORDER BY account_type"),
                     QStringList({store_paths.arg(cut) + '|' + store_paths.arg(complete),
                                  folder_path.arg(cut) + '|' + folder_path.arg(complete)}));
        }
    }

    void the_last_matching_entry_wins()
    {
        const evidence_source source;
        source.add_mail("ann", "V9/e@host/1|V9/folder/1|V9/folder/2|V9/other/1|V9/other/2|V9/other/3");
        // An account without an identifier matches every entry.
        source.add_store("ann", "1:::e@host");
        QString last;
        for (const auto& entry : fs::directory_iterator((source.root() + "Users/ann/Library/Mail/V9").toStdString())) {
            last = QString::fromStdString(entry.path().filename().string());
        }
        driven_plugin plugin(source, {{"ann"}});
        plugin.run();
        const int files = last == "other" ? 3 : last == "folder" ? 2 : 1;
        QCOMPARE(plugin.rows(), QStringList(store_row("ann", "e@host", files, "V9/" + last)));
    }

    void the_result_table()
    {
        const evidence_source source;
        build_many_versions(source);
        driven_plugin plugin(source, {{"ann"}});
        plugin.run();
        plugin.prepare();
        QCOMPARE(
            rows_of(plugin.database_path, "SELECT sql FROM sqlite_master WHERE type = 'table'"),
            QStringList("CREATE TABLE 'accounts'(bookmark INTEGER,INT INTEGER PRIMARY KEY,system_user VARCHAR(1024),"
                        "domain_user VARCHAR(100),account VARCHAR(1024),account_type VARCHAR(1024),"
                        "files_copied VARCHAR(1024),dest_path VARCHAR(1024),kavro_tag_value VARCHAR(1024),"
                        "notes_icon VARCHAR(1024),tags_icon VARCHAR(1024),os_scheme_display VARCHAR(1024),"
                        "source_count_name VARCHAR(1024),source_file VARCHAR(1024),"
                        "artifacts_relation_source_file VARCHAR(1024),notes VARCHAR(1024))"));
        QCOMPARE(rows_of(plugin.database_path, "SELECT DISTINCT bookmark, domain_user, kavro_tag_value, notes_icon, "
                                               "tags_icon, notes FROM accounts"),
                 QStringList("0|NULL|NULL|NULL|NULL|NULL"));
    }

    void existing_files_stay_and_count()
    {
        const evidence_source source;
        source.add_mail("ann", "V9/IMAP-a@host/1|V9/IMAP-a@host/2|V9/IMAP-b@host/1");
        driven_plugin plugin(source, {{"ann"}});
        const QString earlier = write_file(plugin.mail_copy("ann") + "/V9/IMAP-a@host/1", "earlier");
        plugin.run();
        QCOMPARE(content_of(earlier), "earlier");
        // Both account folders hold a "1" and meet in the scratch directory.
        QCOMPARE(plugin.rows(), QStringList({folder_row("ann", "a@host", "IMAP", 2, "V9/IMAP-a@host"),
                                             folder_row("ann", "b@host", "IMAP", 1, "V9/IMAP-b@host")}));
        QVERIFY(plugin.copied.first() == "copied 1 1" && plugin.copied.contains("copied 3 3"));
    }

    void counts_and_users_go_on_until_essentials()
    {
        const evidence_source source;
        source.add_mail("ann", "V9/ID-A/1|V9/IMAP-a@host/1");
        source.add_store("ann", "1:ID-A::ann@host");
        source.add_mail("bob", "V9/IMAP-b@host/");
        driven_plugin plugin(source, {{"ann"}});
        plugin.prepare();
        plugin.extract();
        // A second search starts afresh, the counts do not, and a user comes in addition, once.
        plugin.set_users({"bob", "ann"});
        plugin.extract();
        plugin->pub_cancel_extraction();
        plugin->pub_set_essentials();
        plugin.set_users({"ann"});
        plugin->pub_extract_artifacts();
        QCOMPARE(
            plugin.events.join(", "),
            "records 0, records 2, tabs 1, records 2, records 2, records 0, records 5, tabs 2, records 5, records 5, "
            "records 0, records 3, tabs 1, records 3, records 3");
        QCOMPARE(plugin.rows().size(), 8);
    }

    void engine_types_and_tables()
    {
        struct engine_case
        {
            int type;
            QStringList tables;
            int rows_after_clearing;
            bool copies, extracts;
        };
        for (const auto& [type, tables, rows_after_clearing, copies, extracts] :
             {engine_case{-1, {"accounts"}, 1, false, false},
              {0, {"accounts"}, 0, true, true},
              {2, {"accounts"}, 0, true, true},
              {3, {"accounts"}, 1, false, false},
              {0, {}, 1, true, false},
              {0, {"Accounts"}, 0, true, false},
              {0, {"unknown", "it's", "accounts"}, 0, true, true}}) {
            const evidence_source source;
            source.add_mail("ann", "V9/IMAP-a@host/1");
            driven_plugin(source, {{"ann"}}).run();

            driven_plugin plugin(source, {.users = {"ann"}, .tables = tables, .engine_type = type, .clear = true});
            QVERIFY(QDir(plugin.mail_copy("ann")).removeRecursively());
            plugin.prepare();
            QCOMPARE(plugin.rows().size(), rows_after_clearing);
            QCOMPARE(plugin.log().filter("CALLER FUNCTION -  void apple_mail_extractor::clear_db_tables()").size(),
                     tables.size() == 3 ? 2 : 0);
            plugin.extract();
            QCOMPARE(plugin.rows().size(), rows_after_clearing + (extracts ? 1 : 0));
            QCOMPARE(QFile::exists(plugin.mail_copy("ann") + "/V9/IMAP-a@host/1"), copies);
            QCOMPARE(plugin.events.join(", "), extracts ? "records 0, records 1, tabs 1, records 1, records 1"
                                                        : "records 0, records 0, records 0");
        }
    }
};

QTEST_MAIN(tst_extracted_rows)
#include "tst_extracted_rows.moc"
