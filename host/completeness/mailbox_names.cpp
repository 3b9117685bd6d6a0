#include "host/completeness/mailbox_names.h"

#include "host/source/folder_names.h"
#include "host/text/utf8.h"

#include <QString>

#include <algorithm>
#include <array>

namespace {

constexpr std::array mailbox_endings{".mbox", ".imapmbox"};

/// No file system has names as long as this, and the time that normalising takes may grow with the length's square.
constexpr qsizetype longest_normalised = 1024;

/// Folders in which older releases keep what lies on the Mac alone.
constexpr const char* local_folder = "Mailboxes";

/// How the folders of protocol-named accounts begin, by the scheme of the addresses of their mailboxes.
struct folder_prefix
{
    const char* scheme;
    const char* prefix;
};
constexpr std::array folder_prefixes{folder_prefix{"imap", "IMAP-"}, folder_prefix{"imap", "AosIMAP-"},
                                     folder_prefix{"imap", "Mac-"},  folder_prefix{"aosimap", "AosIMAP-"},
                                     folder_prefix{"pop", "POP-"},   folder_prefix{"ews", "EWS-"},
                                     folder_prefix{"ews", "IMAP-"}};

int hexadecimal_value(char digit)
{
    return digit >= '0' && digit <= '9'   ? digit - '0'
           : digit >= 'a' && digit <= 'f' ? digit - 'a' + 10
           : digit >= 'A' && digit <= 'F' ? digit - 'A' + 10
                                          : -1;
}

/// A "%" that encodes nothing stays as it is.
QByteArray decoded(const QByteArray& text)
{
    QByteArray plain;
    plain.reserve(text.size());
    for (qsizetype at = 0; at < text.size(); ++at) {
        const bool may_encode = text[at] == '%' && at + 2 < text.size();
        const int high = may_encode ? hexadecimal_value(text[at + 1]) : -1;
        const int low = may_encode ? hexadecimal_value(text[at + 2]) : -1;
        if (high >= 0 && low >= 0) {
            plain += char(high * 16 + low);
            at += 2;
        } else {
            plain += text[at];
        }
    }
    return comparable_name(plain);
}

QList<QByteArray> decoded_names(const QByteArray& path)
{
    QList<QByteArray> names;
    for (const QByteArray& part : path.split('/')) {
        if (!part.isEmpty()) {
            names.append(decoded(part).replace('/', ':'));
        }
    }
    return names;
}

/// An address of a file path: what follows the Mail directory, and the version directory if there is one, is the
/// account's folder and the mailboxes.
mailbox_address from_file_path(mailbox_address address)
{
    const qsizetype mail = address.names.lastIndexOf("Mail");
    if (mail > 0 && address.names[mail - 1] == "Library") {
        address.names.remove(0, mail + 1);
    }
    if (!address.names.isEmpty() && address.names.first() == local_folder) {
        address.names.removeFirst();
    }
    std::transform(address.names.begin(), address.names.end(), address.names.begin(), name_of_mailbox_folder);
    return address;
}

} // namespace

mailbox_address parse_mailbox_address(const QByteArray& address)
{
    mailbox_address parsed;
    const qsizetype colon = address.indexOf(':');
    if (colon <= 0 || address.indexOf('/') < colon) {
        parsed.names.append(comparable_name(address));
        return parsed;
    }
    parsed.scheme = address.left(colon).toLower();
    QByteArray rest = address.mid(colon + 1);
    if (rest.startsWith("//")) {
        const qsizetype path = rest.indexOf('/', 2);
        const QByteArray authority = rest.mid(2, path < 0 ? -1 : path - 2);
        rest = path < 0 ? QByteArray() : rest.mid(path);
        // A user name may hold an "@" of its own; a server does not.
        const qsizetype at = authority.lastIndexOf('@');
        parsed.user = at < 0 ? QByteArray() : decoded(authority.left(at));
        parsed.host = decoded(authority.mid(at + 1));
    }
    parsed.names = decoded_names(rest);
    return parsed.scheme == "mailbox" ? from_file_path(parsed) : parsed;
}

QByteArray comparable_name(const QByteArray& name)
{
    return name.size() <= longest_normalised && is_utf8(name)
               ? text_from_utf8(name).normalized(QString::NormalizationForm_C).toUtf8()
               : name;
}

QByteArray mailbox_path(const QList<QByteArray>& names)
{
    return names.join('/');
}

QByteArray name_of_mailbox_folder(const QByteArray& folder)
{
    for (const char* ending : mailbox_endings) {
        if (folder.endsWith(ending)) {
            return folder.chopped(qsizetype(qstrlen(ending)));
        }
    }
    return folder;
}

bool is_mailbox_folder(const QByteArray& folder)
{
    return std::any_of(mailbox_endings.begin(), mailbox_endings.end(), [&folder](const char* ending) {
        return folder.size() > qsizetype(qstrlen(ending)) && folder.endsWith(ending);
    });
}

QByteArray place_of_message(qint64 number)
{
    QByteArray place = "/Data";
    for (qint64 thousands = number / 1000; thousands > 0; thousands /= 10) {
        place += '/';
        place += char('0' + thousands % 10);
    }
    return place + "/Messages";
}

QByteArray account_of(const mailbox_address& address)
{
    return address.user.isEmpty() ? address.host : address.user + '@' + address.host;
}

account_folders by_lower_case(const QList<QByteArray>& folders)
{
    account_folders by_name;
    for (const QByteArray& folder : folders) {
        if (const QByteArray name = folder.toLower(); !by_name.contains(name)) {
            by_name.insert(name, folder);
        }
    }
    return by_name;
}

QByteArray folder_of(const mailbox_address& address, const account_folders& folders)
{
    const QByteArray account = account_of(address);
    QList<QByteArray> fitting{account};
    for (const QByteArray& named : {account, address.user}) {
        for (const auto& [scheme, prefix] : folder_prefixes) {
            if (address.scheme == scheme && !named.isEmpty()) {
                fitting.append(prefix + named);
            }
        }
    }
    const bool is_local = address.scheme == "local" || address.scheme == "mailbox";
    if (is_local && address.user.isEmpty() && naming_of(address.host) != folder_naming::identifier) {
        fitting.append(local_folder);
    }
    for (const QByteArray& name : std::as_const(fitting)) {
        const auto folder = folders.constFind(name.toLower());
        if (!name.isEmpty() && folder != folders.constEnd()) {
            return *folder;
        }
    }
    return {};
}
