#include "host/completeness/completeness.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>

#include <sys/resource.h>

namespace {

constexpr const char* account = "0A1B2C3D-0000-4000-8000-00000000000F";
constexpr int mailboxes = 12;

[[noreturn]] void give_up(const QString& reason)
{
    std::fprintf(stderr, "bench-completeness: %s\n", qPrintable(reason));
    std::exit(EXIT_FAILURE);
}

void write_whole_file(const QString& path, const QByteArray& content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
        give_up(path + ": " + file.errorString());
    }
}

QString bucket_of(const QString& mail, int number)
{
    QString path =
        QStringLiteral("%1/V10/%2/Box %3.mbox/S/Data").arg(mail, QLatin1String(account)).arg(number % mailboxes);
    for (int thousands = number / 1000; thousands > 0; thousands /= 10) {
        path += QStringLiteral("/%1").arg(thousands % 10);
    }
    return path;
}

QByteArray message_file(int number, bool partial)
{
    const QByteArray header = "From: somebody@example.org\nSubject: number " + QByteArray::number(number) + '\n';
    const QByteArray parts = "--b\nContent-Type: text/plain\n\n" +
                             QByteArray("some text of the message\n").repeated(40) +
                             "--b\nContent-Disposition: attachment; filename=a\nX-Apple-Content-Length: 9\n\n\n--b--\n";
    const QByteArray message =
        partial ? header + "Content-Type: multipart/mixed; boundary=b\n\n" + parts : header + "\nsome text\n";
    return QByteArray::number(message.size()).leftJustified(10) + '\n' + message + "<?xml version=\"1.0\"?><plist/>\n";
}

/// Of a hundred messages one has no row, one no file, and a quarter are partial: every second of those has what it
/// lacks beside it.
void write_files(const QString& mail, int count)
{
    QString made;
    for (int mailbox = 0; mailbox < mailboxes; ++mailbox) {
        for (int number = mailbox; number < count; number += mailboxes) {
            const QString bucket = bucket_of(mail, number);
            if (bucket != made) {
                QDir().mkpath(bucket + "/Messages");
                made = bucket;
            }
            const bool partial = number % 4 == 1;
            if (number % 100 != 7) {
                write_whole_file(
                    QStringLiteral("%1/Messages/%2%3.emlx").arg(bucket).arg(number).arg(partial ? ".partial" : ""),
                    message_file(number, partial));
            }
            if (number % 8 == 1) {
                const QString attachment = QStringLiteral("%1/Attachments/%2/2").arg(bucket).arg(number);
                QDir().mkpath(attachment);
                write_whole_file(attachment + "/a", "content\n");
            }
        }
    }
}

