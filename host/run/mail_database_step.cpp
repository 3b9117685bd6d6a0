#include "host/run/mail_database_step.h"

#include "host/accounts/dossier.h"
#include "host/evidence/private_directory.h"
#include "host/mail_database/account_tables.h"
#include "host/mail_database/completeness_tables.h"
#include "host/terminal/interruption.h"
#include "host/text/failure.h"

#include <QDir>
#include <QFile>

#include <chrono>

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

/// Shows how far a work is until a future is there.
template <typename value>
void show_until_ready(progress& shown, const std::atomic<qint64>& looked_into, const std::future<value>& work)
{
    constexpr auto interval = std::chrono::milliseconds(50);
    while (work.wait_for(interval) == std::future_status::timeout) {
        shown.update({looked_into, 0});
    }
}

} // namespace

account_notes::account_notes(mail_database_request asked) : request(std::move(asked))
{
    if (!request.users.isEmpty()) {
        first_user = check_of(request.users.first());
        first_user->begin();
    }
}

std::unique_ptr<completeness_check> account_notes::check_of(const source_user& user)
{
    const QByteArray name = QFile::encodeName(user.name);
    completeness_request check{QFile::encodeName(request.source_root), name, mail_directory_of(name), QDir::tempPath()};
    check.limits.cancelled = interruption::requested;
    check.copy_of = request.copy_of;
    check.begins_as_message = request.begins_as_message;
    check.most_messages = request.messages;
    check.looked_into = [this](qint64 more) { looked_into += more; };
    return std::make_unique<completeness_check>(std::move(check));
}

void account_notes::write_completeness(mail_database_writer& writer, const account_dossier& dossier,
                                       QStringList& problems)
{
    const result_paths& result = request.result;
    const QHash<QByteArray, QString> settings = message_settings(dossier);
    completeness_table_writer tables(
        writer, {result.path(product::index_only_list), result.path(product::disk_only_list)}, settings);
    for (const source_user& user : request.users) {
        const std::unique_ptr<completeness_check> check = first_user ? std::move(first_user) : check_of(user);
        for (const store_completeness& store : check->complete(settings, tables)) {
            tables.add_store(store);
            add_problems(store, problems);
        }
    }
    tables.put_lists_in_place();
}

mail_database_outcome account_notes::write()
{
    dossier_request asked;
    asked.source = QFile::encodeName(request.source_root);
    asked.scratch = QDir::tempPath();
    asked.cancelled = interruption::requested;
    asked.copy_of = request.copy_of;
    asked.extents = &request.extents;
    for (const source_user& user : request.users) {
        asked.users.push_back(QFile::encodeName(user.name));
    }
    const QStringList left = remove_left_directories(asked.scratch);
    account_dossier dossier = read_dossier(asked);
    mail_database_outcome outcome{left + dossier.problems, dossier.remarks, std::move(dossier.stores)};
    try {
        mail_database_writer writer(request.result.path(product::mail_database));
        write_account_tables(writer, dossier);
        write_completeness(writer, dossier, outcome.problems);
        writer.put_in_place();
    } catch (const failure& unwritten) {
        outcome.problems.append(unwritten.message());
    }
    return outcome;
}

void account_notes::read_databases(progress_style style)
{
    shown.emplace(QStringLiteral("reading mail"), file_amount{request.messages, 0}, style);
    awaited = std::async(std::launch::async | std::launch::deferred, [this] { return write(); });
}

void account_notes::show_until(const std::future<void>& other)
{
    show_until_ready(*shown, looked_into, other);
}

mail_database_outcome account_notes::outcome()
{
    show_until_ready(*shown, looked_into, awaited);
    shown->finish();
    return awaited.get();
}
