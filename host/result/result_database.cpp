#include "host/result/result_database.h"

#include "host/files/rollback_journal.h"
#include "host/files/sqlite_companions.h"
#include "host/result/row_folders.h"
#include "host/text/display_text.h"
#include "host/text/failure.h"
#include "support/shared_texts.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>

#include <algorithm>

namespace {

/// True where a run was killed while it wrote. Beside a sealed database nothing counts that lies there.
bool is_unfinished(const result_paths& result)
{
    const QString path = result.database();
    return !QFile::exists(result.path(product::seal)) &&
           std::any_of(sqlite_companions.begin(), sqlite_companions.end(),
                       [&path](const char* companion) { return QFile::exists(path + QLatin1String(companion)); });
}

} // namespace

result_database::result_database(const result_paths& result) : path(result.database())
{
    if (!QFileInfo(path).isFile()) {
        fail(QStringLiteral("no such file"));
    }
    if (names_another_file(QFile::encodeName(path + QStringLiteral("-journal")))) {
        fail(QStringLiteral("its \"-journal\" names another file, which a rollback would delete; no run leaves such "
                            "a journal"));
    }
    QString opened = path;
    if (is_unfinished(result)) {
        copies.emplace();
        opened = copies->filePath(QStringLiteral("copy.sqlite"));
        if (!QFile::copy(path, opened)) {
            fail(QStringLiteral("cannot be copied to %1").arg(opened));
        }
        for (const char* companion : sqlite_companions) {
            QFile::copy(path + QLatin1String(companion), opened + QLatin1String(companion));
        }
    }
    database.emplace(opened, path, !copies);
}

void result_database::fail(const QString& reason) const
{
    refuse(QStringLiteral("cannot read the result database %1: %2").arg(path, reason));
}

QString what_database_holds(const result_paths& result)
{
    if (!QFile::exists(result.database())) {
        return {};
    }
    const result_database database(result);
    checked_rows others = database.query(
        QStringLiteral("SELECT type, name FROM sqlite_master WHERE (type, name) <> ('table', '%1') LIMIT 1")
            .arg(shared_texts::accounts_table));
    if (others.next()) {
        return QStringLiteral("holds the %1 \"%2\", which no run makes")
            .arg(display_text(others.value(0).toString()), display_text(others.value(1).toString()));
    }
    checked_rows tables = database.query(QStringLiteral("SELECT 1 FROM sqlite_master"));
    if (!tables.next()) {
        return {};
    }
    checked_rows rows = database.query(QStringLiteral("SELECT 1 FROM %1 LIMIT 1").arg(shared_texts::accounts_table));
    return rows.next() ? QStringLiteral("already holds accounts, and no record says of which run") : QString();
}

QStringList problems_of_row_folders(const result_paths& result)
{
    const result_database database(result);
    const row_folders folders(result);
    checked_rows rows =
        database.query(QStringLiteral("SELECT system_user, dest_path, CAST(files_copied AS INTEGER) FROM "
                                      "%1 WHERE dest_path <> '' ORDER BY INT")
                           .arg(shared_texts::accounts_table));
    qint64 moved = 0;
    qint64 lost = 0;
    QString first_moved;
    QString first_lost;
    while (rows.next()) {
        const QString named = rows.value(1).toString();
        const std::optional<QString> place = folders.place_of(named, rows.value(0).toString());
        if (place && *place != named && moved++ == 0) {
            first_moved = QStringLiteral("%1, which is %2").arg(named, *place);
        } else if (!place && rows.value(2).toLongLong() > 0 && lost++ == 0) {
            first_lost = named;
        }
    }
    QStringList problems;
    if (moved > 0) {
        problems.append(QStringLiteral("accounts that name a folder of another day than the one that holds their "
                                       "copies, since the day changed during the run: %1, the first of them %2")
                            .arg(QString::number(moved), first_moved));
    }
    if (lost > 0) {
        problems.append(
            QStringLiteral("accounts that name a folder which is not in the result: %1, the first of them %2")
                .arg(QString::number(lost), first_lost));
    }
    return problems;
}

qint64 count_account_rows(const result_paths& result, QList<user_record>& users)
{
    const result_database database(result);
    checked_rows rows = database.query(
        QStringLiteral("SELECT system_user, coalesce(account_type, '') = '', count(*) FROM %1 GROUP BY 1, 2")
            .arg(shared_texts::accounts_table));
    QHash<QString, user_record*> by_name;
    for (user_record& user : users) {
        by_name.insert(user.name, &user);
    }
    qint64 count = 0;
    while (rows.next()) {
        const qint64 of_user = rows.value(2).toLongLong();
        count += of_user;
        if (user_record* const user = by_name.value(rows.value(0).toString())) {
            (rows.value(1).toBool() ? user->account_store_rows : user->mail_directory_rows) = of_user;
        }
    }
    return count;
}
