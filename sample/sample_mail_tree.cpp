#include "sample/sample_mail_tree.h"

#include "sample/sample_envelope_index.h"
#include "sample/sample_messages.h"
#include "sample/sample_plist.h"

#include <QUrl>

#include <algorithm>

namespace {

/// Mailboxes of an account, the first one receiving most messages; "/" separates nested ones.
const QStringList& mailbox_names(bool odd)
{
    static const QStringList plain{QStringLiteral("INBOX"), QStringLiteral("Sent Messages"), QStringLiteral("Drafts"),
                                   QStringLiteral("Archive/2019"), QStringLiteral("Projects")};
    static const QStringList awkward{
        QStringLiteral("INBOX"),         QStringLiteral("Sent Messages"),      QStringLiteral("Archive/2019"),
        QStringLiteral("Entw\u00fcrfe"), QStringLiteral("Entwu\u0308rfe alt"), QStringLiteral("Clients \"A\" & B"),
        QStringLiteral("Mum's photos"),  QStringLiteral("two\nlines")};
    return odd ? awkward : plain;
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
    {
    }

    bool write(QList<sample_account_folder>& folders, QString& error);

private:
    sample_account_folder write_account(const sample_mail_account& account, const QString& folder, int messages);
    void write_mailbox(const QString& mailbox, const sample_mail_account& account, int messages);
    void write_message(const QString& store, const sample_message_context& context);
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
    QStringList mailbox_urls;
    QList<indexed_message> indexed;
};

void version_writer::write(const QString& path, const QByteArray& content, std::optional<sample_time> modified)
{
    writer.write_file(path, content, modified);
    if (!path.contains(u"/.")) {
        ++visible_files;
    }
}

void version_writer::write_message(const QString& store, const sample_message_context& context)
{
    const qint64 number = next_number++;
    const sample_message message = compose_message(random, context, number);
    const QString folder = store + u'/' + data_folder(number);
    const QString ending = message.partial ? QStringLiteral(".partial.emlx") : QStringLiteral(".emlx");
    write(QStringLiteral("%1/Messages/%2%3").arg(folder).arg(number).arg(ending), message.emlx, message.received);
    for (const sample_attachment& attachment : message.attachments) {
        write(
            QStringLiteral("%1/Attachments/%2/%3/%4").arg(folder).arg(number).arg(attachment.part).arg(attachment.name),
            attachment.content, message.received);
    }
    indexed.append({number, static_cast<int>(mailbox_urls.size()) - 1, message.sender, message.subject,
                    message.received.seconds, message.flags});
}

void version_writer::write_mailbox(const QString& mailbox, const sample_mail_account& account, int messages)
{
    mailbox_urls.append(
        QStringLiteral("imap://%1/%2")
            .arg(account.identifier, QString::fromLatin1(QUrl::toPercentEncoding(
                                         QStringLiteral("%1/%2").arg(mailbox_urls.size()).arg(mailbox), "/"))));
    write(mailbox + QStringLiteral("/Info.plist"),
          to_xml_plist(QVariantMap{{QStringLiteral("IMAPMailboxUnseenCount"), messages / 3},
                                   {QStringLiteral("SortOrder"), QStringLiteral("received-date")},
                                   {QStringLiteral("SortedDescending"), true}}));
    const int first_year = 2012 + version; // each Mail version came with a yearly system release
    const sample_message_context context{account.address(), user.full_name, first_year, first_year + 1,
                                         options.odd_names};
    const QString store = mailbox + u'/' + random.uuid();
    for (int i = 0; i < messages; ++i) {
        write_message(store, context);
    }
}

sample_account_folder version_writer::write_account(const sample_mail_account& account, const QString& folder,
                                                    int messages)
{
    visible_files = 0;
    const QStringList& names = mailbox_names(options.odd_names);
    QList<int> shares(names.size(), 0);
    for (int i = 0; i < messages; ++i) {
        ++shares[i < names.size() ? i : random.below(2) == 0 ? 0 : random.below(static_cast<int>(names.size()))];
    }

    QVariantList cached;
    for (qsizetype i = 0; i < names.size(); ++i) {
        cached.append(QVariantMap{{QStringLiteral("MailboxName"), names[i]},
                                  {QStringLiteral("MailboxUnreadCount"), shares[i] / 3}});
        write_mailbox(folder + u'/' + QString(names[i]).replace(u'/', QStringLiteral(".mbox/")) +
                          QStringLiteral(".mbox"),
                      account, shares[i]);
    }
    write(folder + QStringLiteral("/.mboxCache.plist"),
          to_binary_plist(QVariantMap{{QStringLiteral("mboxes"), cached}}));
    write(folder + QStringLiteral("/.OfflineCache/0"), random.bytes(64));
    return {folder, account.address(), folder.endsWith(account.identifier), account.only_in_log, visible_files};
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
        folders.append(
            write_account(user.accounts[i], directory + u'/' + account_folder_name(user, i, version), messages));
    }
    if (version == 3 && !user.accounts.isEmpty()) {
        sample_mail_account imported = user.accounts.first();
        imported.domain = QStringLiteral("example.net");
        imported.identifier = random.uuid();
        const QString nested = directory + QStringLiteral("/Mailboxes/Imported/POP-%1@pop.example.net").arg(user.login);
        folders.append(write_account(imported, nested, std::min(messages, 1)));
    }
    // A regular file named like an account folder.
    if (options.odd_names) {
        writer.write_file(directory + QStringLiteral("/IMAP-export.log"), "export finished\n");
    }
    write_mail_data();
    return write_envelope_index(writer, directory + QStringLiteral("/MailData"), mailbox_urls, indexed, error);
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
