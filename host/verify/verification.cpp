#include "host/verify/verification.h"

#include "host/files/file_tree.h"
#include "host/verify/copy_assignment.h"
#include "host/verify/copy_comparison.h"
#include "host/verify/ordered_pipeline.h"
#include "host/verify/stray_files.h"

#include <QDir>
#include <QFile>

namespace {

QByteArray absolute_path(const QString& path)
{
    return QFile::encodeName(QDir(path).absolutePath());
}

void take_in(verification_result& result, const copy_pair& pair)
{
    const manifest_entry& entry = pair.entry;
    ++result.summary.files;
    result.summary.bytes += entry.size;
    ++result.summary.totals[static_cast<std::size_t>(entry.status)];
    if (is_fault(entry.status) && ++result.failure_count <= qint64(most_named_failures)) {
        result.failures.push_back(entry);
    }
    if (pair.time_refused && ++result.time_refused_count == 1) {
        result.time_refused = entry;
    }
}

std::set<QByteArray> copy_directories_of(const copy_assignment& assignment)
{
    std::set<QByteArray> directories;
    for (const copied_user& user : assignment.users) {
        directories.insert(user.copy_directory);
    }
    return directories;
}

/// Returns what spares a pair the reading of its source; nothing when that must be read.
std::optional<known_source> known_source_of(const verification_request& request, const copy_pair& pair)
{
    const bool is_copied = request.known != nullptr && pair.task == pair_task::compare;
    std::optional<known_source> known = is_copied ? request.known->find(pair.entry.copy) : std::nullopt;
    return known && (known->digest || !known->problem.isEmpty()) ? known : std::nullopt;
}

/// Carries out a pair's task, with as little reading as the request asks for.
void complete(const verification_request& request, const QByteArray& source, const QByteArray& result, copy_pair& pair,
              pipeline_tools& tools, const std::function<bool(qint64)>& stop)
{
    if (request.without_reading) {
        look_at_copy(pair, request.known, result, tools);
        return;
    }
    if (const auto known = known_source_of(request, pair)) {
        complete_known_pair(pair, *known, result, tools, stop);
    } else {
        complete_pair(pair, source, result, tools, stop);
    }
}

} // namespace

file_amount verification_amount(const verification_request& request, const std::function<bool()>& cancelled)
{
    const QByteArray source = absolute_path(request.source);
    const QByteArray result = request.result.native_root();
    file_amount amount;
    const pair_visitor visitor{[&](copy_pair&& pair) {
                                   amount += {1, pair.entry.size};
                                   return amount.files % 1000 != 0 || !cancelled();
                               },
                               [](const QByteArray&) { return true; }};
    const bool complete = walk_copy_pairs(
        source, result, assign_copies(source, request.result, request.users, request.unnamed_users).users, visitor);
    return complete ? amount : file_amount();
}

verification_result verify_copies(const verification_request& request,
                                  const std::function<void(qint64 files, qint64 bytes)>& progress,
                                  const std::function<bool()>& cancelled)
{
    const QByteArray source = absolute_path(request.source);
    const QByteArray result = request.result.native_root();
    const QByteArray evidence = request.result.relative(request.result.evidence());
    const copy_assignment assignment = assign_copies(source, request.result, request.users, request.unnamed_users);

    verification_result found;
    found.notes = assignment.notes;
    found.problems = assignment.problems;

    std::optional<manifest_writer> writer;
    if (!request.without_reading) {
        writer.emplace(request.result);
    }
    {
        const auto add_surplus = [&found](const QByteArray& copy) {
            if (++found.surplus_count <= qint64(most_named_failures)) {
                found.surplus.push_back(copy);
            }
            return true;
        };
        path_set kept;
        const auto finished = [&](const copy_pair& pair) {
            take_in(found, pair);
            if (is_at_or_below(pair.entry.copy, evidence)) {
                kept.add(pair.entry.copy);
            }
            if (writer) {
                writer->write(pair.entry);
            }
        };
        const auto complete_one = [&](copy_pair& pair, pipeline_tools& tools, const std::function<bool(qint64)>& stop) {
            complete(request, source, result, pair, tools, stop);
        };
        const auto foresee = [&](const copy_pair& pair, pipeline_tools& tools) {
            if (!request.without_reading) {
                ask_for_pair(pair, known_source_of(request, pair).has_value(), source, result, tools);
            }
        };
        // Looks take a core less: who lists has as much to do as who looks.
        const int threads = std::max(1, QThread::idealThreadCount() - (request.without_reading ? 1 : 0));
        ordered_pipeline<copy_pair> pipeline(foresee, complete_one, {finished, progress, cancelled}, threads);
        pair_visitor visitor{[&](copy_pair&& pair) { return pipeline.add(std::move(pair)); }, add_surplus};
        if (request.seen != nullptr) {
            visitor.listed = [&request](const QByteArray& path, const directory_listing& listing) {
                request.seen->add(path, listing);
            };
        }
        found.cancelled = !walk_copy_pairs(source, result, assignment.users, visitor) || !pipeline.drain() ||
                          !find_stray_files(request.result, copy_directories_of(assignment), kept, add_surplus);
    }
    if (found.cancelled) {
        return found;
    }
    if (writer) {
        writer->commit();
    }
    found.summary.whole = found.failure_count == 0 && found.surplus_count == 0;
    found.summary.finished = QDateTime::currentDateTimeUtc();
    progress(found.summary.files, found.summary.bytes);
    return found;
}
