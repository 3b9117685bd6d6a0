#include "bench/examiner_sources.h"

#include "bench/bench_sources.h"

#include <QDir>
#include <QFile>

#include <algorithm>
#include <random>

namespace {

constexpr qint64 piece_bytes = qint64(1) << 20;
constexpr int files_per_folder = 200;
// Of one store no more than 20,000 accounts are read.
constexpr int account_users = 5;

void must(bool done, const QString& what)
{
    if (!done) {
        qFatal("cannot write %s", qPrintable(what));
    }
}

/// Writes a message of so many bytes, which no file system can store as holes and none packs into less.
void write_message(const QString& path, qint64 bytes, std::mt19937_64& random)
{
    static thread_local QByteArray noise(piece_bytes, Qt::Uninitialized);
    const QByteArray head = "From: ann@example.org\nTo: ben@example.org\nSubject: number " +
                            QByteArray::number(quint64(random())) + "\nMessage-ID: <x@example.org>\n\n";
    QFile file(path);
    must(file.open(QIODevice::WriteOnly), path);
    const QByteArray end = "\n<?xml version=\"1.0\"?><plist/>\n";
    const qint64 message = bytes - 11 - end.size();
    qint64 written = file.write(QByteArray::number(message).leftJustified(10) + '\n' + head);
    while (written < bytes - end.size()) {
        const qint64 count = std::min<qint64>(piece_bytes, bytes - end.size() - written);
        auto* words = reinterpret_cast<quint64*>(noise.data());
        // One word in eight differs from piece to piece: enough to be other content, quick enough for gigabytes.
        for (qint64 at = 0; at < (count + 7) / 8; at += 8) {
            words[at] = random();
        }
        must(file.write(noise.constData(), count) == count, path);
        written += count;
    }
    must(file.write(end) == end.size(), path);
}

QString library_of(const QString& root)
{
    return root + QStringLiteral("/Users/ann/Library");
}

/// Writes messages whose sizes are told; the account store names one account, whose folder they lie in.
template <typename sizes>
qint64 write_messages(const QString& root, int files, sizes size_of)
{
    write_account_source(root, 1, 0);
    std::mt19937_64 random(17);
    const QString account = library_of(root) + QStringLiteral("/Mail/V9/00000000-0000-4000-8000-000000000000");
    QString folder;
    qint64 bytes = 0;
    for (int i = 0; i < files; ++i) {
        if (i % files_per_folder == 0) {
            const int number = i / files_per_folder;
            folder = QStringLiteral("%1/Box %2.mbox/%3/Data/%4/Messages")
                         .arg(account)
                         .arg(number / 100)
                         .arg(number, 8, 16, QLatin1Char('0'))
                         .arg(number % 10);
            must(QDir().mkpath(folder), folder);
        }
        const qint64 size = size_of(random);
        write_message(QStringLiteral("%1/%2.emlx").arg(folder).arg(i), size, random);
        bytes += size;
    }
    return bytes;
}

} // namespace

void write_small_messages(const QString& root, int files)
{
    write_messages(root, files, [](std::mt19937_64&) { return qint64(2048); });
}

qint64 write_mixed_messages(const QString& root, int files)
{
    return write_messages(root, files, [](std::mt19937_64& random) {
        const quint64 drawn = random() % 2000;
        const auto between = [&random](qint64 least, qint64 most) {
            return least + qint64(random() % quint64(most - least));
        };
        return drawn == 0 ? 30'000'000 : drawn < 200 ? between(50'000, 400'000) : between(1'000, 7'000);
    });
}

void write_huge_message(const QString& root, qint64 bytes)
{
    write_messages(root, 1, [bytes](std::mt19937_64&) { return bytes; });
}

void write_many_users(const QString& root, int users)
{
    const QString model = root + QStringLiteral("/model");
    write_account_source(model, 1, 2);
    const QString from = library_of(model);
    const QString account = QStringLiteral("/Mail/V9/00000000-0000-4000-8000-000000000000");
    for (int i = 0; i < users; ++i) {
        const QString to = QStringLiteral("%1/Users/user%2/Library").arg(root).arg(i, 6, 10, QLatin1Char('0'));
        must(QDir().mkpath(to + account) && QDir().mkpath(to + QStringLiteral("/Accounts")), to);
        for (const QString& file :
             {QStringLiteral("/Accounts/Accounts4.sqlite"), QString(account + QStringLiteral("/0-0.emlx")),
              QString(account + QStringLiteral("/0-1.emlx"))}) {
            must(QFile::copy(from + file, to + file), to + file);
        }
    }
    must(QDir(model).removeRecursively(), model);
}

void write_many_accounts(const QString& root, int accounts)
{
    const QString model = root + QStringLiteral("/model");
    for (int user = 0; user < account_users; ++user) {
        write_account_source(model, accounts / account_users, 1);
        const QString home = QStringLiteral("%1/Users/user%2").arg(root).arg(user);
        must(QDir().mkpath(root + QStringLiteral("/Users")) &&
                 QDir().rename(model + QStringLiteral("/Users/ann"), home),
             home);
    }
    must(QDir(model).removeRecursively(), model);
}