void write_index(const QString& mail, int count)
{
    QDir().mkpath(mail + "/V10/MailData");
    QSqlDatabase database = QSqlDatabase::addDatabase("QSQLITE", "index");
    database.setDatabaseName(mail + "/V10/MailData/Envelope Index");
    QSqlQuery query(database.open() ? database : QSqlDatabase());
    const auto execute = [&query](const QString& statement) {
        if (!query.exec(statement)) {
            give_up(statement + ": " + query.lastError().text());
        }
    };
    for (const QString& statement :
         {QStringLiteral("PRAGMA synchronous = off"),
          QStringLiteral("CREATE TABLE mailboxes (ROWID INTEGER PRIMARY KEY, url TEXT UNIQUE, source INTEGER)"),
          QStringLiteral("CREATE TABLE subjects (ROWID INTEGER PRIMARY KEY, subject TEXT UNIQUE)"),
          QStringLiteral("CREATE TABLE addresses (ROWID INTEGER PRIMARY KEY, address TEXT, comment TEXT)"),
          QStringLiteral("CREATE TABLE labels (message_id INTEGER, mailbox_id INTEGER, "
                         "PRIMARY KEY(message_id, mailbox_id)) WITHOUT ROWID"),
          QStringLiteral("CREATE TABLE messages (ROWID INTEGER PRIMARY KEY, subject_prefix TEXT, subject INTEGER, "
                         "sender INTEGER, date_sent INTEGER, date_received INTEGER, mailbox INTEGER, flags INTEGER, "
                         "deleted INTEGER, remote_id INTEGER, conversation_id INTEGER, size INTEGER, summary TEXT)"),
          QStringLiteral("CREATE INDEX by_mailbox ON messages (mailbox, date_received)")}) {
        execute(statement);
    }
    const QString upto =
        QStringLiteral("WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < %1) ");
    const QString all = upto.arg(count - 1);
    execute(upto.arg(mailboxes - 1) + "INSERT INTO mailboxes SELECT i + 1, 'imap://" + account +
            "/Box%20' || i, NULL FROM n");
    execute("INSERT INTO mailboxes VALUES (100, 'imap://" + QString::fromLatin1(account) + "/Label', 1)");
    execute(all + "INSERT INTO subjects SELECT i, 'a subject of usual length, number ' || i FROM n");
    execute(all + "INSERT INTO addresses SELECT i, 'person' || i || '@example.org', 'Person' FROM n WHERE i % 30 = 0");
    execute(all + "INSERT INTO messages SELECT i, 'Re: ', i, i / 30 * 30, 1500000000 + i, 1500000002 + i, i % " +
            QString::number(mailboxes) +
            " + 1, 8590195713, 0, i, i, 4096, 'the first words of the message ' || i "
            "FROM n WHERE i % 100 <> 3");
    execute(all + "INSERT INTO labels SELECT i, 100 FROM n WHERE i % 3 = 0");
}

/// Counts what it is told, as cheaply as possible: the comparison is measured, not what is done with its findings.
class counting_sink : public completeness_sink
{
public:
    void add_index_only(const index_only_message&) override { ++told; }
    void add_disk_message(const disk_message&) override { ++told; }
    void add_absent_attachment(const mailbox_identity&, const QByteArray&, const emptied_part&) override { ++told; }
    qint64 told = 0;
};

/// Of all threads, in the system too: what another load on the machine does not change much.
double processor_seconds()
{
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) { return double(time.tv_sec) + double(time.tv_usec) / 1e6; };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// In bytes; the system counts in kilobytes, on macOS in bytes.
qint64 peak_memory()
{
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
#ifdef Q_OS_MACOS
    return usage.ru_maxrss;
#else
    return qint64(usage.ru_maxrss) * 1024;
#endif
}

} // namespace

/// Writes a store of so many messages (300,000 unless told otherwise) and prints how long it takes to compare its files
/// with its index, three times, and the most memory that the program ever had.
int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const int count = argc > 1 ? std::atoi(argv[1]) : 300'000;
    const QTemporaryDir folder(argc > 2 ? QString::fromLocal8Bit(argv[2]) + "/bench-XXXXXX" : QString());
    const QString mail = folder.filePath("Users/u/Library/Mail");
    if (count <= 0 || !QDir().mkpath(mail)) {
        give_up("cannot write into " + folder.path());
    }
    write_files(mail, count);
    write_index(mail, count);
    std::printf("memory before: %lld MB\n", static_cast<long long>(peak_memory() / 1'000'000));
    for (int turn = 0; turn < 3; ++turn) {
        counting_sink sink;
        QElapsedTimer timer;
        timer.start();
        const double processor_before = processor_seconds();
        const auto stores =
            check_completeness({QFile::encodeName(folder.path()), "u", "Users/u/Library/Mail", QDir::tempPath()}, sink);
        const completeness_figures& totals = stores.front().totals;
        std::printf("%.2f s (processor %.2f s): %lld files, %lld rows, %lld in both, %lld told of, sums %s, peak "
                    "memory %lld MB\n",
                    double(timer.elapsed()) / 1000, processor_seconds() - processor_before,
                    static_cast<long long>(totals.on_disk), static_cast<long long>(totals.indexed),
                    static_cast<long long>(totals.both), static_cast<long long>(sink.told),
                    stores.front().not_closing.isEmpty() ? "close" : "DO NOT CLOSE",
                    static_cast<long long>(peak_memory() / 1'000'000));
    }
}
