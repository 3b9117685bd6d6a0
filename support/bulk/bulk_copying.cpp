#include "support/bulk/bulk_copying.h"

#include <QDir>
#include <QFile>

#include <algorithm>
#include <cerrno>
#include <system_error>

#include <sys/stat.h>

namespace {

// A job is large enough not to be felt, small enough that the threads end together.
constexpr std::size_t files_in_job = 256;
// Each holds two descriptors, of which a process may have no more than 256.
constexpr std::size_t jobs_at_once = 32;
// What may wait behind one long file.
constexpr std::size_t files_at_once = 4096;
/// Directories on the way down that stay open at the destination.
constexpr qsizetype levels_kept_open = 24;

/// One line: what failed, where, and the system's reason.
QByteArray problem_text(const QByteArray& path, const QByteArray& step, int error, qint64 offset)
{
    QByteArray reason = error == 0 ? QByteArray("the file ends early")
                                   : QByteArray::fromStdString(std::generic_category().message(error));
    if (offset > 0 || error == 0) {
        reason += " at byte " + QByteArray::number(offset);
    }
    return path + ": " + step + ": " + reason;
}

/// Steps that look at the source; the others are about the destination.
bool is_of_source(const QByteArray& step)
{
    return step == "open" || step == "read" || step == "examine" || step == "list";
}

} // namespace

bulk_copier::bulk_copier(const std::atomic<bool>& cancelled, content_hashing hashing, report reported,
                         std::function<void()> on_wait)
    : cancel_requested(cancelled)
    , tell(std::move(reported))
    , waiting(std::move(on_wait))
    , crew(cancelled, hashing)
{
}

bool bulk_copier::copy_tree(const QByteArray& source, const QByteArray& destination)
{
    destination_root = destination;
    destinations.clear();
    const bool is_whole = walk_tree_as_copied(source, *this);
    files.clear();
    source_directory.reset();
    return is_whole;
}

void bulk_copier::finish()
{
    wait_for_room(0, 0);
}

void bulk_copier::sync(const QByteArray& destination)
{
    finish();
    if (!sync_file_system(destination.constData())) {
        report_problem(copied_file::outcome::unsynced, {}, destination, "sync", errno);
        report_what_is_ready();
    }
}

void bulk_copier::enter(const walked_directory_ptr& directory)
{
    source_directory = directory;
    open_destination_of(*directory);
}

/// Makes and opens the directory that takes the files of the one entered.
void bulk_copier::open_destination_of(const walked_directory& directory)
{
    copy_directory_end end;
    if (directory.depth == 0) {
        end.path = destination_root;
        QDir().mkpath(QFile::decodeName(destination_root));
        end.descriptor = open_destination(current_directory(), end.path.constData());
    } else {
        const copy_directory_end& parent = *destinations.at(std::size_t(directory.depth - 1));
        const QByteArray name = directory.path.mid(directory.path.lastIndexOf('/') + 1);
        end.path = parent.path + '/' + name;
        const bool by_name = parent.descriptor.is_open();
        const int base = by_name ? parent.descriptor.get() : current_directory();
        const QByteArray& target = by_name ? name : end.path;
        if (end.path.size() >= path_limit()) {
            errno = ENAMETOOLONG;
        } else if (::mkdirat(base, target.constData(), 0777) == 0 || errno == EEXIST) {
            // One that is there is used, be it a link; whatever else stands in the way shows now.
            end.descriptor = open_destination(base, target.constData());
        }
    }
    end.error = end.descriptor.is_open() ? 0 : errno;
    if (end.error != 0) {
        report_problem(copied_file::outcome::unlisted, directory.path, end.path, "create directory", end.error);
    }
    destinations.resize(std::size_t(directory.depth));
    destinations.push_back(std::make_shared<copy_directory_end>(std::move(end)));
}

bool bulk_copier::take(walked_file file)
{
    if (cancel_requested) {
        return false;
    }
    files.push_back(std::move(file));
    if (files.size() == files_in_job || !has_begun) {
        hand_over_files();
    }
    return !cancel_requested;
}

