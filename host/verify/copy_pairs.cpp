#include "host/verify/copy_pairs.h"

#include "host/files/file_tree.h"
#include "host/result/result_paths.h"
#include "host/source/source_users.h"
#include "host/source/witnesses.h"

#include <algorithm>
#include <cerrno>

namespace {

enum class place
{
    mail_directory,
    below,
    hidden
};

/// A directory of the source and the one its content was copied to, both relative.
struct directory_pair
{
    QByteArray source;
    QByteArray copy; ///< empty when no copy is due or none was found
    place where = place::below;
};

/// What one listed entry leads to; a link to a directory leads to two steps.
struct walk_step
{
    QByteArray key; ///< sorts the step where its paths stand in the manifest
    const named_entry* named = nullptr;
    bool descends = false;
};

QByteArray order_key(const QByteArray& name, bool descends)
{
    return descends ? percent_encoded_name(name) + '/' : percent_encoded_name(name);
}

class pair_walk
{
public:
    pair_walk(const QByteArray& source_root, const QByteArray& result_root, const pair_visitor& pair_visitor)
        : source(source_root)
        , resolved_source(resolved_path(source_root))
        , result(result_root)
        , visitor(pair_visitor)
    {
    }

    bool walk_system() const
    {
        const std::vector<witness> found = system_witnesses(source);
        return std::all_of(found.begin(), found.end(), [this](const witness& one) { return visit_witness(one); });
    }

    bool walk_user(const copied_user& whose)
    {
        user = whose.name;
        const std::vector<witness> stores = store_witnesses(source, user);
        if (!std::all_of(stores.begin(), stores.end(), [this](const witness& one) { return visit_witness(one); })) {
            return false;
        }
        const directory_pair mail{mail_directory_of(user), whose.copy_directory, place::mail_directory};
        const entry_facts facts = quiet_stat(in_source(mail.source), link_handling::follow);
        return facts.kind == entry_kind::absent ? report_orphans(mail) : enter(mail, facts);
    }

private:
    QByteArray in_source(const QByteArray& path) const { return child_path(source, path); }
    QByteArray in_result(const QByteArray& path) const { return child_path(result, path); }

    copy_pair pair_for(const QByteArray& path, const entry_facts& facts, entry_status status,
                       const QByteArray& reason = {}) const
    {
        copy_pair pair;
        pair.entry.path = path;
        pair.entry.user = user;
        pair.entry.size = facts.size;
        pair.entry.metadata = metadata_of(facts);
        pair.entry.status = status;
        pair.entry.reason = reason;
        return pair;
    }

    bool report(const QByteArray& path, const entry_facts& facts, entry_status status, const QByteArray& reason) const
    {
        return visitor.pair(pair_for(path, facts, status, reason));
    }

    /// Lists a directory and walks it, unless the walk is inside it already.
    bool enter(const directory_pair& directory, const entry_facts& facts)
    {
        const auto identity = std::pair(facts.device, facts.inode);
        if (std::find(being_walked.begin(), being_walked.end(), identity) != being_walked.end()) {
            return report(directory.source + '/', facts, entry_status::link, "in a circle of links; not walked again");
        }
        being_walked.push_back(identity);
        const bool completed = walk(directory, facts);
        being_walked.pop_back();
        return completed;
    }

    bool walk(const directory_pair& directory, const entry_facts& facts)
    {
        const QByteArray path = in_source(directory.source);
        const directory_listing listing = quiet_list(path);
        if (visitor.listed) {
            visitor.listed(path, listing);
        }
        if (!listing.error.isEmpty() && !report(directory.source + '/', facts, entry_status::unreadable,
                                                "the directory cannot be read: " + listing.error.toUtf8())) {
            return false;
        }

        std::vector<walk_step> steps;
        steps.reserve(listing.entries.size());
        for (const named_entry& named : listing.entries) {
            const bool is_link = named.facts.kind == entry_kind::link;
            const bool is_directory = named.facts.kind == entry_kind::directory;
            if (!is_directory) {
                steps.push_back({order_key(named.name, false), &named, false});
            }
            if (is_directory || (is_link && link_is_followed(directory, named))) {
                steps.push_back({order_key(named.name, true), &named, true});
            }
        }
        std::sort(steps.begin(), steps.end(),
                  [](const walk_step& left, const walk_step& right) { return left.key < right.key; });

        for (const walk_step& step : steps) {
            if (step.descends ? !descend(directory, *step.named) : !visit(directory, *step.named)) {
                return false;
            }
        }
        return report_surplus(directory, listing);
    }

    bool is_hidden(const directory_pair& directory, const named_entry& named) const
    {
        return directory.where == place::hidden || named.facts.hidden;
    }

