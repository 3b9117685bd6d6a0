#include "host/self_test/account_judgements.h"

#include "host/self_test/copy_judgements.h"
#include "host/text/failure.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>
#include <QRegularExpression>

#include <algorithm>

namespace {

QJsonArray printed(const QString& program, const QString& command, const QString& result,
                   const QStringList& further = {})
{
    const QStringList arguments{command, QStringLiteral("--result"), result, QStringLiteral("--format"),
                                QStringLiteral("json")};
    const child_ending ending = run_child(program, arguments + further);
    if (ending.exit_code != 0 || !ending.json().isArray()) {
        refuse(command + QLatin1Char(' ') + ending.words());
    }
    return ending.json().array();
}

/// The plug-in's rows alone.
QJsonArray rows_of(const QString& program, const QString& result)
{
    return printed(program, QStringLiteral("show"), result, {QStringLiteral("--raw")});
}

/// Where the folder of a row lies in the source.
QString source_folder(const QJsonValue& row)
{
    static const QRegularExpression copies(QStringLiteral("^.*/Apple_Mail_Extractor_[^/]*_\\d\\d-\\d\\d-\\d{4}/"));
    const QString below_mail = row[QLatin1String("dest_path")].toString().remove(copies);
    return QStringLiteral("Users/%1/Library/Mail/%2").arg(row[QLatin1String("system_user")].toString(), below_mail);
}

QString words(const QJsonValue& row)
{
    return QStringLiteral("row %1 of %2").arg(row[QLatin1String("account")].toString(), source_folder(row));
}

bool has_store(const self_test_ground& ground, const QString& folder)
{
    const QString accounts = ground.volume.root + QLatin1Char('/') + folder.section(QLatin1Char('/'), 0, 2) +
                             QStringLiteral("/Accounts/Accounts%1.sqlite");
    return QFileInfo::exists(accounts.arg(3)) || QFileInfo::exists(accounts.arg(4));
}

/// A row of the store names the folder's account, one of a folder's name what kind of account it is.
bool names_account(const QJsonValue& row, const sample_account_folder& folder)
{
    const QString type = row[QLatin1String("account_type")].toString();
    return type.isEmpty() ? row[QLatin1String("account")].toString() == folder.account
                          : folder.path.section(QLatin1Char('/'), -1).startsWith(type);
}

bool has_row(const QJsonArray& rows, const sample_account_folder& folder)
{
    return std::any_of(rows.begin(), rows.end(), [&folder](const QJsonValue& row) {
        return source_folder(row) == folder.path && names_account(row, folder);
    });
}

/// An account of the program's own records stands for the folder: under its user, and where the store can name it under
/// its name.
bool has_record(const QJsonArray& accounts, const sample_account_folder& folder, bool known_by_store)
{
    return std::any_of(accounts.begin(), accounts.end(), [&](const QJsonValue& account) {
        const QJsonArray folders = account[QLatin1String("folders")].toArray();
        const bool is_here = std::any_of(folders.begin(), folders.end(), [&folder](const QJsonValue& one) {
            const QString path = one[QLatin1String("path")].toString();
            return folder.path == path || folder.path.startsWith(path + QLatin1Char('/'));
        });
        const bool is_named =
            account[QLatin1String("user_name")].toString() == folder.account &&
            (!folder.only_in_log || account[QLatin1String("row")].toString() == QLatin1String("only in the log"));
        return is_here && (is_named || !known_by_store) &&
               account[QLatin1String("user")].toString() == folder.path.section(QLatin1Char('/'), 1, 1);
    });
}

/// Of the versions up to this one the table has the accounts of the newest alone.
bool stands_in_table(const sample_account_folder& folder)
{
    constexpr int last_of_the_older = 7;
    return folder.path.section(QLatin1Char('/'), 4, 4).mid(1).toInt() > last_of_the_older;
}

} // namespace

QStringList shown_rows(const QString& program, const QString& result)
{
    QStringList rows;
    for (const QJsonValue row : rows_of(program, result)) {
        QJsonObject cells = row.toObject();
        cells.remove(QStringLiteral("INT"));
        cells[QStringLiteral("dest_path")] = source_folder(row);
        rows.append(QString::fromUtf8(QJsonDocument(cells).toJson(QJsonDocument::Compact)));
    }
    rows.sort();
    return rows;
}

