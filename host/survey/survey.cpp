#include "host/survey/survey.h"

#include "host/files/file_tree.h"
#include "host/files/property_list.h"
#include "host/source/account_stores.h"
#include "host/source/source_users.h"
#include "host/text/display_text.h"
#include "host/text/utf8.h"

#include <algorithm>
#include <initializer_list>

namespace {

constexpr qint64 largest_property_list = 1 << 20;

QByteArray below_source(const QByteArray& source, const QByteArray& path)
{
    return path.size() > source.size() && is_at_or_below(path, source)
               ? path.mid(source.endsWith('/') ? source.size() : source.size() + 1)
               : path;
}

QString no_permission()
{
    return QStringLiteral("no permission to read the file");
}

void note_if_broken(source_survey& survey, const QByteArray& link)
{
    const entry_facts target = quiet_stat(link, link_handling::follow);
    if (!target.error.isEmpty()) {
        survey.broken_links.push_back(
            {below_source(survey.source, link),
             QStringLiteral("link to %1: %2").arg(display_text(link_text(link)), target.error)});
    }
}

/// Says why there is no Mail directory where it is more than missing.
void note_unreachable(source_survey& survey, std::initializer_list<QByteArray> way)
{
    for (const QByteArray& path : way) {
        const entry_facts facts = quiet_stat(path);
        if (facts.kind == entry_kind::link) {
            note_if_broken(survey, path);
        } else if (facts.kind == entry_kind::unknown) {
            survey.unreadable.push_back({below_source(survey.source, path), facts.error});
        }
    }
}

/// Sorts the entries of one Mail directory into the user's totals and the survey's findings.
class mail_directory_survey
{
public:
    mail_directory_survey(source_survey& survey, user_survey& user) : whole(survey), owner(user) {}