    /// True for a link to a directory at whose place among the copies there is a directory: only what the copy followed
    /// is followed here, so that a link to the whole machine does no harm.
    bool link_is_followed(const directory_pair& directory, const named_entry& named) const
    {
        if (is_hidden(directory, named) || directory.copy.isEmpty()) {
            return false;
        }
        const QByteArray path = in_source(child_path(directory.source, named.name));
        const entry_facts target = quiet_stat(path, link_handling::follow);
        return target.kind == entry_kind::directory &&
               quiet_stat(in_result(child_path(directory.copy, named.name))).kind == entry_kind::directory;
    }

    bool leaves_source(const QByteArray& path) const
    {
        const QByteArray target = resolved_path(in_source(path));
        return !target.isEmpty() && !is_at_or_below(target, resolved_source);
    }

    bool descend(const directory_pair& directory, const named_entry& named)
    {
        directory_pair inner{child_path(directory.source, named.name), {}, place::below};
        if (is_hidden(directory, named)) {
            inner.where = place::hidden;
        } else if (!directory.copy.isEmpty()) {
            inner.copy = child_path(directory.copy, named.name);
        }
        const bool is_link = named.facts.kind == entry_kind::link;
        return enter(inner, is_link ? quiet_stat(in_source(inner.source), link_handling::follow) : named.facts);
    }

    /// Reports an entry that is no directory.
    bool visit(const directory_pair& directory, const named_entry& named)
    {
        const QByteArray path = child_path(directory.source, named.name);
        const bool hidden = is_hidden(directory, named);
        switch (named.facts.kind) {
        case entry_kind::file: {
            const entry_status status = hidden                                     ? entry_status::hidden
                                        : directory.where == place::mail_directory ? entry_status::loose
                                                                                   : entry_status::copied;
            return visit_file(directory, named.name, pair_for(path, named.facts, status));
        }
        case entry_kind::link:
            return hidden ? report(path, named.facts, entry_status::hidden, "link to " + link_text(in_source(path)))
                          : visit_link(directory, named);
        case entry_kind::absent:
        case entry_kind::unknown:
            return report(path, named.facts, entry_status::unreadable,
                          named.facts.error.isEmpty() ? kind_text(named.facts.kind).toUtf8()
                                                      : named.facts.error.toUtf8());
        default:
            return report(path, named.facts, hidden ? entry_status::hidden : entry_status::special,
                          kind_text(named.facts.kind).toUtf8());
        }
    }

    /// Reports a file that stands among the evidence kept.
    bool visit_witness(const witness& one) const
    {
        if (one.facts.kind == entry_kind::file) {
            return visitor.pair(kept_pair(pair_for(one.path, one.facts, entry_status::kept)));
        }
        if (one.facts.kind == entry_kind::link) {
            const QByteArray reason = "link to " + link_text(in_source(one.path));
            const entry_facts target = quiet_stat(in_source(one.path), link_handling::follow);
            if (target.kind == entry_kind::file) {
                copy_pair pair = pair_for(one.path, target, entry_status::kept, reason);
                pair.links = link_handling::follow;
                return visitor.pair(kept_pair(std::move(pair)));
            }
            return report(one.path, one.facts, entry_status::link, reason);
        }
        return report(one.path, one.facts, one.facts.error.isEmpty() ? entry_status::special : entry_status::unreadable,
                      one.facts.error.isEmpty() ? kind_text(one.facts.kind).toUtf8() : one.facts.error.toUtf8());
    }

    /// Adds the place among the evidence kept to a pair whose status holds only if there is no such copy.
    copy_pair kept_pair(copy_pair pair) const
    {
        const bool is_due = pair.entry.status == entry_status::kept;
        pair.task = is_due ? pair_task::compare : pair_task::hash_source;
        const QByteArray copy = relative_evidence(pair.entry.path);
        if (!is_due && quiet_stat(in_result(copy)).kind == entry_kind::absent) {
            return pair;
        }
        if (!is_due) {
            pair.entry.reason = entry_status_name(pair.entry.status);
            pair.entry.status = entry_status::kept;
            pair.task = pair_task::compare;
        }
        pair.entry.copy = copy;
        return pair;
    }

    bool visit_link(const directory_pair& directory, const named_entry& named)
    {
        const QByteArray path = child_path(directory.source, named.name);
        const QByteArray target_text = link_text(in_source(path));
        const entry_facts target = quiet_stat(in_source(path), link_handling::follow);
        switch (target.kind) {
        case entry_kind::file: {
            copy_pair pair = pair_for(path, target, entry_status::link, "link to " + target_text);
            pair.links = link_handling::follow;
            if (leaves_source(path)) {
                pair.entry.status = entry_status::different;
                pair.entry.reason += ", out of the source: what was copied is no evidence";
            }
            return visit_file(directory, named.name, std::move(pair));
        }
        case entry_kind::directory:
            if (link_is_followed(directory, named) && leaves_source(path)) {
                return report(path, named.facts, entry_status::different,
                              "link to the directory " + target_text +
                                  ", out of the source: what was copied is no evidence");
            }
            if (link_is_followed(directory, named)) {
                return report(path, named.facts, entry_status::link, "link to the directory " + target_text);
            }
            return report(path, named.facts, entry_status::missing,
                          "link to the directory " + target_text + ", of which nothing was copied");
        case entry_kind::absent:
            return report(path, named.facts, entry_status::link, "link that leads nowhere: " + target_text);
        case entry_kind::unknown:
            return report(path, named.facts, entry_status::unreadable,
                          "link to " + target_text + ": " + target.error.toUtf8());
        default:
            return report(path, named.facts, entry_status::link,
                          "link to " + target_text + ", " + kind_text(target.kind).toUtf8());
        }
    }

