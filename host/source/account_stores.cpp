#include "host/source/account_stores.h"

#include "host/files/file_tree.h"
#include "host/files/quiet_reading.h"

#include <QtEndian>

#include <algorithm>

namespace {

// What every SQLite database begins with: 100 bytes, of which these tell its size.
constexpr qsizetype header_bytes = 100;
constexpr const char* header_magic = "SQLite format 3";
constexpr qsizetype page_size_at = 16;
constexpr qsizetype change_counter_at = 24;
constexpr qsizetype page_count_at = 28;
constexpr qsizetype counter_of_page_count_at = 92;

quint32 number_at(const QByteArray& header, qsizetype position)
{
    return qFromBigEndian<quint32>(header.constData() + position);
}

/// Says why this is the beginning of no whole database; empty when nothing speaks against it.
QString content_problem(const QByteArray& header, qint64 bytes, bool has_log)
{
    if (bytes == 0) {
        return QStringLiteral("is empty");
    }
    if (header.size() < header_bytes || !header.startsWith(QByteArray(header_magic, 16))) {
        return QStringLiteral("is damaged: not a database");
    }
    const qint64 stated = qFromBigEndian<quint16>(header.constData() + page_size_at);
    const qint64 page = stated == 1 ? 65536 : stated;
    if (page < 512 || (page & (page - 1)) != 0) {
        return QStringLiteral("is damaged: a database with pages of %1 bytes").arg(page);
    }
    // A write-ahead log may hold what the file lacks.
    const bool states_size = number_at(header, change_counter_at) == number_at(header, counter_of_page_count_at);
    const qint64 whole = states_size && !has_log ? page * number_at(header, page_count_at) : 0;
    if (bytes < std::max(whole, page)) {
        return QStringLiteral("is damaged: ends at byte %1 of %2").arg(bytes).arg(std::max(whole, page));
    }
    return {};
}

/// True when links lead from `path` out of the source.
bool leads_outside(const QByteArray& source, const QByteArray& path)
{
    const QByteArray target = resolved_path(path);
    return !target.isEmpty() && !is_at_or_below(target, resolved_path(source));
}

/// Returns the size of a store's companion; nothing where there is none, or, as the store's problem then says, nobody
/// knows.
std::optional<qint64> file_size(const QByteArray& source, const QByteArray& path, account_store& store)
{
    const entry_facts facts = quiet_stat(path, link_handling::follow);
    if (facts.kind == entry_kind::unknown) {
        store.problem = QStringLiteral("cannot be read: its %1: %2")
                            .arg(QString::fromLatin1(path.mid(path.lastIndexOf('-'))), facts.error);
        store.error_number = facts.error_number;
    }
    return facts.kind == entry_kind::file && !leads_outside(source, path) ? std::optional(facts.size) : std::nullopt;
}

account_store examined(const QByteArray& source, const QByteArray& path, const entry_facts& facts)
{
    account_store store;
    store.name = path.mid(path.lastIndexOf('/') + 1);
    store.wal_bytes = file_size(source, path + "-wal", store);
    store.shm_bytes = file_size(source, path + "-shm", store);
    if (!store.problem.isEmpty()) {
        return store;
    }
    if (facts.kind == entry_kind::absent) {
        store.problem = QStringLiteral("is a link that leads nowhere");
        return store;
    }
    if (facts.kind == entry_kind::unknown) {
        store.problem = QStringLiteral("cannot be read: ") + facts.error;
        store.error_number = facts.error_number;
        return store;
    }
    if (facts.kind != entry_kind::file) {
        store.problem = QStringLiteral("is no file: ") + kind_text(facts.kind);
        return store;
    }
    store.bytes = facts.size;
    const quiet_data head = quiet_read_head(path, header_bytes, link_handling::follow);
    if (!head.error.isEmpty()) {
        store.problem = QStringLiteral("cannot be read: ") + head.error;
        store.error_number = head.error_number;
    } else {
        store.problem = content_problem(head.data, facts.size, store.wal_bytes.value_or(0) > 0);
    }
    return store;
}

} // namespace

account_store_look look_for_account_stores(const QByteArray& source, const QByteArray& folder)
{
    account_store_look look;
    const directory_look way = look_for_directory(source, folder);
    if (way.found != presence::present || leads_outside(source, child_path(source, folder))) {
        look.blocked = way.blocked;
        return look;
    }
    for (const char* name : account_store_names) {
        const QByteArray path = child_path(child_path(source, folder), name);
        const entry_facts facts = quiet_stat(path, link_handling::follow);
        if (facts.kind == entry_kind::unknown && facts.error_number == EACCES) {
            look.blocked = blocked_look{folder, facts.error, facts.error_number};
            return look;
        }
        const bool is_there = facts.kind != entry_kind::absent || quiet_stat(path).kind == entry_kind::link;
        if (is_there && !leads_outside(source, path)) {
            look.stores.push_back(examined(source, path, facts));
        }
    }
    return look;
}
