#include "host/mail_database/show_table.h"

#include "host/text/text_layout.h"
#include "host/text/text_table.h"
#include "support/shared_texts.h"

#include <QHash>
#include <QVariant>

namespace {

// Wide enough for a date, a version directory and the end of a name.
constexpr qsizetype folder_column = 36;
constexpr qsizetype remark_column = 28;

/// Leaves off what the folders of all rows begin with; a folder that lies elsewhere stays as it is.
QString short_folder(const QString& folder, const QString& user)
{
    const QString own = below_own_dated_folder(folder, user);
    return own.isEmpty() ? below_copies(folder) : QChar(u'…') + own;
}

QString text_for_person(const QString& text)
{
    return text.isEmpty() ? QStringLiteral("-") : text;
}

/// "V10/<name>": whose folder it is says the first column.
QString folder_in_mail(const item_without_row& item)
{
    return item.folder.section(u'/', -2);
}

QList<item_without_row> records_in_one_line(const QList<item_without_row>& items)
{
    QList<item_without_row> lines;
    QHash<QStringList, qsizetype> places;
    for (const item_without_row& item : items) {
        const QStringList key{item.user, item.account, item.remark};
        const auto place = item.folder.isEmpty() ? places.constFind(key) : places.constEnd();
        if (place != places.constEnd()) {
            lines[*place].type += QStringLiteral(", ") + item.type;
            continue;
        }
        if (item.folder.isEmpty()) {
            places.insert(key, lines.size());
        }
        lines.append(item);
    }
    return lines;
}

} // namespace

QStringList lines_of_rows(checked_rows& rows, const row_folders& folders, row_comparison* found, qsizetype width)
{
    const QList<table_column> columns{{QStringLiteral("#"), true},
                                      {QStringLiteral("user"), false, narrow_column},
                                      {QStringLiteral("account"), false, narrow_column},
                                      {QStringLiteral("type")},
                                      {QStringLiteral("files"), true},
                                      {QStringLiteral("folder"), false, folder_column}};
    QList<QStringList> texts;
    QStringList warnings;
    qint64 moved = 0;
    while (rows.next()) {
        const auto text = [&rows](const char* column) { return rows.value(QLatin1String(column)).toString(); };
        const QString user = text("system_user");
        const QString named = text("dest_path");
        const QString place = folders.place_of(named, user).value_or(named);
        moved += place == named ? 0 : 1;
        const QString warning = found ? warning_text(found->take(user, text("account"), named)) : QString();
        if (!warning.isEmpty()) {
            warnings.append(QStringLiteral("row %1: %2").arg(text("INT"), warning));
        }
        texts.append({text_for_person(text("INT")), text_for_person(user),
                      text_for_person(text("account")) + (warning.isEmpty() ? QString() : QStringLiteral(" (!)")),
                      text_for_person(text("account_type")), text_for_person(text("files_copied")),
                      text_for_person(short_folder(place, user))});
    }
    QStringList lines;
    if (!texts.isEmpty()) {
        lines += wrapped(QStringLiteral("folders below /%1, where … is %2_<user>_")
                             .arg(shared_texts::plugin_directory, shared_texts::artifact_folder),
                         width);
    }
    lines += table_lines(columns, texts, width) + warnings;
    if (moved > 0) {
        lines += wrapped(QStringLiteral("accounts whose row names a folder of another day than the one shown, which "
                                        "holds their copies: %1")
                             .arg(moved),
                         width);
    }
    return lines;
}

QStringList lines_without_row(const QList<item_without_row>& items, qsizetype width)
{
    if (items.isEmpty()) {
        return {};
    }
    const QList<table_column> columns{
        {QStringLiteral("user"), false, narrow_column},   {QStringLiteral("account"), false, narrow_column},
        {QStringLiteral("type"), false, narrow_column},   {QStringLiteral("files"), true},
        {QStringLiteral("folder"), false, narrow_column}, {QStringLiteral("remark"), false, remark_column}};
    QList<QStringList> texts;
    for (const item_without_row& item : records_in_one_line(items)) {
        texts.append({item.user, text_for_person(item.account), text_for_person(item.type),
                      item.folder.isEmpty() ? QStringLiteral("-") : QString::number(item.files),
                      text_for_person(folder_in_mail(item)), item.remark});
    }
    return QStringList{QString(), QStringLiteral("found, and without a row above:")} +
           table_lines(columns, texts, width);
}
