#include "host/survey/survey.h"

#include "host/files/file_tree.h"
#include "host/files/property_list.h"
#include "host/source/access_advice.h"
#include "host/source/copy_walk.h"
#include "host/source/source_users.h"
#include "host/survey/listings_ahead.h"
#include "host/survey/mail_directory_survey.h"

#include <algorithm>
#include <cerrno>
#include <future>
#include <initializer_list>
#include <system_error>
#include <vector>

namespace {

// The real one has less than a kilobyte; of what stands in its place, some takes a time that grows with its square.
constexpr qint64 largest_property_list = 1 << 16;

void note_unreadable(source_survey& survey, const blocked_look& look)
{
    survey.note_unreadable(look.path, look.reason, look.error_number);
}

/// Says why there is no Mail directory where it is more than missing.
void note_broken_way(source_survey& survey, std::initializer_list<QByteArray> way)
{
    for (const QByteArray& path : way) {
        if (quiet_stat(path).kind == entry_kind::link) {
            note_if_broken(survey, path);
        }
    }
}

void find_live_version(source_survey& survey, user_survey& user, const QByteArray& mail_directory)
{
    const QByteArray path = child_path(mail_directory, "PersistenceInfo.plist");
    const quiet_data read = quiet_read(path, largest_property_list);
    if (!read.error.isEmpty()) {
        const bool is_absent = quiet_stat(path).kind == entry_kind::absent;
        user.live_version_problem = is_absent ? QStringLiteral("there is none") : read.error;
        // Whose permission is lacking, the file's or a directory's, the walk through the directory finds out.
        if (!is_absent && read.error_number != 0 && read.error_number != EACCES) {
            survey.note_unreadable(below_source(survey.source, path), read.error, read.error_number);
        }
        return;
    }
    const property_list_value live = property_list_string(read.data, QStringLiteral("LastUsedVersionDirectoryName"));
    user.live_version = live.value;
    user.live_version_problem = live.error;
}

/// Returns the links that lead the way to Mail directories out of the source.
std::vector<link_problem> problems_on_the_way(const QByteArray& source, const std::vector<QByteArray>& mail_directories)
{
    copy_walk ways(source);
    for (const QByteArray& mail_directory : mail_directories) {
        ways.follow_way(mail_directory.left(mail_directory.lastIndexOf('/')));
        if (is_directory(mail_directory)) {
            ways.follow_way(mail_directory);
        }
    }
    return ways.problems();
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

void find_account_stores(source_survey& survey, user_survey& user)
{
    const QByteArray folder = account_folder_of(user.name);
    account_store_look look = look_for_account_stores(survey.source, folder);
    if (look.blocked) {
        user.stores_problem = look.blocked->text();
        note_unreadable(survey, *look.blocked);
    }
    for (const account_store& store : look.stores) {
        if (!store.problem.isEmpty()) {
            survey.note_unreadable(child_path(folder, store.name), store.problem, store.error_number);
        }
    }
    user.stores = std::move(look.stores);
}

user_survey survey_user(source_survey& survey, const QByteArray& name, const QByteArray& mail_directory,
                        const directory_lister& list)
{
    user_survey user;
    user.name = name;
    user.not_followed = below_source(survey.source, leaving_link(survey, mail_directory));
    if (user.not_followed.isEmpty()) {
        const directory_look look = look_for_directory(survey.source, mail_directory_of(name));
        user.mail_directory = look.found;
        if (look.blocked) {
            user.mail_problem = look.blocked->text();
            note_unreadable(survey, *look.blocked);
        }
    }
    if (user.mail_directory == presence::present) {
        survey_mail_directory(survey, user, mail_directory, list);
        find_live_version(survey, user, mail_directory);
    } else if (user.not_followed.isEmpty()) {
        note_broken_way(survey, {mail_directory.left(mail_directory.lastIndexOf('/')), mail_directory});
    }
    find_account_stores(survey, user);
    return user;
}

/// What one of two walks takes of the listings that they share.
class share_of_listings
{
public:
    share_of_listings(listings_ahead& all, listings_ahead::reader mine) : shared(all), who(mine) {}
    ~share_of_listings() { shared.leave(who); }
    Q_DISABLE_COPY_MOVE(share_of_listings)

    directory_lister lister() const
    {
        return [this](const QByteArray& path) { return shared.next(who, path); };
    }

private:
    listings_ahead& shared;
    const listings_ahead::reader who;
};

/// Returns the Mail directories that no link leads out of the source to.
std::vector<QByteArray> followed(const source_survey& survey, std::vector<QByteArray> mail_directories)
{
    std::erase_if(mail_directories,
                  [&survey](const QByteArray& directory) { return !leaving_link(survey, directory).isEmpty(); });
    return mail_directories;
}

/// Begins the forecast beside the survey: both go through everything, and neither has to wait for the other.
std::future<copy_forecast> begin_forecast(const QByteArray& source, const std::vector<QByteArray>& mail_directories,
                                          listings_ahead& ahead)
try {
    return std::async(std::launch::async, [source, mail_directories, &ahead] {
        const share_of_listings mine(ahead, listings_ahead::reader::second);
        return forecast_copies(source, mail_directories, mine.lister());
    });
} catch (const std::system_error&) {
    // A machine without a thread to spare.
    ahead.leave(listings_ahead::reader::second);
    return std::async(std::launch::deferred, forecast_copies, source, mail_directories, quiet_list);
}

} // namespace

QStringList source_survey::advice() const
{
    return access_advice(error_numbers);
}

bool source_survey::has_mail() const
{
    return std::any_of(users.begin(), users.end(),
                       [](const user_survey& user) { return user.mail_directory == presence::present; });
}

void source_survey::note_unreadable(const QByteArray& path, const QString& reason, int error_number)
{
    // The same closed directory lies on the way to mail and to account stores.
    if (unreadable_paths.insert(path).second) {
        unreadable.push_back({path, reason});
        error_numbers.insert(error_number);
    }
}

source_survey survey_source(const QByteArray& source, const QString& result)
{
    source_survey survey;
    survey.source = resolved_path(source);
    if (const directory_listing listing = quiet_list(source); !listing.error.isEmpty() || survey.source.isEmpty()) {
        survey.error = (QStringList{listing.error} + access_advice({listing.error_number})).join(QStringLiteral("; "));
        return survey;
    }
    const user_names found = find_users(survey.source);
    if (found.blocked) {
        survey.users_problem = found.blocked->text();
        note_unreadable(survey, *found.blocked);
    }
    const std::vector<QByteArray> mail_directories = mail_directories_of(survey.source, found.names);
    survey.link_problems = problems_on_the_way(survey.source, mail_directories);
    listings_ahead ahead(followed(survey, mail_directories));
    std::future<copy_forecast> forecasting = begin_forecast(survey.source, mail_directories, ahead);
    {
        const share_of_listings mine(ahead, listings_ahead::reader::first);
        for (std::size_t index = 0; index < found.names.size(); ++index) {
            survey.users.push_back(survey_user(survey, found.names[index], mail_directories[index], mine.lister()));
        }
    }
    const copy_forecast forecast = forecasting.get();
    survey.link_problems = forecast.link_problems;
    for (link_problem& problem : survey.link_problems) {
        problem.path = below_source(survey.source, problem.path);
    }
    if (!result.isEmpty()) {
        survey.room = estimate_room(forecast, result, copying_way::in_bulk);
        survey.room->is_least = survey.room->is_least || found.blocked.has_value();
    }
    return survey;
}
