#include "host/accounts/account_store.h"
#include "host/completeness/mail_index.h"
#include "host/evidence/evidence_failure.h"
#include "tests/fuzz/fuzz_target.h"

#include <QFile>

#include <sqlite3.h>

namespace {

/// The file that SQLite makes of statements.
QByteArray database_of(const char* statements)
{
    const QString path = scratch_directory() + QStringLiteral("/seed");
    QFile::remove(path);
    sqlite3* connection = nullptr;
    require(sqlite3_open(QFile::encodeName(path).constData(), &connection) == SQLITE_OK);
    require(sqlite3_exec(connection, statements, nullptr, nullptr, nullptr) == SQLITE_OK);
    sqlite3_close(connection);
    QFile file(path);
    require(file.open(QIODevice::ReadOnly));
    return file.readAll();
}

void read_accounts(const evidence_database& database)
{
    const account_store_content content = read_account_store(database);
    require(content.accounts.size() <= most_accounts && content.by_key.size() <= qsizetype(content.accounts.size()));
    for (const store_account& account : content.accounts) {
        const store_account* parent = content.parent_of(account);
        require(!parent || parent->key == account.parent);
    }
}

void read_index(const evidence_copies& copies, const evidence_limits& limits)
{
    mail_index index(copies, limits);
    index.count_messages();
    index.read_mailboxes([](const index_mailbox&) {});
    index.read_entries([](const index_entry& entry) { require(entry.number >= -1); });
    index.read_labels([](qint64, qint64) {});
    qint64 last = -1;
    bool is_ascending = true;
    index.read_messages([](qint64) { return true; },
                        [&](const index_message& message) {
                            is_ascending = is_ascending && message.number >= last;
                            last = message.number;
                        });
    // Only in a table that is damaged do rows lie elsewhere than in their order, and that is said.
    require(is_ascending || (!index.schema().is_whole && !index.schema().problems.isEmpty()));
}

} // namespace

fuzz_plan plan()
{
    return {8192,
            {"CREATE TABLE ", "CREATE VIEW ", " GENERATED ALWAYS AS (", "ZACCOUNT", "messages", "mailboxes",
             "SQLite format 3"},
            {database_of("PRAGMA page_size=512; CREATE TABLE ZACCOUNT(Z_PK INTEGER PRIMARY KEY, ZACCOUNTTYPE INTEGER, "
                         "ZPARENTACCOUNT INTEGER, ZDATE REAL, ZIDENTIFIER TEXT, ZUSERNAME TEXT); CREATE TABLE "
                         "ZACCOUNTTYPE(Z_PK INTEGER PRIMARY KEY, ZIDENTIFIER TEXT); INSERT INTO ZACCOUNT "
                         "VALUES(1,1,2,7e8,'id','ann'),(2,1,1,NULL,x'00',3); INSERT INTO ZACCOUNTTYPE VALUES(1,'i')"),
             database_of("PRAGMA page_size=512; CREATE TABLE mailboxes(url TEXT); CREATE TABLE messages(mailbox "
                         "INTEGER, deleted INTEGER, date_sent INTEGER, subject INTEGER); CREATE TABLE "
                         "subjects(subject TEXT); INSERT INTO mailboxes VALUES('imap://x/INBOX'); INSERT INTO messages "
                         "VALUES(1,0,1700000000,1),(2,1,NULL,9)")}};
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const scratch_file file(QStringLiteral("source/db"));
    file.write(bytes_of(data, size));
    evidence_limits limits;
    limits.milliseconds = 2'000;
    limits.also_alone = false;
    try {
        const QByteArray source = QFile::encodeName(scratch_directory() + QStringLiteral("/source"));
        const evidence_copies copies(source, source + "/db", scratch_directory(), limits);
        read_accounts(evidence_database(copies, log_use::with_log, limits));
        read_index(copies, limits);
    } catch (const evidence_failure&) {
    }
    return 0;
}
