#include "host/verify/recheck.h"

#include "host/files/file_tree.h"
#include "host/result/manifest.h"
#include "host/result/path_set.h"
#include "host/source/source_users.h"
#include "host/verify/ordered_pipeline.h"

#include <QFile>

#include <algorithm>
#include <array>
#include <future>

namespace {

constexpr qint64 large_file_bytes = qint64(64) << 20;

/// One entry of the manifest on its way through the pipeline.
struct recheck_item
{
    manifest_entry entry;
    bool with_copy = false;
    bool with_source = false;
    QByteArray copy_problem; ///< empty when the copy is as recorded
    QByteArray source_problem;

    qint64 size() const { return entry.size; }
    int readings() const { return int(with_copy) + int(with_source); }
};

/// True for a path that stays below the directory it is relative to, whatever a manifest says.
bool stays_below(const QByteArray& path)
{
    return !path.startsWith('/') && !path.split('/').contains("..");
}

/// Returns what is wrong with a file whose hash is recorded; empty when nothing is. Nothing means cancelled.
std::optional<QByteArray> problem_of(const QByteArray& root, const QByteArray& path, link_handling links,
                                     const sha256_digest& recorded, nearby_files& files, file_hasher& hasher,
                                     const std::function<bool(qint64)>& cancelled)
{
    if (!stays_below(path)) {
        return QByteArray("the manifest names a path that leads elsewhere");
    }
    const quiet_file file = files.open(child_path(root, path), links);
    if (!file.error.isEmpty()) {
        const bool is_gone = quiet_stat(child_path(root, path), links).kind == entry_kind::absent;
        return is_gone ? QByteArray("missing") : "cannot be read: " + file.error.toUtf8();
    }
    const file_hasher::outcome read = hasher.hash(file.descriptor.get(), cancelled);
    if (read.stopped) {
        return std::nullopt;
    }
    if (read.error != 0) {
        return "cannot be read at byte " + QByteArray::number(read.bytes) + ": " +
               system_error_text(read.error).toUtf8();
    }
    return read.digest == recorded ? QByteArray() : QByteArray("other content than recorded");
}

class rechecker
{
public:
    rechecker(const recheck_request& what, const recheck_listener& who)
        : request(what)
        , listener(who)
        , result_root(what.result.native_root())
    {
    }

    recheck_outcome run()
    {
        outcome.cancelled = !check_entries() || !find_unknown_copies() || !find_unknown_sources();
        return outcome;
    }

private:
    bool check_entries()
    {
        const auto complete = [this](recheck_item& one, pipeline_tools& tools,
                                     const std::function<bool(qint64)>& stop) { check(one, tools, stop); };
        const auto finished = [this](const recheck_item& one) { take_in(one); };
        const auto foresee = [this](const recheck_item& one, pipeline_tools& tools) { ask_for(one, tools); };
        ordered_pipeline<recheck_item> pipeline(foresee, complete, {finished, listener.progress, listener.cancelled});
        manifest_reader reader(request.result.path(product::manifest));
        while (auto entry = reader.next()) {
            known_copies.add(entry->copy);
            known_sources.add(entry->path);
            recheck_item one;
            one.entry = std::move(*entry);
            one.with_copy = !one.entry.copy.isEmpty() && one.entry.copy_sha256;
            one.with_source = request.source && one.entry.source_sha256;
            if (!pipeline.add(std::move(one))) {
                return false;
            }
        }
        return pipeline.drain();
    }

    /// Asks the system to read what is going to be checked.
    void ask_for(const recheck_item& one, pipeline_tools& tools) const
    {
        if (one.with_copy && stays_below(one.entry.copy)) {
            tools.copies.ask_for(child_path(result_root, one.entry.copy));
        }
        if (one.with_source && stays_below(one.entry.path)) {
            tools.sources.ask_for(child_path(*request.source, one.entry.path), link_handling::follow);
        }
    }

    void check(recheck_item& one, pipeline_tools& tools, const std::function<bool(qint64)>& stop) const
    {
        std::future<void> source_check;
        if (one.with_source) {
            // Of a large file copy and source are read side by side.
            const bool is_large = one.with_copy && one.size() >= large_file_bytes;
            source_check = std::async(is_large ? std::launch::async | std::launch::deferred : std::launch::deferred,
                                      [&] { check_source(one, tools.sources, stop); });
        }
        if (one.with_copy) {
            one.copy_problem = problem_of(result_root, one.entry.copy, link_handling::keep, *one.entry.copy_sha256,
                                          tools.copies, tools.hasher, stop)
                                   .value_or(QByteArray());
        }
        if (source_check.valid()) {
            source_check.get();
        }
    }

