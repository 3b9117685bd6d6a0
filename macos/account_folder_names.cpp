#include "macos/account_folder_names.h"

#include <set>

namespace {

const QLatin1String imap_prefix("IMAP-");
const QLatin1String pop_prefix("POP-");
const QLatin1String imap_host("imap.");
const QLatin1String pop_host("pop3.");
/// The one host whose users have their address without it.
const QLatin1String web_mail_suffix("@pop3.live.com");

} // namespace

std::optional<QString> candidate_from_folder_name(QString name)
{
    if (!name.startsWith(imap_prefix) && !name.startsWith(pop_prefix)) {
        return name;
    }
    if (name.startsWith(imap_prefix)) {
        name.remove(imap_prefix);
    }
    if (name.startsWith(pop_prefix)) {
        name.remove(pop_prefix);
    }
    const QStringList parts = name.split(QLatin1Char('@'));
    if (parts.size() < 2) {
        return std::nullopt;
    }
    if (parts.size() == 2) {
        name.remove(imap_host);
        name.remove(pop_host);
    } else {
        // A full address as user name: what follows it is the server.
        name.remove(QLatin1Char('@') + parts.at(2));
    }
    return name;
}

std::optional<folder_account> account_from_folder_name(QStringView name)
{
    const QLatin1String imap("IMAP");
    const QLatin1String pop("POP");
    if (name.startsWith(imap)) {
        return folder_account{name.toString().remove(imap_prefix).remove(imap_host), imap};
    }
    if (name.startsWith(pop)) {
        return folder_account{name.toString().remove(pop_prefix).remove(web_mail_suffix), pop};
    }
    return std::nullopt;
}

QHash<QString, QString> last_path_by_ending(const QStringList& paths, const QStringList& endings)
{
    // Few lengths and many endings: one look a length finds what comparing with every ending would.
    QHash<QStringView, const QString*> found;
    std::set<qsizetype> lengths;
    for (const QString& ending : endings) {
        found.insert(ending, nullptr);
        lengths.insert(ending.size());
    }
    for (const QString& path : paths) {
        for (const qsizetype length : lengths) {
            if (length > path.size()) {
                break;
            }
            if (const auto ending = found.find(QStringView(path).last(length)); ending != found.end()) {
                *ending = &path;
            }
        }
    }
    QHash<QString, QString> paths_by_ending;
    for (auto ending = found.cbegin(); ending != found.cend(); ++ending) {
        if (*ending != nullptr) {
            paths_by_ending.insert(ending.key().toString(), **ending);
        }
    }
    return paths_by_ending;
}
