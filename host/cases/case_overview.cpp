#include "host/cases/case_overview.h"

#include "host/terminal/console.h"
#include "host/terminal/exit_codes.h"
#include "host/text/display_text.h"

#include <algorithm>

namespace {

constexpr double longest_seconds = 1e12; // far more than any run, and a number that can be shown

void add_to_totals(case_overview& overview, const source_status& status)
{
    ++overview.counts[static_cast<std::size_t>(status.state)];
    if (!has_result(status.state)) {
        return;
    }
    add_count(overview.accounts, status.attempt.accounts);
    add_count(overview.files, status.attempt.files);
    add_count(overview.bytes, status.attempt.bytes);
    add_count(overview.failures, status.attempt.failures);
    add_count(overview.milliseconds, status.attempt.milliseconds);
}

qint64 count_of_kind(const case_overview& overview, state_kind kind)
{
    qint64 count = 0;
    for (std::size_t state = 0; state < facts_of_states.size(); ++state) {
        count += facts_of_states[state].kind == kind ? overview.counts[state] : 0;
    }
    return count;
}

} // namespace

bool is_due(source_state state, retry_kind retry)
{
    switch (retry) {
    case retry_kind::failed:
        return state == source_state::failed || state == source_state::with_failures;
    case retry_kind::partial:
        return state == source_state::partial || state == source_state::cancelled;
    case retry_kind::none:
        break;
    }
    return state == source_state::failed || facts_of(state).kind == state_kind::unfinished;
}

qint64 case_overview::unfinished() const
{
    return count_of_kind(*this, state_kind::unfinished);
}

std::optional<qint64> case_overview::seconds_left() const
{
    const qint64 finished = count(source_state::whole) + count(source_state::with_failures);
    const qint64 running = count(source_state::running);
    if (finished == 0 || running == 0) {
        return std::nullopt;
    }
    const double mean_ms = static_cast<double>(milliseconds) / static_cast<double>(finished);
    const double seconds = mean_ms * static_cast<double>(unfinished()) / static_cast<double>(running) / 1000;
    return static_cast<qint64>(std::min(seconds, longest_seconds));
}

case_overview look_at_case(const case_paths& paths)
{
    case_sources sources = load_case_sources(paths);
    case_overview overview;
    overview.not_added = std::move(sources.not_added);
    for (const case_source& source : sources.sources) {
        overview.entries.append({source, look_at_source(source)});
        add_to_totals(overview, overview.entries.last().status);
    }
    return overview;
}

int exit_code_of(const case_overview& overview)
{
    if (overview.unfinished() > 0 || !overview.not_added.isEmpty()) {
        return exit_code::not_finished;
    }
    return count_of_kind(overview, state_kind::failed) > 0 ? exit_code::with_failures : exit_code::whole;
}

QString counts_text(const case_overview& overview)
{
    QStringList parts;
    for (std::size_t state = 0; state < facts_of_states.size(); ++state) {
        if (overview.counts[state] > 0) {
            parts.append(display_number(overview.counts[state]) + QLatin1Char(' ') +
                         QLatin1String(facts_of_states[state].name));
        }
    }
    return parts.isEmpty() ? QStringLiteral("no sources") : parts.join(QStringLiteral(", "));
}

QString label_of(const case_source& source)
{
    return source.evidence_number.isEmpty() ? source.number()
                                            : source.number() + QLatin1Char(' ') + display_text(source.evidence_number);
}

void complain_about_not_added(const case_paths& paths, const QList<source_row>& not_added)
{
    for (const source_row& row : not_added) {
        complain(QStringLiteral("%1: line %2: %3 has no index yet; `mail-extract case add %4` gives it one")
                     .arg(paths.sources_file())
                     .arg(row.line)
                     .arg(row.source, paths.root()));
    }
}
