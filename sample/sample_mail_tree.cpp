#include "sample/sample_mail_tree.h"

#include "sample/sample_envelope_index.h"
#include "sample/sample_messages.h"
#include "sample/sample_plist.h"

#include <QUrl>

#include <algorithm>

namespace {

/// A mailbox of an account; "/" separates nested ones.
struct account_mailbox
{
    QString name;
    bool is_label = false; // of a provider that keeps all messages in one mailbox
};

/// Mailboxes of an account, the first one receiving most messages.
const QList<account_mailbox>& mailboxes_of(bool odd)
{
    static const QList<account_mailbox> plain{{QStringLiteral("INBOX")},
                                              {QStringLiteral("Sent Messages")},
                                              {QStringLiteral("Drafts")},
                                              {QStringLiteral("Archive/2019")},
                                              {QStringLiteral("Projects")}};
    static const QList<account_mailbox> awkward{{QStringLiteral("INBOX")},
                                                {QStringLiteral("Sent Messages")},
                                                {QStringLiteral("Archive/2019")},
                                                {QStringLiteral("Entw\u00fcrfe")},
                                                {QStringLiteral("Entwu\u0308rfe alt")},
                                                {QStringLiteral("Clients \"A\" & B")},
                                                {QStringLiteral("Mum's photos")},
                                                {QStringLiteral("two\nlines")}};
    return odd ? awkward : plain;
}

/// Mailboxes of an account whose provider files every message once and marks it with labels.
const QList<account_mailbox>& mailboxes_with_labels()
{
    static const QList<account_mailbox> mailboxes{{QStringLiteral("[Gmail]/All Mail")},
                                                  {QStringLiteral("INBOX"), true},
                                                  {QStringLiteral("[Gmail]/Sent Mail"), true},
                                                  {QStringLiteral("Travel \U0001f308"), true}};
    return mailboxes;
}

/// The mail program spreads messages over folders by their number without its last three digits, read backwards.
QString data_folder(qint64 number)
{
    QString folder = QStringLiteral("Data");
    for (qint64 thousands = number / 1000; thousands > 0; thousands /= 10) {
        folder += u'/' + QString::number(thousands % 10);
    }
    return folder;
}

/// Writes one Mail version directory.
class version_writer
{
public:
    version_writer(sample_writer& target, const sample_user& owner, const sample_options& chosen, int mail_version)
        : writer(target)
        , user(owner)
        , options(chosen)
        , version(mail_version)
        , directory(QStringLiteral("Users/%1/Library/Mail/V%2").arg(owner.name).arg(mail_version))
        , random(target.seed(), QStringLiteral("mail/") + directory)
        // Numbers that cross a thousand show both forms of the data folder.
        , next_number(985 + random.below(10))
        , store(random.uuid())
        , index{mail_version < 7 ? index_form::of_10_13 : index_form::of_13, store, {}, {}}
    {
    }

    bool write(QList<sample_account_folder>& folders, QString& error);

private:
    /// An account's folder and how the index addresses what lies in it.
    struct account_place
    {
        QString folder;
        QString address;
    };

    static account_place place_of(const QString& folder, const sample_mail_account& account);
    sample_account_folder write_account(const sample_mail_account& account, const account_place& place, int messages);
    void write_mailbox(const QString& mailbox, const sample_mail_account& account, int messages, qsizetype labels);
    void write_message(const QString& folder, qint64 number, const sample_message& message);
    sample_message compose(const sample_message_context& context, qsizetype labels);
    void list_what_is_not_kept();
    void write_mail_data();
    void write(const QString& path, const QByteArray& content, std::optional<sample_time> modified = {});

