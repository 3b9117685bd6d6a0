#include "host/row_check/expected_rows.h"

#include "host/files/file_tree.h"
#include "host/row_check/store_pairs.h"
#include "host/text/display_text.h"
#include "host/text/utf8.h"

#include <QFile>
#include <QHash>
#include <QSet>

#include <algorithm>
#include <cerrno>
#include <set>

namespace {

const QLatin1String mail_literal("/Library/Mail");

// Real identifiers have one length and name one folder each. A forged store may have many, which end each other.
constexpr std::size_t most_lengths = 16;
constexpr std::size_t most_choices = 16;

/// Finds out for one Mail version and its store what the plug-in's look-ups must have found.
class store_expectation
{
public:
    store_expectation(const row_check_request& asked, const store_pair& both, row_expectation& whole)
        : request(asked)
        , pair(both)
        , expectation(whole)
    {
    }

    void add_rows();

private:
    struct entry
    {
        QByteArray path; ///< below the source
        bool is_directory = false;
    };

    void list_entries();
    void index_rows();
    const account_row_key* only_row_for(const QString& candidate) const;
    bool leads_to_name(const account_row_key& row) const;
    void index_entries(const std::vector<const account_row_key*>& found);
    void expect(const account_row_key& row);

    const row_check_request& request;
    const store_pair& pair;
    row_expectation& expectation;
    std::vector<entry> entries;
    QMultiHash<QString, const account_row_key*> rows_by_name; ///< by identifier, and by user name
    QSet<qint64> keys;
    QMultiHash<QString, const entry*> entries_by_ending;
};

QString text_of(const row_check_request& request, const QByteArray& path)
{
    return QFile::decodeName(child_path(request.source, path));
}

expected_folder folder_at(const row_check_request& request, const QByteArray& path, const QString& place)
{
    expected_folder folder{path, place, {}};
    const entry_facts facts = quiet_stat(child_path(request.source, path), link_handling::follow);
    if (const auto known = request.files.find({facts.device, facts.inode}); known != request.files.end()) {
        folder.files = known->second;
    }
    return folder;
}

/// What the plug-in looks a folder up by; empty for a name of the older kind that holds no address.
QString candidate_of(QString name)
{
    const QString imap = QStringLiteral("IMAP-");
    const QString pop = QStringLiteral("POP-");
    if (!name.startsWith(imap) && !name.startsWith(pop)) {
        return name;
    }
    name.remove(name.startsWith(imap) ? imap : pop);
    if (name.startsWith(pop)) {
        name.remove(pop);
    }
    const QStringList parts = name.split(u'@');
    if (parts.size() == 2) {
        return name.remove(QStringLiteral("imap.")).remove(QStringLiteral("pop3."));
    }
    return parts.size() < 2 ? QString() : name.remove(u'@' + parts[2]);
}

void store_expectation::list_entries()
{
    const QByteArray directory = child_path(request.source, pair.version);
    const directory_listing listing = quiet_list(directory);
    if (!listing.error.isEmpty() && listing.error_number != ENOTDIR && listing.error_number != ENOENT) {
        expectation.problems.append(QStringLiteral("%1: %2").arg(display_text(pair.version), listing.error));
    }
    for (const named_entry& found : listing.entries) {
        // Names that are no Unicode are not seen by the plug-in at all.
        if (found.facts.hidden || !is_utf8(found.name)) {
            continue;
        }
        entry_kind kind = found.facts.kind;
        if (kind == entry_kind::link) {
            kind = quiet_stat(child_path(directory, found.name), link_handling::follow).kind;
        }
        if (kind != entry_kind::absent) {
            entries.push_back({child_path(pair.version, found.name), kind == entry_kind::directory});
        }
    }
}

void store_expectation::index_rows()
{
    for (const account_row_key& row : pair.store->rows) {
        keys.insert(row.key);
        rows_by_name.insert(row.identifier, &row);
        if (row.user_name != row.identifier) {
            rows_by_name.insert(row.user_name, &row);
        }
    }
}

/// Returns the row that a look-up finds; nothing where it finds none, or several, of which the database chooses one.
const account_row_key* store_expectation::only_row_for(const QString& candidate) const
{
    if (candidate.isEmpty() || candidate.contains(u'\'')) {
        return nullptr;
    }
    const auto [first, last] = rows_by_name.equal_range(candidate);
    return first != last && std::next(first) == last && (*first)->is_plain ? *first : nullptr;
}

bool store_expectation::leads_to_name(const account_row_key& row) const
{
    return row.parent ? keys.contains(*row.parent) : !row.user_name.isEmpty();
}

void store_expectation::index_entries(const std::vector<const account_row_key*>& found)
{
    QSet<QString> identifiers;
    std::set<qsizetype> lengths;
    for (const account_row_key* row : found) {
        identifiers.insert(row->identifier);
        lengths.insert(row->identifier.size());
    }
    if (lengths.size() > most_lengths) {
        return;
    }
    for (const entry& one : entries) {
        const QString path = text_of(request, one.path);
        for (const qsizetype length : lengths) {
            if (length > 0 && length <= path.size() && identifiers.contains(path.right(length))) {
                entries_by_ending.insert(path.right(length), &one);
            }
        }
    }
}

void store_expectation::expect(const account_row_key& row)
{
    expected_row expected{QFile::decodeName(pair.user), true, {}};
    const auto [first, last] = entries_by_ending.equal_range(row.identifier);
    for (auto one = first; one != last; ++one) {
        if (!(*one)->is_directory || expected.folders.size() == most_choices) {
            return;
        }
        const QString place = text_of(request, (*one)->path).split(mail_literal).value(1).trimmed();
        expected.folders.push_back(folder_at(request, (*one)->path, place));
    }
    if (!expected.folders.empty()) {
        expectation.rows.push_back(std::move(expected));
    }
}

void store_expectation::add_rows()
{
    list_entries();
    index_rows();
    std::vector<const account_row_key*> found;
    for (const entry& one : entries) {
        const QString name = QFile::decodeName(one.path.mid(one.path.lastIndexOf('/') + 1));
        const account_row_key* row = only_row_for(candidate_of(name));
        if (row != nullptr && leads_to_name(*row)) {
            found.push_back(row);
        }
    }
    index_entries(found);
    for (const account_row_key* row : found) {
        expect(*row);
    }
}

/// The rows of folders that are named by the kind of their account, wherever they lie.
void add_rows_of_folders(const row_check_request& request, row_expectation& expectation)
{
    for (const QByteArray& path : request.seen.account_folders()) {
        const entry_facts facts = quiet_stat(child_path(request.source, path), link_handling::follow);
        if (facts.kind != entry_kind::directory && facts.kind != entry_kind::unknown) {
            continue; // a link to no folder
        }
        if (!is_utf8(path)) {
            expectation.problems.append(
                QStringLiteral("%1: no row tells of this folder, as its path is not UTF-8").arg(display_text(path)));
            continue;
        }
        const QString text = text_of(request, path);
        const QString marker = mail_literal + QLatin1Char('/');
        const QString place = text.mid(text.indexOf(marker) + marker.size() - 1);
        const QString user = QFile::decodeName(path).section(u'/', 1, 1);
        expectation.rows.push_back({user, false, {folder_at(request, path, place)}});
    }
}

} // namespace

row_expectation expect_rows(const row_check_request& request)
{
    row_expectation expectation;
    for (const store_pair& pair : pairs_of_stores(request, expectation.problems)) {
        store_expectation(request, pair, expectation).add_rows();
    }
    add_rows_of_folders(request, expectation);
    return expectation;
}
