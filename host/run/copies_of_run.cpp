#include "host/run/copies_of_run.h"

#include "host/completeness/message_head.h"
#include "host/files/file_tree.h"
#include "host/result/dated_folders.h"
#include "host/source/source_users.h"
#include "host/text/display_text.h"
#include "host/text/failure.h"

#include <algorithm>
#include <memory>

namespace {

constexpr const char* message_ending = ".emlx";

class places_in_result
{
public:
    places_in_result(const result_paths& paths, const QByteArray& source_root, const known_sources& known_files)
        : result(paths.native_root())
        , source(child_path(source_root, {}))
        , known(known_files)
    {
        for (const auto& [user, folders] : find_dated_folders(paths)) {
            copies.emplace(user, mail_copy{mail_directory_of(user) + '/', folders.front().path + '/'});
        }
    }

    QByteArray place_of(const QByteArray& path, const entry_facts& facts) const
    {
        if (!path.startsWith(source)) {
            return {};
        }
        const QByteArray below = path.mid(source.size());
        if (const QByteArray copy = place_of_copy(below); !copy.isEmpty() && known_copy(copy, facts)) {
            return child_path(result, copy);
        }
        const QByteArray kept = relative_evidence(below);
        return known_copy(kept, facts) ? child_path(result, kept) : QByteArray();
    }

    bool is_message(const QByteArray& path) const
    {
        const QByteArray copy = path.startsWith(source) ? place_of_copy(path.mid(source.size())) : QByteArray();
        const std::optional<known_source> found = copy.isEmpty() ? std::nullopt : known.find(copy);
        return found && found->problem.isEmpty() && !found->has_changed && found->is_message;
    }

private:
    /// Either with a slash at its end: below the source, and below the result.
    struct mail_copy
    {
        QByteArray mail_directory;
        QByteArray folder;
    };

    /// Returns where the copy of a file below a Mail directory lies; nothing for any other.
    QByteArray place_of_copy(const QByteArray& below) const
    {
        const qsizetype name_begin = below.indexOf('/') + 1;
        const QByteArray user = below.mid(name_begin, below.indexOf('/', name_begin) - name_begin);
        const auto copy = copies.find(user);
        const bool is_in_mail = copy != copies.end() && below.startsWith(copy->second.mail_directory);
        return is_in_mail ? copy->second.folder + below.mid(copy->second.mail_directory.size()) : QByteArray();
    }

    /// Returns what is known of a copy that holds what is in the source.
    std::optional<known_source> known_copy(const QByteArray& place, const entry_facts& facts) const
    {
        std::optional<known_source> found = known.find(place);
        const bool is_same = found && found->problem.isEmpty() && !found->has_changed &&
                             is_as_copied(*found, facts.size, facts.modified);
        return is_same ? found : std::nullopt;
    }

    const QByteArray result;
    const QByteArray source;
    const known_sources& known;
    std::map<QByteArray, mail_copy> copies; ///< by user
};

/// Returns the folder of a Mail version that a copy lies in, or the one above where it lies in none.
QByteArray folder_of_copy(const QByteArray& path)
{
    constexpr int levels = 3;
    qsizetype end = relative_copies().size();
    for (int level = 0; level < levels; ++level) {
        const qsizetype next = path.indexOf('/', end + 1);
        end = next < 0 ? end : next;
    }
    return path.left(end);
}

} // namespace

void copies_of_run::take(const copied_file& file)
{
    using outcome = copied_file::outcome;
    if (file.result == outcome::unsynced) {
        problems.append(QStringLiteral("the copies may not be on the disk yet: ") + display_text(file.error_text));
        return;
    }
    count(file);
    const bool is_file =
        file.result != outcome::unlisted && file.result != outcome::kept_existing && file.result != outcome::cancelled;
    if (!is_file || !is_at_or_below(file.destination_path, result_root)) {
        // An existing copy is of an earlier time, and a directory that could not be listed is seen by the verification.
        return;
    }
    known_source known{file.size, {file.modified_s, file.modified_ns}, {}, file.result == outcome::changed, {}, false};
    if (file.result == outcome::failed) {
        known.problem = file.error_text;
    } else {
        if (file.sha256.size() == static_cast<qsizetype>(sizeof(sha256_digest))) {
            known.digest.emplace();
            std::copy(file.sha256.begin(), file.sha256.end(), known.digest->begin());
        }
        // What the first bytes allow, more of them do not forbid; what they do not, is read from the copy later.
        known.is_message = judge_message_head(file.beginning, file.size).problem.isEmpty();
    }
    sources.add(file.destination_path.mid(result_root.size() + 1), known);
}

void copies_of_run::complete(run_record& record)
try {
    sources.complete();
    is_complete = true;
} catch (const failure& lost) {
    record.add_error(lost.message());
}

void copies_of_run::count(const copied_file& file)
{
    using outcome = copied_file::outcome;
    const bool was_there = file.result == outcome::kept_existing;
    const bool is_copy = file.result == outcome::copied || file.result == outcome::changed;
    if ((!was_there && !is_copy) || !is_at_or_below(file.destination_path, result_root)) {
        return;
    }
    message_count += file.destination_path.endsWith(message_ending) ? 1 : 0;
    found_there += was_there ? file_amount{1, file.size} : file_amount();
    const QByteArray path = file.destination_path.mid(result_root.size() + 1);
    amounts[folder_of_copy(path)] += {1, was_there ? quiet_stat(file.destination_path).size : file.bytes_copied};
}

file_amount copies_of_run::amount_in(const QByteArray& dated_folder) const
{
    file_amount all;
    for (auto found = amounts.lower_bound(dated_folder + '/');
         found != amounts.end() && found->first.startsWith(dated_folder + '/'); ++found) {
        all += found->second;
    }
    return all;
}

content_place copies_of_run::content_of(const QByteArray& source) const
{
    if (!is_complete) {
        return {};
    }
    return [places = std::make_shared<const places_in_result>(paths, source, sources)](
               const QByteArray& path, const entry_facts& facts) { return places->place_of(path, facts); };
}

content_knowledge copies_of_run::messages_in(const QByteArray& source) const
{
    if (!is_complete) {
        return {};
    }
    return [places = std::make_shared<const places_in_result>(paths, source, sources)](const QByteArray& path) {
        return places->is_message(path);
    };
}

file_amount copies_of_run::amount() const
{
    file_amount all = sources.amount();
    all += found_there;
    return all;
}

void copies_of_run::tell(run_record& record) const
{
    for (const QString& problem : problems) {
        record.add_error(problem);
    }
}
