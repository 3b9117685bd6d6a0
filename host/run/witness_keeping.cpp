#include "host/run/witness_keeping.h"

#include "host/files/file_copy.h"
#include "host/files/file_tree.h"
#include "host/source/source_users.h"
#include "host/source/witnesses.h"
#include "host/terminal/interruption.h"
#include "host/text/display_text.h"

#include <QFile>

namespace {

constexpr qint64 most_named_problems = 20;

directory_listing directories_alone(const directory_note& note)
{
    directory_listing listing;
    for (const QByteArray& name : note.directories) {
        listing.entries.push_back({name, {}});
        listing.entries.back().facts.kind = entry_kind::directory;
    }
    return listing;
}

class witness_keeper
{
public:
    witness_keeper(const run_plan& plan, known_sources& sources, progress_style style)
        : shown(QStringLiteral("keeping what no copy holds"), {}, style)
        , known(sources)
        , source(QFile::encodeName(plan.settings.source_root))
        , result(plan.result.native_root())
    {
    }

    void keep(const witness& one) { keep(one.path, one.facts, link_handling::follow); }

    /// Keeps the files of a Mail directory that no copy takes.
    void keep_left_out(const QByteArray& mail_directory, const directory_notes& seen)
    {
        const QByteArray root = child_path(source, mail_directory);
        // Where nothing is hidden, and was not since, nothing is to be kept but what lies in the Mail directory itself.
        file_amount passed_over; // in the directory listed last
        const auto list = [&](const QByteArray& path) {
            const std::optional<directory_note> note = path == root ? std::nullopt : seen.find(path);
            const bool is_plain = note && note->is_plain && quiet_stat(path).changed == note->changed;
            passed_over = is_plain ? note->amount : file_amount();
            return is_plain ? directories_alone(*note) : quiet_list(path);
        };
        const auto visit = [&](const tree_entry& entry) {
            const QString& unseen = entry.facts.error.isEmpty() ? entry.listing_error : entry.facts.error;
            if (!unseen.isEmpty()) {
                note(entry.relative_path.isEmpty() ? mail_directory : child_path(mail_directory, entry.relative_path),
                     unseen);
            }
            extents.add(entry, entry.facts.kind == entry_kind::directory ? passed_over : file_amount());
            const bool is_loose = !entry.relative_path.contains('/');
            if (entry.facts.kind == entry_kind::file && (entry.hidden || is_loose)) {
                keep(child_path(mail_directory, entry.relative_path), entry.facts, link_handling::keep);
            }
            return !interruption::requested();
        };
        walk_tree(root, visit, list);
    }

    folder_extents take_extents() { return std::move(extents); }

    void tell(run_record& record) const
    {
        for (const QString& problem : problems) {
            record.add_error(problem);
        }
        if (problem_count > problems.size()) {
            record.add_error(
                QStringLiteral("%1 more files could not be kept").arg(display_number(problem_count - problems.size())));
        }
    }

private:
    void keep(const QByteArray& path, const entry_facts& facts, link_handling links)
    {
        const QByteArray target = child_path(result, relative_evidence(path));
        const bool can_be_kept = facts.kind == entry_kind::file || facts.kind == entry_kind::link;
        if (!can_be_kept) {
            note(path, facts.error.isEmpty() ? kind_text(facts.kind) : facts.error);
            return;
        }
        const entry_facts present = quiet_stat(target);
        if (!present.error.isEmpty() && present.kind != entry_kind::absent) {
            note(path, QStringLiteral("%1: %2").arg(display_text(target), present.error));
        }
        if (present.kind != entry_kind::absent) {
            return;
        }
        const file_copy_outcome outcome = copy_file(child_path(source, path), target, links, [this](qint64 bytes) {
            kept += {0, bytes};
            shown.update(kept);
            return interruption::requested();
        });
        kept += {1, 0};
        if (!outcome.problem.isEmpty()) {
            note(path, outcome.problem);
        }
        if (outcome.digest) {
            known.add(relative_evidence(path), {outcome.bytes, outcome.modified, outcome.digest, false, {}, false});
        }
    }

    void note(const QByteArray& path, const QString& reason)
    {
        if (++problem_count <= most_named_problems) {
            problems.append(QStringLiteral("cannot keep %1: %2").arg(display_text(path), reason));
        }
    }

    progress shown;
    file_amount kept;
    known_sources& known;
    const QByteArray source;
    const QByteArray result;
    folder_extents extents;
    QStringList problems;
    qint64 problem_count = 0;
};

} // namespace

folder_extents keep_witnesses(const run_plan& plan, known_sources& known, progress_style style, run_record& record)
{
    witness_keeper keeper(plan, known, style);
    const QByteArray source = QFile::encodeName(plan.settings.source_root);
    for (const witness& one : system_witnesses(source)) {
        keeper.keep(one);
    }
    for (const source_user& user : plan.settings.users) {
        if (interruption::requested()) {
            break;
        }
        const QByteArray name = QFile::encodeName(user.name);
        for (const witness& one : store_witnesses(source, name)) {
            keeper.keep(one);
        }
        if (user.mail_directory != presence::absent) {
            keeper.keep_left_out(mail_directory_of(name), plan.seen);
        }
    }
    keeper.tell(record);
    return interruption::requested() ? folder_extents() : keeper.take_extents();
}
