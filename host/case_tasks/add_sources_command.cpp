#include "host/case_tasks/add_sources_command.h"

#include "host/cases/case_overview.h"
#include "host/cases/case_settings.h"
#include "host/cases/lease_beats.h"
#include "host/cases/path_mapping.h"
#include "host/cases/shared_files.h"
#include "host/files/file_tree.h"
#include "host/files/quiet_reading.h"
#include "host/result/source_guard.h"
#include "host/terminal/command_failure.h"
#include "host/terminal/console.h"

#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QHash>

#include <algorithm>

namespace {

// The list is written whole each time: once for each of ten thousand sources would take longer than to look at them.
constexpr qint64 ms_between_savings = 1000;

/// Adds sources one after the other; what one of them lacks is said and does not keep the others out.
class source_adder
{
public:
    source_adder(const case_paths& case_places, const QStringList& map_texts)
        : paths(case_places)
        , mappings(read_mappings(map_texts))
        , list(read_sources(case_places.sources_file()))
    {
        for (const case_source& source : load_case_sources(paths).sources) {
            highest_index = std::max(highest_index, source.index);
            if (!source.is_withdrawn && !source.directory.isEmpty()) {
                remember(source.index, read_registration(source.directory),
                         path_on_this_machine(paths.root(), source.source, mappings));
            }
        }
    }

    /// Adds a source; a row that stands in sources.csv already gets its index there.
    void add(const source_row& row, bool stands_already)
    {
        registered_source registration{row.evidence_number, row.source, {}, {}, std::nullopt};
        const QString path = path_on_this_machine(paths.root(), row.source, mappings);
        if (is_directory(QFile::encodeName(path)) && lies_inside(paths.root(), path)) {
            return refuse_source(path, QStringLiteral("the case lies inside it, and a source is only read"));
        }
        if (path.contains(QChar::ReplacementCharacter) && !is_directory(QFile::encodeName(path))) {
            return refuse_source(path, QStringLiteral("its path is not UTF-8, and the list of sources must be"));
        }
        if (lies_in_results(paths, path)) {
            return refuse_source(path, QStringLiteral("it lies among the results of the case"));
        }
        source_fingerprint identity = take_fingerprint(path);
        const QString unreadable = identity.error;
        QStringList lacking = identity.unreadable;
        if (unreadable.isEmpty()) {
            registration.path = QFile::decodeName(resolved_path(QFile::encodeName(path)));
            if (registration.path.isEmpty()) {
                lacking.append(QStringLiteral("%1: the way there cannot be resolved: %2").arg(path, qt_error_string()));
            }
            registration.time_utc = QDateTime::currentDateTimeUtc().toString(Qt::ISODate);
        }
        if (const int other = index_of_same(registration.path.isEmpty() ? path : registration.path, identity);
            other > 0) {
            return refuse_source(path, QStringLiteral("the case has this source already, with index %1").arg(other));
        }
        if (unreadable.isEmpty()) {
            registration.identity = std::move(identity);
        }
        write_source(row, registration, stands_already);
        is_whole = is_whole && unreadable.isEmpty() && lacking.isEmpty();
        for (const QString& what : lacking) {
            complain(QStringLiteral("%1; by this the source will not be told from others").arg(what));
        }
        if (!unreadable.isEmpty()) {
            complain(QStringLiteral("%1: cannot be looked at now; what it is will be noted when it is first read")
                         .arg(unreadable));
        }
    }

    /// Writes what was added since the last time, at most once a second unless `now`.
    void save(bool now)
    {
        if (unsaved > 0 && (now || since_saved.hasExpired(ms_between_savings))) {
            write_sources(paths.sources_file(), list);
            unsaved = 0;
            since_saved.start();
        }
    }

    int exit_code() const { return is_whole ? exit_code::whole : exit_code::with_failures; }
    const source_list& sources() const { return list; }

private:
    /// `path` stands for a source that was not there yet.
    void remember(int index, const registered_source& registration, const QString& path)
    {
        index_of_path.insert(registration.path.isEmpty() ? path : registration.path, index);
        if (registration.identity) {
            for (const fingerprint_fact& fact : registration.identity->facts) {
                if (fact.is_distinguishing) {
                    index_of_fact.insert(fact.name + QLatin1Char('\n') + fact.value, {index, *registration.identity});
                }
            }
        }
    }

