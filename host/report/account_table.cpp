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
    if (account.type.isEmpty()) {
        html.element("td", QStringLiteral("account store"), {{"class", QStringLiteral("muted nowrap")}});
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

void write_user(report_html& html, const report_data& data, const report_user& user, const QString& directory)
{
    const auto body = html.open("tbody");
    {
        const auto row = html.open("tr", {{"class", QStringLiteral("group")}});
        {
            const auto name =
                html.open("th", {{"scope", QStringLiteral("rowgroup")}, {"colspan", QStringLiteral("3")}});
            html.foreign(display_text(user.name));
        }
        write_number(html, user.mail_tree.files, display_number(user.mail_tree.files));
        write_number(html, user.mail_tree.bytes, display_bytes(user.mail_tree.bytes));
        if (data.manifest) {
            write_not_copied(html, user.mail_tree);
        }
        html.element("td", user.accounts.isEmpty() ? QStringLiteral("no account found") : QStringLiteral("all mail"),
                     {{"class", QStringLiteral("muted")}});
    }
    for (const report_account& account : user.accounts) {
        write_account(html, data, account, directory);
    }
}

} // namespace

QString relative_link(const QString& directory, const QString& target)
{
    const QString path = QDir(directory).relativeFilePath(target);
    return QString::fromLatin1(QUrl::toPercentEncoding(path, "/"));
}

void write_account_table(report_html& html, const report_data& data, const QString& directory)
{
    const auto frame = html.open("div", {{"class", QStringLiteral("scroll")}});
    const auto table =
        html.open("table", {{"class", QStringLiteral("accounts")}, {"data-tool", QStringLiteral("yes")}});
    QList<table_head> heads = {{"Account"},
                               {"Type"},
                               {"Tried", true, "Copies that the extraction attempted, as its result row has it"},
                               {"Files", true, "Files of the folder that are in the result"},
                               {"Size", true, "Their size"}};
    if (data.manifest) {
        heads.append({"Not copied", true, "Files that are missing, different or unreadable"});
    }
    heads.append({"Copied folder"});
    write_table_head(html, heads);
    for (const report_user& user : data.users) {
        write_user(html, data, user, directory);
    }
}
