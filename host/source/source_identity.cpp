#include "host/source/source_identity.h"

#include "host/files/file_tree.h"
#include "host/files/quiet_reading.h"
#include "host/source/source_users.h"
#include "host/source/system_version.h"

#include <QDateTime>
#include <QSet>
#include <QTimeZone>

#include <algorithm>
#include <optional>

namespace {

QString birth_text(const entry_facts& facts)
{
    return facts.born ? QDateTime::fromMSecsSinceEpoch(facts.born->seconds * 1000, Qt::UTC).toString(Qt::ISODate)
                      : QString();
}

/// Says why the statement of the system's version was not read, though it may be there.
std::optional<blocked_look> blocked_statement(const QByteArray& source, const system_statement& statement)
{
    if (statement.error.isEmpty()) {
        return std::nullopt;
    }
    const QByteArray path = system_version_path;
    const directory_look folder = look_for_directory(source, path.left(path.lastIndexOf('/')));
    if (folder.found != presence::present) {
        return folder.blocked;
    }
    const bool is_absent = quiet_stat(child_path(source, path)).kind == entry_kind::absent;
    return is_absent ? std::nullopt : std::optional(blocked_look{path, statement.error, statement.error_number});
}

QString why_it_seems_another(const source_identity& recorded, const source_identity& found)
{
    if (recorded.system_version != found.system_version) {
        const auto shown = [](const QString& version) {
            return version.isEmpty() ? QStringLiteral("no system") : version;
        };
        return QStringLiteral("it holds %1, not %2").arg(shown(found.system_version), shown(recorded.system_version));
    }
    QSet<QString> names;
    for (const home_identity& home : found.homes) {
        names.insert(home.name);
    }
    const auto is_found = [&names](const home_identity& home) { return names.contains(home.name); };
    const auto known = std::count_if(recorded.homes.begin(), recorded.homes.end(), is_found);
    if (known * 2 < recorded.homes.size()) {
        return QStringLiteral("it has other users: %1 of the %2 recorded are there, among %3")
            .arg(QString::number(known), QString::number(recorded.homes.size()), QString::number(found.homes.size()));
    }
    return {};
}

} // namespace

source_identity identify_source(const QByteArray& source)
{
    source_identity identity;
    const system_statement statement = read_system_statement(source);
    identity.system_version = statement.version;
    if (const auto blocked = blocked_statement(source, statement)) {
        identity.blocked.append(blocked->text());
    }
    const user_names users = find_users(source);
    if (users.blocked) {
        identity.blocked.append(users.blocked->text());
    }
    for (const QByteArray& name : users.names) {
        const entry_facts home = quiet_stat(child_path(source, "Users/" + name), link_handling::follow);
        identity.homes.append({decoded_name(name), home.inode, birth_text(home)});
    }
    return identity;
}

QString why_another_source(const source_identity& recorded, const source_identity& found)
{
    const QString reason = why_it_seems_another(recorded, found);
    return reason.isEmpty() || found.blocked.isEmpty()
               ? reason
               : QStringLiteral("it could not be looked at: ") + found.blocked.join(QStringLiteral("; "));
}