    /// Reports something with content, together with its copy where one is due.
    bool visit_file(const directory_pair& directory, const QByteArray& name, copy_pair pair) const
    {
        if (pair.entry.status == entry_status::hidden || pair.entry.status == entry_status::loose) {
            return visitor.pair(kept_pair(std::move(pair)));
        }
        const bool due = pair.entry.status == entry_status::copied || pair.entry.status == entry_status::different ||
                         (pair.entry.status == entry_status::link && directory.where == place::below);
        pair.task = due ? pair_task::compare : pair_task::hash_source;
        if (due && !directory.copy.isEmpty()) {
            pair.entry.copy = child_path(directory.copy, name);
        }
        return visitor.pair(std::move(pair));
    }

    /// Reports copies beside this directory's for which there is nothing in the source.
    bool report_surplus(const directory_pair& directory, const directory_listing& listing) const
    {
        if (directory.copy.isEmpty()) {
            return true;
        }
        // Most copies have a source: only of the others more than the name is wanted.
        std::vector<named_kind> surplus;
        kinds_listing copies = quiet_kinds(in_result(directory.copy));
        // Where there are no copies at all, each file of the source says so.
        if (!copies.error.isEmpty() && copies.error_number != ENOENT && copies.error_number != ENOTDIR &&
            !report(directory.source + '/', quiet_stat(in_source(directory.source)), entry_status::unreadable,
                    "the directory of its copies, " + directory.copy + ", cannot be read: " + copies.error.toUtf8())) {
            return false;
        }
        for (named_kind& copy : copies.entries) {
            if (!accounts_for(directory, listing, copy.name)) {
                surplus.push_back(std::move(copy));
            }
        }
        std::sort(surplus.begin(), surplus.end(),
                  [](const named_kind& left, const named_kind& right) { return left.name < right.name; });
        return std::all_of(surplus.begin(), surplus.end(), [&](const named_kind& copy) {
            return report_surplus_below(directory, copy.name, copy.kind);
        });
    }

    /// Reports the copies of a Mail directory that is not there.
    bool report_orphans(const directory_pair& directory) const
    {
        if (directory.copy.isEmpty()) {
            return true;
        }
        const std::vector<named_entry> copies = quiet_list(in_result(directory.copy)).entries;
        return std::all_of(copies.begin(), copies.end(), [&](const named_entry& copy) {
            return report_surplus_below(directory, copy.name, copy.facts.kind);
        });
    }

    bool accounts_for(const directory_pair& directory, const directory_listing& listing, const QByteArray& copy) const
    {
        const auto found =
            std::lower_bound(listing.entries.begin(), listing.entries.end(), copy,
                             [](const named_entry& named, const QByteArray& name) { return named.name < name; });
        if (found != listing.entries.end() && found->name == copy) {
            const bool loose = directory.where == place::mail_directory && found->facts.kind == entry_kind::file;
            return !found->facts.hidden && !loose;
        }
        // The result's file system may write a name in another normal form or case than the source's.
        return quiet_stat(in_source(child_path(directory.source, copy))).kind != entry_kind::absent;
    }

    bool report_surplus_below(const directory_pair& directory, const QByteArray& copy, entry_kind kind) const
    {
        const QByteArray path = child_path(directory.copy, copy);
        if (kind != entry_kind::directory) {
            return visitor.surplus(path);
        }
        bool completed = true;
        walk_tree(in_result(path), [&](const tree_entry& entry) {
            // What lies in a directory that cannot be listed may be anything.
            if (entry.facts.kind != entry_kind::directory || !entry.listing_error.isEmpty()) {
                completed = visitor.surplus(child_path(path, entry.relative_path));
            }
            return completed;
        });
        return completed;
    }

    const QByteArray& source;
    const QByteArray resolved_source;
    const QByteArray& result;
    const pair_visitor& visitor;
    QByteArray user;
    std::vector<std::pair<quint64, quint64>> being_walked;
};

} // namespace

bool walk_copy_pairs(const QByteArray& source, const QByteArray& result, std::vector<copied_user> users,
                     const pair_visitor& visitor)
{
    std::sort(users.begin(), users.end(), [](const copied_user& left, const copied_user& right) {
        return order_key(left.name, true) < order_key(right.name, true);
    });
    pair_walk walk(source, result, visitor);
    return walk.walk_system() &&
           std::all_of(users.begin(), users.end(), [&](const copied_user& user) { return walk.walk_user(user); });
}
