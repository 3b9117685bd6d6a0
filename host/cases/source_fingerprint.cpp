#include "host/cases/source_fingerprint.h"

#include "host/files/file_tree.h"
#include "host/files/hashing.h"
#include "host/files/quiet_reading.h"
#include "host/source/folder_names.h"
#include "host/source/source_users.h"
#include "host/source/system_version.h"
#include "host/text/display_text.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <map>

namespace {

// The first pages of an account store hold its header and schema and, on most Macs, every account.
constexpr qint64 most_bytes_of_store = 4 << 20;
constexpr const char* store_names[] = {"Accounts4.sqlite", "Accounts3.sqlite"};

class fingerprint_collector
{
public:
    explicit fingerprint_collector(const QString& path) : root(QFile::encodeName(path)) {}

    source_fingerprint collect()
    {
        const directory_listing listing = list_kinds(root);
        if (!listing.error.isEmpty()) {
            identity.error = QStringLiteral("%1: %2").arg(display_text(root), listing.error);
            return identity;
        }
        if (listing.entries.empty()) {
            // No volume of a Mac is, and what is mounted there later is the source.
            identity.error =
                QStringLiteral("%1: it is empty, as a directory is where no disk is mounted").arg(display_text(root));
            return identity;
        }
        const user_names users = find_users(root);
        if (users.blocked) {
            // Whose stores and folders there are would be known in part, and the rest would seem to be new later.
            identity.error = QStringLiteral("%1: %2").arg(display_text(root), users.blocked->text());
            return identity;
        }
        add_system();
        QStringList names;
        for (const QByteArray& user : users.names) {
            names.append(display_text(user));
            add_user(user);
        }
        add("users", names.join(QLatin1Char('/')), false);
        std::sort(identity.facts.begin(), identity.facts.end(),
                  [](const fingerprint_fact& one, const fingerprint_fact& other) { return one.name < other.name; });
        return identity;
    }

private:
    void add(const QString& name, const QString& value, bool is_distinguishing)
    {
        identity.facts.append({name, value, is_distinguishing && !value.isEmpty()});
    }

    /// The fact then has no value.
    void note_unreadable(const QByteArray& path, const QString& reason)
    {
        identity.unreadable.append(QStringLiteral("%1: %2").arg(display_text(child_path(root, path)), reason));
    }

    void add_system()
    {
        const system_statement stated = read_system_statement(root);
        add("system version", stated.version, false);
        if (const entry_facts told = quiet_stat(child_path(root, system_version_path));
            stated.version.isEmpty() && told.kind != entry_kind::absent) {
            note_unreadable(system_version_path,
                            stated.error.isEmpty() ? QStringLiteral("states no system version") : stated.error);
        }
        const QByteArray path = "private/var/db/.AppleSetupDone";
        const entry_facts setup = quiet_stat(child_path(root, path));
        if (setup.kind == entry_kind::unknown) {
            add("time of first set-up", {}, true);
            note_unreadable(path, setup.error);
        } else if (setup.kind == entry_kind::file) {
            add("time of first set-up",
                QStringLiteral("%1.%2")
                    .arg(setup.modified.seconds)
                    .arg(setup.modified.nanoseconds, 9, 10, QLatin1Char('0')),
                true);
        }
    }

    void add_user(const QByteArray& user)
    {
        const QByteArray accounts = account_folder_of(user) + '/';
        for (const char* name : store_names) {
            const QByteArray store = accounts + name;
            const entry_kind kind = quiet_stat(child_path(root, store)).kind;
            if (kind == entry_kind::file || kind == entry_kind::unknown) {
                add(display_text(store), store_value(store), true);
            }
        }
        add_mail_folders(user);
    }

    QString store_value(const QByteArray& store)
    {
        const quiet_file file = quiet_open(child_path(root, store));
        const auto length = qsizetype(std::min(file.facts.size, most_bytes_of_store));
        quiet_data head = quiet_read_head(file, length);
        if (head.error.isEmpty() && head.data.size() != length) {
            head.error = QStringLiteral("ended at byte %1 of %2").arg(head.data.size()).arg(file.facts.size);
        }
        if (!head.error.isEmpty()) {
            note_unreadable(store, head.error);
            return {};
        }
        return QStringLiteral("%1 bytes, SHA-256 of the beginning %2").arg(file.facts.size).arg(hash_of(head.data));
    }

