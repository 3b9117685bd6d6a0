#include "host/survey/mail_directory_survey.h"

#include "host/files/file_tree.h"
#include "host/files/nearby_files.h"
#include "host/text/display_text.h"
#include "host/text/utf8.h"

#include <algorithm>
#include <cerrno>

namespace {

QByteArray last_name(const QByteArray& path)
{
    return path.mid(path.lastIndexOf('/') + 1);
}

bool is_below(const QByteArray& path, const QByteArray& folder)
{
    return path.size() > folder.size() && path[folder.size()] == '/' && path.startsWith(folder);
}

class mail_directory_survey
{
public:
    mail_directory_survey(source_survey& survey, user_survey& user) : whole(survey), owner(user) {}

    bool take(const tree_entry& entry)
    {
        note_findings(entry);
        whole.links += entry.facts.kind == entry_kind::link ? 1 : 0;
        const qsizetype depth = entry.relative_path.count('/');
        if (entry.facts.kind == entry_kind::directory && !entry.hidden) {
            open_folder(entry, depth);
        } else if (entry.facts.kind == entry_kind::file) {
            count(entry, depth);
        }
        if (!entry.facts.error.isEmpty() || !entry.listing_error.isEmpty()) {
            count_unknown(entry, depth);
        }
        return true;
    }

private:
    void note(std::vector<survey_finding>& findings, const QByteArray& path, const QString& reason)
    {
        findings.push_back({below_source(whole.source, path), reason});
    }

    void note_findings(const tree_entry& entry)
    {
        const entry_facts& facts = entry.facts;
        const QByteArray path = below_source(whole.source, entry.path);
        if (!facts.error.isEmpty()) {
            whole.note_unreadable(path, facts.error, facts.error_number);
        } else if (!entry.listing_error.isEmpty()) {
            whole.note_unreadable(path, QStringLiteral("content unknown: ") + entry.listing_error,
                                  entry.listing_error_number);
        } else if (facts.kind == entry_kind::file && !files.may_read(entry.path)) {
            whole.note_unreadable(path, QStringLiteral("no permission to read the file"), EACCES);
        } else if (facts.kind == entry_kind::link) {
            note_if_broken(whole, entry.path);
        } else if (facts.kind != entry_kind::file && facts.kind != entry_kind::directory) {
            note(whole.special_files, entry.path, kind_text(facts.kind));
        }
        if (!is_utf8(last_name(entry.relative_path))) {
            note(whole.undecodable_names, entry.path, QStringLiteral("the name is not UTF-8"));
        }
    }

    void open_folder(const tree_entry& entry, qsizetype depth)
    {
        const QByteArray name = last_name(entry.relative_path);
        if (depth == 0 && !name.isEmpty()) {
            owner.folders.push_back({name, is_version_name(name), {}, {}, {}, {}});
        } else if (depth == 1 && owner.folders.back().is_version) {
            owner.folders.back().folders.push_back({name, naming_of(name), {}, {}});
        }
    }

    // A directory comes before its content and siblings in order, so an entry belongs to the folder opened last.
    mail_folder* folder_of(const QByteArray& path)
    {
        const bool is_in_folder = !owner.folders.empty() && is_below(path, owner.folders.back().name);
        return is_in_folder ? &owner.folders.back() : nullptr;
    }

    void count(const tree_entry& entry, qsizetype depth)
    {
        const file_amount one{1, entry.facts.size};
        mail_folder* folder = folder_of(entry.relative_path);
        if (entry.hidden) {
            owner.hidden += one;
            if (folder) {
                folder->hidden += one;
            }
            return;
        }
        if (depth == 0) {
            owner.loose += one;
        }
        if (!folder) {
            return;
        }
        folder->visible += one;
        if (depth > 1 && !folder->folders.empty()) {
            folder->folders.back().visible += one;
        }
    }

    void count_unknown(const tree_entry& entry, qsizetype depth)
    {
        if (entry.relative_path.isEmpty()) {
            owner.unknown.is_whole = true;
            owner.mail_problem = QStringLiteral("content unknown: ") + entry.listing_error;
            return;
        }
        ++owner.unknown.places;
        if (!entry.hidden && depth == 0 && entry.facts.kind == entry_kind::directory) {
            owner.folders.back().unknown.is_whole = true;
            return;
        }
        mail_folder* folder = folder_of(entry.relative_path);
        if (!folder) {
            return;
        }
        ++folder->unknown.places;
        if (entry.hidden || folder->folders.empty()) {
            return;
        }
        account_folder& account = folder->folders.back();
        if (depth == 1 && entry.facts.kind == entry_kind::directory) {
            account.unknown.is_whole = true;
        } else if (depth > 1) {
            ++account.unknown.places;
        }
    }

    source_survey& whole;
    user_survey& owner;
    nearby_files files;
};

/// Version directories come first and by their number, "V9" before "V10".
bool precedes(const mail_folder& left, const mail_folder& right)
{
    if (left.is_version != right.is_version) {
        return left.is_version;
    }
    if (left.is_version && left.name.size() != right.name.size()) {
        return left.name.size() < right.name.size();
    }
    return left.name < right.name;
}

} // namespace

QByteArray below_source(const QByteArray& source, const QByteArray& path)
{
    return path.size() > source.size() && is_at_or_below(path, source)
               ? path.mid(source.endsWith('/') ? source.size() : source.size() + 1)
               : path;
}

void note_if_broken(source_survey& survey, const QByteArray& link)
{
    const entry_facts target = quiet_stat(link, link_handling::follow);
    if (target.error.isEmpty()) {
        return;
    }
    const QByteArray path = below_source(survey.source, link);
    const QString reason = QStringLiteral("link to %1: %2").arg(display_text(link_text(link)), target.error);
    if (target.kind == entry_kind::unknown) {
        survey.note_unreadable(path, reason, target.error_number);
    } else {
        survey.broken_links.push_back({path, reason});
    }
}

void survey_mail_directory(source_survey& survey, user_survey& user, const QByteArray& mail_directory,
                           const directory_lister& list)
{
    mail_directory_survey surveying(survey, user);
    walk_tree(
        mail_directory, [&surveying](const tree_entry& entry) { return surveying.take(entry); }, list);
    std::sort(user.folders.begin(), user.folders.end(), precedes);
}