    void check_source(recheck_item& one, nearby_files& sources, const std::function<bool(qint64)>& stop) const
    {
        one.source_problem = problem_of(*request.source, one.entry.path, link_handling::follow,
                                        *one.entry.source_sha256, sources, hasher_of_thread(), stop)
                                 .value_or(QByteArray());
    }

    void take_in(const recheck_item& one)
    {
        if (is_fault(one.entry.status)) {
            ++outcome.recorded_faults;
            listener.found({finding_place::recorded, one.entry.path,
                            QByteArray(entry_status_name(one.entry.status)) + ": " + one.entry.reason});
        }
        if (one.with_copy) {
            outcome.copies += {1, one.entry.size};
        }
        if (one.with_source) {
            outcome.sources += {1, one.entry.size};
        }
        const bool is_said_whole = one.entry.status == entry_status::copied || one.entry.status == entry_status::kept;
        if (is_said_whole && !has_proven_copy(one.entry)) {
            tell(finding_place::copy, one.entry.copy, "the manifest says that it is whole, and has no equal hashes");
        }
        if (!one.copy_problem.isEmpty()) {
            tell(finding_place::copy, one.entry.copy, one.copy_problem);
        }
        if (!one.source_problem.isEmpty()) {
            tell(finding_place::source, one.entry.path, one.source_problem);
        }
    }

    void tell(finding_place place, const QByteArray& path, const QByteArray& reason)
    {
        ++(place == finding_place::copy ? outcome.copy_findings : outcome.source_findings);
        listener.found({place, path, reason});
    }

    /// Calls `tell_unknown` for every file below a directory that a set of paths does not hold; false when cancelled.
    bool find_unknown(const QByteArray& root, const QByteArray& directory, path_set& known, finding_place place,
                      const QByteArray& reason)
    {
        known.complete();
        bool cancelled = false;
        qint64 count = 0;
        const auto look_at = [&](const tree_entry& entry) {
            const QByteArray path = child_path(directory, entry.relative_path);
            if (!entry.listing_error.isEmpty()) {
                tell(place, path, "the directory cannot be read: " + entry.listing_error.toUtf8());
            } else if (entry.facts.kind != entry_kind::directory && !known.contains(path)) {
                tell(place, path, reason);
            }
            cancelled = ++count % 1000 == 0 && listener.cancelled();
            return !cancelled;
        };
        walk_tree(child_path(root, directory), look_at, list_kinds);
        return !cancelled;
    }

    bool find_unknown_copies()
    {
        known_copies.add(request.result.relative(request.result.database()));
        const std::array places{request.result.artifacts(), request.result.evidence()};
        return std::all_of(places.begin(), places.end(), [this](const QString& place) {
            const QByteArray directory = request.result.relative(place);
            return quiet_stat(child_path(result_root, directory)).kind == entry_kind::absent ||
                   find_unknown(result_root, directory, known_copies, finding_place::copy,
                                "the manifest knows no such file: it came after the run, or has no source");
        });
    }

    bool find_unknown_sources()
    {
        if (!request.source) {
            return true;
        }
        for (const QByteArray& user : request.users) {
            const QByteArray mail = mail_directory_of(user);
            const directory_look look = look_for_directory(*request.source, mail);
            if (look.blocked) {
                tell(finding_place::source, mail, "could not be looked at: " + look.blocked->text().toUtf8());
            }
            if (look.found == presence::present &&
                !find_unknown(*request.source, mail, known_sources, finding_place::source,
                              "the manifest knows no such file: it was not there when the run looked")) {
                return false;
            }
        }
        return true;
    }

    const recheck_request& request;
    const recheck_listener& listener;
    const QByteArray result_root;
    path_set known_copies;
    path_set known_sources;
    recheck_outcome outcome;
};

} // namespace

file_amount recheck_amount(const recheck_request& request, const std::function<bool()>& cancelled)
{
    file_amount amount;
    manifest_reader reader(request.result.path(product::manifest));
    while (const auto entry = reader.next()) {
        amount += {1, entry->size};
        if (amount.files % 1000 == 0 && cancelled()) {
            break;
        }
    }
    return amount;
}

recheck_outcome recheck(const recheck_request& request, const recheck_listener& listener)
{
    return rechecker(request, listener).run();
}