    void add_mail_folders(const QByteArray& user)
    {
        const QByteArray mail = mail_directory_of(user);
        if (quiet_stat(child_path(root, mail)).kind == entry_kind::absent) {
            return;
        }
        QByteArray names;
        bool has_identifier = false;
        bool is_whole = true;
        for (const named_entry& version : list(mail, is_whole)) {
            if (!is_version_name(version.name)) {
                continue;
            }
            for (const named_entry& folder : list(child_path(mail, version.name), is_whole)) {
                const folder_naming naming = naming_of(folder.name);
                names += naming == folder_naming::other ? QByteArray() : version.name + '/' + folder.name + '\0';
                has_identifier = has_identifier || naming == folder_naming::identifier;
            }
        }
        add(display_text(mail) + QStringLiteral(", names of its account folders"),
            is_whole ? hash_of(names) : QString(), has_identifier);
    }

    static QString hash_of(const QByteArray& bytes)
    {
        return QString::fromLatin1(digest_to_hex(hasher_of_thread().hash(bytes)));
    }

    std::vector<named_entry> list(const QByteArray& path, bool& is_whole)
    {
        directory_listing listing = list_kinds(child_path(root, path));
        if (!listing.error.isEmpty()) {
            is_whole = false;
            note_unreadable(path, listing.error);
        }
        return std::move(listing.entries);
    }

    QByteArray root;
    source_fingerprint identity;
};

std::map<QString, fingerprint_fact> by_name(const source_fingerprint& identity)
{
    std::map<QString, fingerprint_fact> facts;
    for (const fingerprint_fact& fact : identity.facts) {
        facts.emplace(fact.name, fact);
    }
    return facts;
}

} // namespace

source_fingerprint take_fingerprint(const QString& source)
{
    return fingerprint_collector(source).collect();
}

QJsonObject fingerprint_to_json(const source_fingerprint& identity)
{
    QJsonArray facts;
    for (const fingerprint_fact& fact : identity.facts) {
        facts.append(
            QJsonObject{{"name", fact.name}, {"value", fact.value}, {"distinguishing", fact.is_distinguishing}});
    }
    return {{"facts", facts}};
}

source_fingerprint fingerprint_from_json(const QJsonObject& object)
{
    source_fingerprint identity;
    for (const QJsonValue value : object["facts"].toArray()) {
        const QJsonObject fact = value.toObject();
        if (const QString name = fact["name"].toString(); !name.isEmpty()) {
            identity.facts.append({name, fact["value"].toString(), fact["distinguishing"].toBool()});
        }
    }
    return identity;
}

QString fingerprint_sum(const source_fingerprint& identity)
{
    const QByteArray text = QJsonDocument(fingerprint_to_json(identity)).toJson(QJsonDocument::Compact);
    return QString::fromLatin1(digest_to_hex(hasher_of_thread().hash(text)));
}

QStringList fingerprint_differences(const source_fingerprint& recorded, const source_fingerprint& found)
{
    const std::map<QString, fingerprint_fact> then = by_name(recorded);
    const std::map<QString, fingerprint_fact> now = by_name(found);
    QStringList differences;
    for (const auto& [name, fact] : then) {
        const auto other = now.find(name);
        if (fact.value.isEmpty()) {
            // Nobody could tell then, not even whether there was such a thing.
            continue;
        }
        if (other == now.end()) {
            differences.append(name + QStringLiteral(" is not there"));
        } else if (other->second.value != fact.value && !other->second.value.isEmpty()) {
            differences.append(name + QStringLiteral(" is another"));
        }
    }
    for (const auto& [name, fact] : now) {
        if (!then.contains(name) && !fact.value.isEmpty()) {
            differences.append(name + QStringLiteral(" was not there"));
        }
    }
    return differences;
}

bool is_same_source(const source_fingerprint& one, const source_fingerprint& other)
{
    const auto distinguishes = [](const fingerprint_fact& fact) { return fact.is_distinguishing; };
    return one.facts == other.facts && std::any_of(one.facts.begin(), one.facts.end(), distinguishes);
}
