#include "host/run/mail_database_step.h"

#include "host/accounts/dossier.h"
#include "host/evidence/private_directory.h"
#include "host/mail_database/account_tables.h"
#include "host/mail_database/completeness_tables.h"
#include "host/terminal/interruption.h"
#include "host/text/failure.h"

#include <QDir>
#include <QFile>

namespace {

/// Whether accounts keep their messages on the Mac, as their records say, by identifier.
QHash<QByteArray, QString> message_settings(const account_dossier& dossier)
{
    QHash<QByteArray, QString> settings;
    for (const account_record& record : dossier.accounts) {
        const QString setting = record.settings.value(QStringLiteral("messageCaching"));
        if (!setting.isEmpty() && !record.identifier.isEmpty()) {
            settings.insert(record.identifier.toUpper().toUtf8(), setting);
        }
    }
    return settings;
}

void add_problems(const store_completeness& store, QStringList& problems)
{
    const QString place = QFile::decodeName(store.user + ' ' + store.mail_version) + QStringLiteral(": ");
    const auto add = [&](const QString& text) { problems.append(place + text); };
    if (store.index.state == index_state::refused) {
        add(store.index.problem);
    } else if (store.index.state == index_state::incomplete) {
        add(QStringLiteral("the index of messages is read in part only"));
    }
    for (const QStringList* texts : {&store.not_closing, &store.index.schema.problems, &store.notes}) {
        std::for_each(texts->begin(), texts->end(), add);
    }
}

void write_completeness(mail_database_writer& writer, const dossier_request& request, const account_dossier& dossier,
                        const result_paths& result, QStringList& problems)
{
    const QHash<QByteArray, QString> settings = message_settings(dossier);
    completeness_table_writer tables(
        writer, {result.path(product::index_only_list), result.path(product::disk_only_list)}, settings);
    for (const QByteArray& user : request.users) {
        completeness_request check{request.source, user, mail_directory_of(user), request.scratch};
        check.limits.cancelled = interruption::requested;
        check.settings = settings;
        for (const store_completeness& store : check_completeness(check, tables)) {
            tables.add_store(store);
            add_problems(store, problems);
        }
    }
    tables.put_lists_in_place();
}

} // namespace

mail_database_outcome write_mail_database(const QString& source_root, const QList<source_user>& users,
                                          const result_paths& result)
{
    dossier_request request;
    request.source = QFile::encodeName(source_root);
    request.scratch = QDir::tempPath();
    request.cancelled = interruption::requested;
    for (const source_user& user : users) {
        request.users.push_back(QFile::encodeName(user.name));
    }
    const QStringList left = remove_left_directories(request.scratch);
    account_dossier dossier = read_dossier(request);
    mail_database_outcome outcome{left + dossier.problems, dossier.remarks, std::move(dossier.stores)};
    try {
        mail_database_writer writer(result.path(product::mail_database));
        write_account_tables(writer, dossier);
        write_completeness(writer, request, dossier, result, outcome.problems);
        writer.put_in_place();
    } catch (const failure& unwritten) {
        outcome.problems.append(unwritten.message());
    }
    return outcome;
}