bool bulk_copier::end_files(int error)
{
    hand_over_files();
    if (error != 0) {
        report_problem(copied_file::outcome::unlisted, source_directory->path, destinations.back()->path, "list",
                       error);
    }
    // What lies deeper finds its way by paths, so that a deep tree cannot use up the descriptors.
    if (source_directory->depth >= levels_kept_open) {
        const copy_directory_end& end = *destinations.back();
        destinations.back() = std::make_shared<copy_directory_end>(copy_directory_end{end.path, end.error, {}});
    }
    source_directory.reset();
    return !cancel_requested;
}

void bulk_copier::miss(const QByteArray& path, int error)
{
    report_problem(copied_file::outcome::unlisted, path, {}, "open", error);
}

void bulk_copier::hand_over_files()
{
    if (files.empty()) {
        return;
    }
    wait_for_room(jobs_at_once - 1, files_at_once);
    const auto job = std::make_shared<copy_job>(source_directory, destinations.back(), std::exchange(files, {}));
    files_queued += job->files.size();
    queue.push_back({job, {}});
    crew.add(job);
    if (!has_begun) {
        has_begun = true;
        finish();
    }
}

/// Reports until no more than so many jobs are unfinished and so many files unreported.
void bulk_copier::wait_for_room(std::size_t jobs, std::size_t most_files)
{
    report_what_is_ready();
    while (crew.unfinished() > jobs || files_queued > most_files) {
        crew.wait_for_progress();
        report_what_is_ready();
        waiting();
    }
    report_what_is_ready();
}

void bulk_copier::report_what_is_ready()
{
    while (!queue.empty()) {
        if (!queue.front().job) {
            const copied_file notice = std::move(queue.front().notice);
            queue.pop_front();
            tell(notice);
            continue;
        }
        const std::shared_ptr<copy_job> job = queue.front().job;
        for (std::size_t& next = queue.front().reported; next < job->files.size(); ++next) {
            if (!job->is_ready(next)) {
                return;
            }
            --files_queued;
            report_file(*job, next);
        }
        queue.pop_front();
    }
}

void bulk_copier::report_file(const copy_job& job, std::size_t file)
{
    const copy_outcome& outcome = job.outcomes[file];
    if (!outcome.was_begun) {
        return;
    }
    bytes_reported += outcome.bytes;
    copied_file told;
    told.result = outcome.result;
    told.source_path = job.source_path + '/' + job.files[file].name;
    told.destination_path = job.destination_path + '/' + job.files[file].name;
    told.size = outcome.source.size;
    told.bytes_copied = outcome.bytes;
    told.modified_s = outcome.source.modified.tv_sec;
    told.modified_ns = static_cast<qint32>(outcome.source.modified.tv_nsec);
    if (outcome.result == copied_file::outcome::copied || outcome.result == copied_file::outcome::changed) {
        told.sha256 = outcome.sha256;
        told.beginning = outcome.beginning;
    }
    told.step = outcome.step;
    told.error = outcome.error;
    told.offset = outcome.offset;
    if (!told.step.isEmpty()) {
        told.error_text = problem_text(is_of_source(told.step) ? told.source_path : told.destination_path, told.step,
                                       told.error, told.offset);
    }
    if (outcome.is_left) {
        told.error_text += told.error_text.isEmpty() ? told.destination_path + ": " : QByteArray("; ");
        told.error_text += "what was begun could not be removed";
    }
    tell(told);
}

void bulk_copier::report_problem(copied_file::outcome result, const QByteArray& source, const QByteArray& destination,
                                 const char* step, int error)
{
    copied_file notice;
    notice.result = result;
    notice.source_path = source;
    notice.destination_path = destination;
    notice.step = step;
    notice.error = error;
    notice.error_text = problem_text(is_of_source(step) ? source : destination, step, error, 0);
    queue.push_back({nullptr, notice});
}
