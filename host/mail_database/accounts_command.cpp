#include "host/mail_database/accounts_command.h"

#include "host/mail_database/account_reading.h"
#include "host/mail_database/accounts_json.h"
#include "host/mail_database/accounts_text.h"
#include "host/terminal/console.h"
#include "host/terminal/exit_codes.h"

#include <QJsonDocument>

#include <algorithm>

namespace {

void print_json(const account_dossier& dossier)
{
    QByteArray before = "[\n";
    for (const account_record& record : dossier.accounts) {
        print_bytes(before + QJsonDocument(account_to_json(dossier, record)).toJson(QJsonDocument::Indented).trimmed());
        before = ",\n";
    }
    print_bytes(dossier.accounts.isEmpty() ? "[]\n" : "\n]\n");
}

void print_lines(const QStringList& lines)
{
    for (const QString& line : lines) {
        print_line(line);
    }
}

void leave_user_only(account_dossier& dossier, const QString& user)
{
    QList<account_record>& accounts = dossier.accounts;
    accounts.removeIf([&user](const account_record& record) { return record.user != user; });
    dossier.other_folders.removeIf([&user](const other_folder& folder) { return folder.user != user; });
    if (accounts.isEmpty()) {
        complain(QStringLiteral("the result holds no account of a user %1").arg(user));
    }
}

} // namespace

int accounts_command(const accounts_options& options)
{
    account_dossier dossier = read_accounts(result_paths(options.result));
    if (!options.user.isEmpty()) {
        leave_user_only(dossier, options.user);
    }
    if (options.format == QLatin1String("json")) {
        print_json(dossier);
    } else if (options.format == QLatin1String("csv")) {
        for (const QByteArray& line : accounts_csv(dossier.accounts, options.raw)) {
            print_bytes(line);
        }
    } else {
        print_lines(options.wide ? wide_accounts_table(dossier.accounts)
                                 : accounts_table(dossier.accounts, terminal_width()));
        print_lines(lines_of_other_folders(dossier));
    }
    for (const QString& problem : dossier.problems) {
        complain(problem);
    }
    return exit_code::whole;
}
