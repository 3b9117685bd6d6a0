#include "host/report/account_table.h"

#include "host/html/parts.h"
#include "host/text/display_text.h"

#include <QDir>
#include <QUrl>

namespace {

void write_folder(report_html& html, const report_data& data, const report_account& account, const QString& directory)
{
    const auto cell = html.open("td");
    if (account.folder_exists) {
        const QString folder = data.result.below(account.folder);
        const auto link = html.open("a", {{"href", relative_link(directory, folder) + QLatin1Char('/')},
                                          {"title", display_text(account.written_path)}});
        html.foreign(display_text(below_dated_folder(account.folder)));
        if (account.is_moved) {
            html.element("span", QStringLiteral(" (the row names a folder of another day: "),
                         {{"class", QStringLiteral("muted")}});
            html.foreign(display_text(account.written_path));
            html.element("span", QStringLiteral(")"), {{"class", QStringLiteral("muted")}});
        }
        return;
    }
    html.foreign(display_text(account.written_path));
    html.element("span", QStringLiteral(" (not in the result)"), {{"class", QStringLiteral("muted")}});
}

void write_not_copied(report_html& html, const report_amount& amount)
{
    if (amount.not_copied > 0) {
        write_number(html, amount.not_copied, display_number(amount.not_copied), "num status missing");
    } else {
        write_number(html, 0, QStringLiteral("0"));
    }
}

void write_account(report_html& html, const report_data& data, const report_account& account, const QString& directory)
{
    const auto row = html.open("tr");
    write_foreign_cell(html, account.account.isEmpty() ? QStringLiteral("(no name)") : account.account);
    html.element("td", account.type.isEmpty() ? QStringLiteral("account store") : QStringLiteral("folder name"),
                 {{"class", QStringLiteral("muted nowrap")}});
    if (account.type.isEmpty()) {
        html.element("td", QStringLiteral("not told"), {{"class", QStringLiteral("muted nowrap")}});
    } else {
        write_foreign_cell(html, account.type);
    }
    write_number(html, account.files_copied, display_number(account.files_copied));
    write_number(html, account.amount.files, display_number(account.amount.files));
    write_number(html, account.amount.bytes, display_bytes(account.amount.bytes));
    if (data.manifest) {
        write_not_copied(html, account.amount);
    }
    write_folder(html, data, account, directory);
}

void write_rows(report_html& html, const report_data& data, const report_user& user, const QString& directory)
{
    if (user.accounts.isEmpty()) {
        return;
    }
    const auto frame = html.open("div", {{"class", QStringLiteral("scroll")}});
    const auto table =
        html.open("table", {{"class", QStringLiteral("accounts")}, {"data-tool", QStringLiteral("yes")}});
    QList<table_head> heads = {{"Account"},
                               {"Found in", false, "A row of the account store, or the name of the folder itself"},
                               {"Type", false, "As the folder's name tells it"},
                               {"Tried", true, "Copies that the extraction attempted, as its result row has it"},
                               {"Files", true, "Files of the folder that are in the result"},
                               {"Size", true, "Their size"}};
    if (data.manifest) {
        heads.append({"Not copied", true, "Files that are missing, different or unreadable"});
    }
    heads.append({"Copied folder"});
    write_table_head(html, heads);
    const auto body = html.open("tbody");
    for (const report_account& account : user.accounts) {
        write_account(html, data, account, directory);
    }
}

/// "8 rows; all mail: 191 files, 703.6 kB, 0 not copied"
QString sums_of(const report_data& data, const report_user& user)
{
    const QString rows = user.accounts.isEmpty() ? QStringLiteral("no account found")
                                                 : QStringLiteral("%1 rows").arg(display_number(user.accounts.size()));
    const QString mail = QStringLiteral("  %1; all mail: %2 files, %3")
                             .arg(rows, display_number(user.mail_tree.files), display_bytes(user.mail_tree.bytes));
    return data.manifest ? mail + QStringLiteral(", %1 not copied").arg(display_number(user.mail_tree.not_copied))
                         : mail;
}

/// Folded unless there is one user only.
void write_user(report_html& html, const report_data& data, const report_user& user, const QString& directory)
{
    const auto part = data.users.size() == 1
                          ? html.open("details", {{"class", QStringLiteral("user")}, {"open", QString()}})
                          : html.open("details", {{"class", QStringLiteral("user")}});
    {
        const auto head = html.open("summary");
        html.foreign(display_text(user.name));
        html.element(
            "span", sums_of(data, user),
            {{"class", user.mail_tree.not_copied > 0 ? QStringLiteral("status missing") : QStringLiteral("muted")}});
    }
    write_rows(html, data, user, directory);
}

} // namespace

QString relative_link(const QString& directory, const QString& target)
{
    const QString path = QDir(directory).relativeFilePath(target);
    return QString::fromLatin1(QUrl::toPercentEncoding(path, "/"));
}

void write_account_table(report_html& html, const report_data& data, const QString& directory)
{
    const auto users = html.open("div", {{"data-filter", QStringLiteral("yes")}});
    for (const report_user& user : data.users) {
        write_user(html, data, user, directory);
    }
}