    sample_writer& writer;
    const sample_user& user;
    const sample_options& options;
    int version;
    QString directory;
    sample_random random;
    qint64 next_number;
    qint64 visible_files = 0;
    QString store; // identifier that the folders of all mailboxes bear
    envelope_index index;
};

void version_writer::write(const QString& path, const QByteArray& content, std::optional<sample_time> modified)
{
    writer.write_file(path, content, modified);
    if (!path.contains(u"/.")) {
        ++visible_files;
    }
}

void version_writer::write_message(const QString& folder, qint64 number, const sample_message& message)
{
    const QString ending = message.partial ? QStringLiteral(".partial.emlx") : QStringLiteral(".emlx");
    write(QStringLiteral("%1/Messages/%2%3").arg(folder).arg(number).arg(ending), message.emlx, message.received);
    for (const sample_attachment& attachment : message.attachments) {
        const bool is_last = &attachment == &message.attachments.last();
        if (number % 20 == 3 && is_last) {
            continue; // never loaded from the server
        }
        if (number % 20 == 8 && is_last) {
            write(QStringLiteral("%1/Messages/%2.%3.emlxpart").arg(folder).arg(number).arg(attachment.part),
                  attachment.content.toBase64() + '\n', message.received);
            continue;
        }
        write(
            QStringLiteral("%1/Attachments/%2/%3/%4").arg(folder).arg(number).arg(attachment.part).arg(attachment.name),
            attachment.content, message.received);
    }
}

/// Composes the next message and lists it in the index, unless the index has lost it. The labels are the mailboxes
/// behind the one that the message lies in.
sample_message version_writer::compose(const sample_message_context& context, qsizetype labels)
{
    const qint64 number = next_number++;
    sample_message message = compose_message(random, context, number);
    if (number % 11 == 4) {
        return message;
    }
    const auto mailbox = static_cast<int>(index.mailboxes.size()) - 1;
    indexed_message row{number,
                        mailbox,
                        message.sender,
                        number % 23 == 5 ? QString() : message.sender.section(u'@', 0, 0),
                        message.subject,
                        message.received.seconds,
                        {},
                        message.flags};
    if (number % 17 != 0) {
        row.sent = message.received.seconds - 2;
    }
    if (number % 29 == 7) {
        row.sender.clear();
    }
    row.deleted = number % 13 == 6;
    row.flags |= row.deleted ? 2 : 0;
    for (int label = 1; label <= labels; ++label) {
        if ((number + label) % (label + 1) == 0) {
            row.labels.append(mailbox + label);
        }
    }
    index.messages.append(row);
    return message;
}

void version_writer::write_mailbox(const QString& mailbox, const sample_mail_account& account, int messages,
                                   qsizetype labels)
{
    write(mailbox + QStringLiteral("/Info.plist"),
          to_xml_plist(QVariantMap{{QStringLiteral("IMAPMailboxUnseenCount"), messages / 3},
                                   {QStringLiteral("SortOrder"), QStringLiteral("received-date")},
                                   {QStringLiteral("SortedDescending"), true}}));
    const int first_year = 2012 + version; // each Mail version came with a yearly system release
    const sample_message_context context{account.address(), user.full_name, first_year, first_year + 1,
                                         options.odd_names};
    const QString data = mailbox + u'/' + store + u'/';
    for (int i = 0; i < messages; ++i) {
        const qint64 number = next_number;
        write_message(data + data_folder(number), number, compose(context, labels));
    }
    // Messages that the mail program knows of and has not loaded, or has removed from this Mac.
    for (int left = messages > 0 ? 1 + messages / 12 : 0; left > 0; --left) {
        compose(context, labels);
    }
}

/// Folders named by an identifier are addressed by it, others by user and server; what lies on the Mac alone has
/// neither.
version_writer::account_place version_writer::place_of(const QString& folder, const sample_mail_account& account)
{
    const QString name = folder.section(u'/', -1);
    if (name == account.identifier) {
        const bool is_exchange = QLatin1StringView(account.kind->prefix) == QLatin1StringView("EWS");
        return {folder, (is_exchange ? QStringLiteral("ews") : QString::fromLatin1(account.kind->prefix).toLower()) +
                            QStringLiteral("://") + name};
    }
    const QString rest = name.section(u'-', 1);
    const bool has_host = rest != account.address();
    const QString login = has_host ? rest.section(u'@', 0, -2) : rest;
    return {folder, QStringLiteral("%1://%2@%3")
                        .arg(name.section(u'-', 0, 0).toLower(), QString::fromLatin1(QUrl::toPercentEncoding(login)),
                             has_host ? rest.section(u'@', -1) : account.host)};
}

/// The index still lists an account that was removed from the Mac, and a mailbox that was never opened.
void version_writer::list_what_is_not_kept()
{
    if (index.mailboxes.isEmpty()) {
        return;
    }
    const QString removed = QStringLiteral("ews://%1/Inbox").arg(random.uuid());
    const QString unopened = index.mailboxes.first().url.section(u'/', 0, 2) + QStringLiteral("/Newsletter%2F2018");
    for (const QString& url : {removed, unopened}) {
        index.mailboxes.append({url});
        compose({QStringLiteral("former@example.com"), user.full_name, 2015, 2016, false}, 0);
    }
}

sample_account_folder version_writer::write_account(const sample_mail_account& account, const account_place& place,
                                                    int messages)
{
    visible_files = 0;
    // Older forms of the index know no labels yet, and the provider's mailboxes are as any other.
    const bool has_labels =
        version > 4 && QLatin1StringView(account.kind->provider_type) == QLatin1StringView("com.apple.account.Google");
    const QList<account_mailbox>& mailboxes = has_labels ? mailboxes_with_labels() : mailboxes_of(options.odd_names);
    QList<int> shares(mailboxes.size(), 0);
    for (int i = 0; i < messages; ++i) {
        const auto spread = i < mailboxes.size()   ? i
                            : random.below(2) == 0 ? 0
                                                   : random.below(static_cast<int>(mailboxes.size()));
        ++shares[has_labels ? 0 : spread];
    }

    QVariantList cached;
    const auto first = index.mailboxes.size();
    for (qsizetype i = 0; i < mailboxes.size(); ++i) {
        const QString& name = mailboxes[i].name;
        cached.append(
            QVariantMap{{QStringLiteral("MailboxName"), name}, {QStringLiteral("MailboxUnreadCount"), shares[i] / 3}});
        // Names are the same to the system in either Unicode form; an address has the composed one.
        const QString path = name.normalized(QString::NormalizationForm_C);
        index.mailboxes.append({place.address + u'/' + QString::fromLatin1(QUrl::toPercentEncoding(path, "/")),
                                mailboxes[i].is_label ? static_cast<int>(first) : -1});
        write_mailbox(place.folder + u'/' + QString(name).replace(u'/', QStringLiteral(".mbox/")) +
                          QStringLiteral(".mbox"),
                      account, shares[i], has_labels ? mailboxes.size() - 1 : 0);
    }
    write(place.folder + QStringLiteral("/.mboxCache.plist"),
          to_binary_plist(QVariantMap{{QStringLiteral("mboxes"), cached}}));
    write(place.folder + QStringLiteral("/.OfflineCache/0"), random.bytes(64));
    return {place.folder, account.address(), place.folder.endsWith(account.identifier), account.only_in_log,
            visible_files};
}

void version_writer::write_mail_data()
{
    const QString data = directory + QStringLiteral("/MailData");
    const QString signature = random.uuid();
    writer.write_file(data + QStringLiteral("/SyncedRules.plist"), to_xml_plist(QVariantList{}));
    writer.write_file(data + QStringLiteral("/BackupTOC.plist"),
                      to_binary_plist(QVariantMap{{QStringLiteral("version"), version}}));
    writer.write_file(data + QStringLiteral("/Signatures/AllSignatures.plist"),
                      to_xml_plist(QVariantList{QVariantMap{{QStringLiteral("SignatureUniqueId"), signature},
                                                            {QStringLiteral("SignatureName"), user.full_name}}}));
    writer.write_file(data + QStringLiteral("/Signatures/%1.mailsignature").arg(signature),
                      "Content-Type: text/html; charset=utf-8\n\n<body>" + user.full_name.toHtmlEscaped().toUtf8() +
                          "</body>\n");
}

bool version_writer::write(QList<sample_account_folder>& folders, QString& error)
{
    const bool newest = version == user.mail_versions.first();
    const int all = options.messages_per_account;
    const int messages = newest ? all : (all + 3) / 4;
    for (qsizetype i = 0; i < user.accounts.size(); ++i) {
        const sample_mail_account& account = user.accounts[i];
        const QString folder = directory + u'/' + account_folder_name(user, i, version);
        folders.append(write_account(account, place_of(folder, account), messages));
    }
    if (version == 3 && !user.accounts.isEmpty()) {
        sample_mail_account imported = user.accounts.first();
        imported.domain = QStringLiteral("example.net");
        imported.identifier = random.uuid();
        const QString nested = directory + QStringLiteral("/Mailboxes/Imported/POP-%1@pop.example.net").arg(user.login);
        const QString address = QStringLiteral("local:///Imported/") +
                                QString::fromLatin1(QUrl::toPercentEncoding(nested.section(u'/', -1)));
        folders.append(write_account(imported, {nested, address}, std::min(messages, 1)));
    }
    // A regular file named like an account folder.
    if (options.odd_names) {
        writer.write_file(directory + QStringLiteral("/IMAP-export.log"), "export finished\n");
    }
    list_what_is_not_kept();
    write_mail_data();
    return write_envelope_index(writer, directory + QStringLiteral("/MailData"), index, error);
}

} // namespace

bool write_mail_tree(sample_writer& writer, const sample_user& user, const sample_options& options,
                     QList<sample_account_folder>& folders, QString& error)
{
    const QString mail = QStringLiteral("Users/%1/Library/Mail").arg(user.name);
    const QVariantMap persistence{
        {QStringLiteral("LastUsedVersionDirectoryName"), QStringLiteral("V%1").arg(user.mail_versions.first())},
        {QStringLiteral("VersionDirectoryNamesInUse"),
         QVariantList{QStringLiteral("V%1").arg(user.mail_versions.first())}}};
    writer.write_file(mail + QStringLiteral("/PersistenceInfo.plist"),
                      user.binary_persistence_info ? to_binary_plist(persistence) : to_xml_plist(persistence));
    writer.write_file(mail + QStringLiteral("/migration.log"), "upgraded without errors\n");
    writer.write_file(mail + QStringLiteral("/.DS_Store"), QByteArray("\0\0\0\1Bud1", 8) + QByteArray(248, '\0'));
    return std::all_of(user.mail_versions.begin(), user.mail_versions.end(), [&](int version) {
        return writer.error().isEmpty() && version_writer(writer, user, options, version).write(folders, error);
    });
}