    int index_of_same(const QString& path, const source_fingerprint& identity) const
    {
        for (const fingerprint_fact& fact : identity.facts) {
            const QString key = fact.name + QLatin1Char('\n') + fact.value;
            for (auto known = index_of_fact.find(key); known != index_of_fact.end() && known.key() == key; ++known) {
                if (is_same_source(known->second, identity)) {
                    return known->first;
                }
            }
        }
        return index_of_path.value(path, 0);
    }

    void refuse_source(const QString& path, const QString& reason)
    {
        is_whole = false;
        complain(QStringLiteral("cannot add the source %1: %2").arg(path, reason));
    }

    void write_source(source_row row, const registered_source& registration, bool stands_already)
    {
        row.index = highest_index + 1;
        const QString directory =
            paths.results() + QLatin1Char('/') + source_directory_name(*row.index, row.evidence_number);
        if (const claim_result made = make_directory(directory); made.outcome != claim::made) {
            refuse(QStringLiteral("cannot create %1: %2").arg(directory, made.error));
        }
        write_registration(directory, registration);
        if (stands_already) {
            set_index(list, row.line, *row.index);
        } else {
            append_source(list, row);
        }
        ++unsaved;
        save(false);
        highest_index = *row.index;
        remember(*row.index, registration, path_on_this_machine(paths.root(), row.source, mappings));
        print_line(source_directory_name(*row.index, {}) + QStringLiteral("  ") + row.source);
    }

    const case_paths& paths;
    QList<path_mapping> mappings;
    source_list list;
    int highest_index = 0;
    QHash<QString, int> index_of_path;
    QMultiHash<QString, std::pair<int, source_fingerprint>> index_of_fact;
    bool is_whole = true;
    int unsaved = 0;
    QElapsedTimer since_saved;
};

/// As a person types it, a relative path starts at the current directory; in the case it starts at the case.
QString path_for_case(const case_paths& paths, const QString& typed)
{
    return QDir::isAbsolutePath(typed) ? QDir::cleanPath(typed)
                                       : QDir(paths.root()).relativeFilePath(QDir::current().absoluteFilePath(typed));
}

void add_all(source_adder& adder, const add_sources_options& options, const case_paths& paths, const lease_beats& beats)
{
    const auto add = [&](const source_row& row, bool stands_already) {
        if (beats.is_lost()) {
            throw command_failure(exit_code::held_elsewhere,
                                  QStringLiteral("%1: another process is changing this case").arg(paths.root()));
        }
        adder.add(row, stands_already);
    };
    const QList<source_row> listed = adder.sources().rows;
    for (const source_row& row : listed) {
        if (!row.index) {
            add(row, true);
        }
    }
    if (!options.from.isEmpty()) {
        for (const source_row& row : read_sources(options.from).rows) {
            add(row, false);
        }
    }
    for (const QString& source : options.sources) {
        add({std::nullopt, options.evidence_number, path_for_case(paths, source), {}, 0}, false);
    }
}

} // namespace

int add_sources_command(const add_sources_options& options)
{
    const case_paths paths(options.directory);
    const case_settings data = read_case(paths);
    if (!options.evidence_number.isEmpty() && options.sources.size() != 1) {
        throw command_failure(exit_code::usage, QStringLiteral("--evidence-number goes with one source"));
    }
    lease_view holder;
    auto held = lease::take(paths.root(), data.lease, 1, holder);
    if (!held) {
        throw command_failure(exit_code::held_elsewhere,
                              QStringLiteral("%1: %2 is changing this case; try again when it is done")
                                  .arg(paths.root(), holder_text(holder)));
    }
    const lease_beats beats(*held);
    source_adder adder(paths, options.mappings);
    try {
        add_all(adder, options, paths, beats);
    } catch (const failure&) {
        adder.save(true);
        throw;
    }
    adder.save(true);
    return adder.exit_code();
}