    bool operator()(const tree_entry& entry)
    {
        note_findings(entry);
        whole.links += entry.facts.kind == entry_kind::link ? 1 : 0;
        const qsizetype depth = entry.relative_path.count('/');
        if (entry.facts.kind == entry_kind::directory && !entry.hidden) {
            open_folder(entry, depth);
        } else if (entry.facts.kind == entry_kind::file) {
            count(entry, depth);
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
        if (!facts.error.isEmpty() || !entry.listing_error.isEmpty()) {
            note(whole.unreadable, entry.path, facts.error.isEmpty() ? entry.listing_error : facts.error);
        } else if (facts.kind == entry_kind::file && !quiet_is_readable(entry.path)) {
            note(whole.unreadable, entry.path, no_permission());
        } else if (facts.kind == entry_kind::link) {
            note_if_broken(whole, entry.path);
        } else if (facts.kind != entry_kind::file && facts.kind != entry_kind::directory) {
            note(whole.special_files, entry.path, kind_text(facts.kind));
        }
        const QByteArray name = entry.relative_path.mid(entry.relative_path.lastIndexOf('/') + 1);
        if (!is_utf8(name)) {
            note(whole.undecodable_names, entry.path, QStringLiteral("the name is not UTF-8"));
        }
    }

    void open_folder(const tree_entry& entry, qsizetype depth)
    {
        const QByteArray name = entry.relative_path.mid(entry.relative_path.lastIndexOf('/') + 1);
        if (depth == 0 && !name.isEmpty()) {
            owner.folders.push_back({name, is_version_name(name), {}, {}, {}});
        } else if (depth == 1 && owner.folders.back().is_version) {
            owner.folders.back().folders.push_back({name, naming_of(name), {}});
        }
    }

    // A directory comes before its content and siblings in order, so an entry belongs to the folder opened last.
    void count(const tree_entry& entry, qsizetype depth)
    {
        const file_amount one{1, entry.facts.size};
        const bool is_in_folder = !owner.folders.empty() && is_below(entry.relative_path, owner.folders.back().name);
        if (entry.hidden) {
            owner.hidden += one;
            if (is_in_folder) {
                owner.folders.back().hidden += one;
            }
            return;
        }
        if (depth == 0) {
            owner.loose += one;
        }
        if (!is_in_folder) {
            return;
        }
        mail_folder& folder = owner.folders.back();
        folder.visible += one;
        if (depth > 1 && !folder.folders.empty()) {
            folder.folders.back().visible += one;
        }
    }

    static bool is_below(const QByteArray& path, const QByteArray& folder)
    {
        return path.size() > folder.size() && path[folder.size()] == '/' && path.startsWith(folder);
    }

    source_survey& whole;
    user_survey& owner;
};

void find_live_version(user_survey& user, const QByteArray& mail_directory)
{
    const QByteArray path = child_path(mail_directory, "PersistenceInfo.plist");
    const quiet_data read = quiet_read(path, largest_property_list);
    if (!read.error.isEmpty()) {
        const bool is_absent = quiet_stat(path).kind == entry_kind::absent;
        user.live_version_problem = is_absent ? QStringLiteral("there is none") : read.error;
        return;
    }
    const property_list_value live = property_list_string(read.data, QStringLiteral("LastUsedVersionDirectoryName"));
    user.live_version = live.value;
    user.live_version_problem = live.error;
}

std::optional<qint64> file_size(const QByteArray& path)
{
    const entry_facts facts = quiet_stat(path, link_handling::follow);
    return facts.kind == entry_kind::file ? std::optional(facts.size) : std::nullopt;
}

/// Returns the link that leads the way to `path` out of the source; empty when none does.
QByteArray leaving_link(const source_survey& survey, const QByteArray& path)
{
    for (const link_problem& problem : survey.link_problems) {
        if (problem.kind == link_problem_kind::leaves_source && is_at_or_below(path, problem.path)) {
            return problem.path;
        }
    }
    return {};
}

void find_account_stores(source_survey& survey, user_survey& user, const QByteArray& accounts_directory)
{
    const auto size_inside = [&](const QByteArray& path) {
        return leaving_link(survey, path).isEmpty() ? file_size(path) : std::nullopt;
    };
    for (const char* name : account_store_names) {
        const QByteArray path = child_path(accounts_directory, name);
        const auto bytes = size_inside(path);
        if (!bytes) {
            continue;
        }
        user.stores.push_back({name, *bytes, size_inside(path + "-wal"), size_inside(path + "-shm")});
        if (!quiet_is_readable(path)) {
            survey.unreadable.push_back({below_source(survey.source, path), no_permission()});
        }
    }
}

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

user_survey survey_user(source_survey& survey, const QByteArray& name, const QByteArray& mail_directory)
{
    user_survey user;
    user.name = name;
    const QByteArray library = mail_directory.left(mail_directory.lastIndexOf('/'));
    user.not_followed = below_source(survey.source, leaving_link(survey, mail_directory));
    if (user.not_followed.isEmpty()) {
        user.has_mail_directory = is_directory(mail_directory);
    }
    if (user.has_mail_directory) {
        walk_tree(mail_directory, mail_directory_survey(survey, user));
        std::sort(user.folders.begin(), user.folders.end(), precedes);
        find_live_version(user, mail_directory);
    } else if (user.not_followed.isEmpty()) {
        note_unreachable(survey, {library, mail_directory});
    }
    find_account_stores(survey, user, child_path(library, "Accounts"));
    return user;
}

} // namespace

source_survey survey_source(const QByteArray& source, const QString& result)
{
    source_survey survey;
    survey.source = resolved_path(source);
    if (const QString error = quiet_list(source).error; !error.isEmpty() || survey.source.isEmpty()) {
        survey.error = error;
        return survey;
    }
    const QByteArray users_directory = child_path(survey.source, "Users");
    if (const QString error = quiet_list(users_directory).error; !error.isEmpty()) {
        survey.unreadable.push_back({"Users", error});
    }
    const std::vector<QByteArray> names = find_users(survey.source);
    const std::vector<QByteArray> mail_directories = mail_directories_of(survey.source, names);
    const copy_forecast forecast = forecast_copies(survey.source, mail_directories);
    survey.link_problems = forecast.link_problems;
    for (std::size_t index = 0; index < names.size(); ++index) {
        survey.users.push_back(survey_user(survey, names[index], mail_directories[index]));
    }
    for (link_problem& problem : survey.link_problems) {
        problem.path = below_source(survey.source, problem.path);
    }
    if (!result.isEmpty()) {
        survey.room = estimate_room(forecast, result);
    }
    return survey;
}