void judge_no_invented_account(const self_test_ground& ground, const QString& result, examination& found)
{
    for (const QJsonValue row : rows_of(ground.program, result)) {
        const QString lies_in = source_folder(row);
        const auto& folders = ground.volume.written.account_folders;
        const auto folder = std::find_if(folders.begin(), folders.end(),
                                         [&lies_in](const sample_account_folder& one) { return one.path == lies_in; });
        found.expect(lies_in == odd_folder() || (folder != folders.end() && names_account(row, *folder)),
                     words(row) + QStringLiteral(" speaks of no account of the volume"));
    }
}

void judge_association(const self_test_ground& ground, const QString& result, examination& found)
{
    const QJsonArray rows = rows_of(ground.program, result);
    for (const QJsonValue row : rows) {
        const QString home = QStringLiteral("Users/%1/").arg(row[QLatin1String("system_user")].toString());
        found.expect(row[QLatin1String("source_count_name")].toString() == QLatin1String("Source1") &&
                         row[QLatin1String("source_file")].toString().contains(home),
                     words(row) + QStringLiteral(" names another user or source"));
    }
    const QJsonArray accounts = printed(ground.program, QStringLiteral("accounts"), result);
    for (const sample_account_folder& folder : ground.volume.written.account_folders) {
        const bool known_by_store = folder.by_identifier && has_store(ground, folder.path);
        found.expect(has_record(accounts, folder, known_by_store), folder.path + QStringLiteral(" has no record"));
        if (!folder.by_identifier || (known_by_store && stands_in_table(folder))) {
            found.expect(has_row(rows, folder), folder.path + QStringLiteral(" has no row"));
        }
    }
}

void judge_log_honoured(const self_test_ground& ground, const QString& result, examination& found)
{
    const QJsonArray rows = rows_of(ground.program, result);
    const QJsonArray accounts = printed(ground.program, QStringLiteral("accounts"), result);
    for (const sample_account_folder& folder : ground.volume.written.account_folders) {
        if (folder.only_in_log && folder.by_identifier && has_store(ground, folder.path)) {
            found.expect(has_record(accounts, folder, true),
                         folder.path + QStringLiteral(" has no record of its account"));
            found.expect(!stands_in_table(folder) || has_row(rows, folder),
                         folder.path + QStringLiteral(" has no row of its account"));
        }
    }
}

void judge_raw_values(const self_test_ground& ground, const QString& result, examination& found)
{
    for (const QJsonValue account : printed(ground.program, QStringLiteral("accounts"), result)) {
        const QJsonObject origins = account[QLatin1String("origin")].toObject();
        for (const QString& field : origins.keys()) {
            found.expect(!account[QLatin1String("raw")][field].toString().isEmpty(),
                         QStringLiteral("%1 of %2 has no raw value")
                             .arg(field, account[QLatin1String("identifier")].toString()));
        }
    }
}

void judge_counts(const self_test_ground& ground, const QString& result, examination& found)
{
    const result_paths paths(result);
    const QJsonDocument record = QJsonDocument::fromJson(trial_content(paths.path(product::run_record)));
    qint64 rows = 0;
    qint64 copied = 0;
    for (const QJsonValue user : record[QLatin1String("users")].toArray()) {
        const QJsonValue accounts = user[QLatin1String("accounts")];
        rows += accounts[QLatin1String("account_store")].toInteger() +
                accounts[QLatin1String("mail_directory")].toInteger();
        copied += user[QLatin1String("files_copied")].toInteger();
    }
    qint64 copied_in_manifest = 0;
    for (const manifest_entry& entry : manifest_of(result)) {
        copied_in_manifest += entry.status == entry_status::copied ? 1 : 0;
    }
    qint64 failures = 0;
    for (const QByteArray& line : trial_content(paths.path(product::log)).split('\n')) {
        failures += line.contains("FAILED") ? 1 : 0;
    }
    const qint64 shown = rows_of(ground.program, result).size();
    found.expect(rows == shown, QStringLiteral("%1 rows counted, %2 shown").arg(rows).arg(shown));
    found.expect(copied == copied_in_manifest,
                 QStringLiteral("%1 files counted as copied, %2 in the manifest").arg(copied).arg(copied_in_manifest));
    found.expect(record[QLatin1String("log")][QLatin1String("failures")].toInteger(-1) == failures,
                 QStringLiteral("the log has %1 failures, the record another number").arg(failures));
}
