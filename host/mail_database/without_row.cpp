#include "host/mail_database/without_row.h"

#include "host/mail_database/accounts_text.h"
#include "host/result/dated_folders.h"
#include "host/text/display_text.h"

namespace {

QString shown(const QString& text)
{
    return display_text(text.toUtf8());
}

/// A user's name ends at the slash, which no name holds.
QString key_of(const QString& user, const QString& what)
{
    return user + u'/' + what;
}

/// "V10/<name>"
QString key_of(const QString& user, const account_place& place)
{
    return key_of(user, place.path.section(u'/', -2));
}

QString remark_on_record(const account_record& record)
{
    const QString mail = record.mail_enabled ? QStringLiteral("Mail enabled, no folder")
                                             : QStringLiteral("no folder, not known whether Mail is enabled");
    return record.row == QLatin1String("removed by the log") ? mail + QStringLiteral(", row removed by the log") : mail;
}

} // namespace

row_comparison::row_comparison(const account_dossier& found) : dossier(found)
{
    for (const account_record& record : dossier.accounts) {
        if (record.marks.isEmpty()) {
            continue;
        }
        for (const account_place& place : record.folders) {
            marks[key_of(record.user, place)] += record.marks;
        }
        for (const QString& name : {record.user_name, record.address}) {
            marks[key_of(record.user, name)] += record.marks;
        }
    }
}

QStringList row_comparison::take(const QString& user, const QString& account, const QString& row_folder)
{
    const QString owner = shown(user);
    const QString folder = key_of(owner, shown(below_own_dated_folder(row_folder, user).section(u'/', 1)));
    folders_of_rows.insert(folder);
    QStringList found = marks.value(folder);
    if (!account.isEmpty()) {
        found += marks.value(key_of(owner, account));
    }
    found.removeDuplicates();
    return found;
}

QList<item_without_row> row_comparison::without_row() const
{
    QList<item_without_row> items;
    for (const account_record& record : dossier.accounts) {
        const auto add = [&](const account_place& place, const QString& remark) {
            QStringList remarks{remark, warning_text(record.marks)};
            remarks.removeAll(QString());
            items.append({record.user, display_text(account_title(record)), display_text(account_type_title(record)),
                          place.path, place.amount.files, remarks.join(QStringLiteral("; "))});
        };
        for (const account_place& place : record.folders) {
            if (!folders_of_rows.contains(key_of(record.user, place))) {
                add(place, record.store.isEmpty() ? QStringLiteral("no account found for it")
                                                  : QStringLiteral("account known, without a row"));
            }
        }
        if (record.folders.isEmpty() && record.mail_enabled.value_or(true)) {
            add({}, remark_on_record(record));
        }
    }
    for (const auto& [user, place] : dossier.other_folders) {
        items.append({user, {}, {}, place.path, place.amount.files, QStringLiteral("no account folder")});
    }
    return items;
}

QString warning_text(const QStringList& marks)
{
    return marks.isEmpty() ? QString() : display_text(QStringLiteral("(!) ") + marks.join(QStringLiteral("; ")));
}
