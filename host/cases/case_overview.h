#pragma once

#include "host/cases/case_sources.h"
#include "host/cases/source_state.h"

#include <QList>

#include <array>

/// Which sources a run takes besides those that have no result of any kind.
enum class retry_kind
{
    none,
    failed, ///< those that failed or have failures, and no others
    partial ///< those whose task was lost or cancelled, and no others
};

/// True for a source that a run over the whole case takes.
bool is_due(source_state state, retry_kind retry);

/// A source with its state.
struct overview_entry
{
    case_source source;
    source_status status;
};

/// All sources of a case as they stand now.
struct case_overview
{
    QList<overview_entry> entries;
    QList<source_row> not_added; ///< rows of sources.csv that have no index yet

    std::array<qint64, facts_of_states.size()> counts{}; ///< sources by state
    qint64 accounts = 0;
    qint64 files = 0;
    qint64 bytes = 0;
    qint64 failures = 0;
    qint64 milliseconds = 0; ///< that the attempts at finished sources took, together

    qint64 count(source_state state) const { return counts[static_cast<std::size_t>(state)]; }
    /// Returns the sources that are to be run or are running.
    qint64 unfinished() const;
    /// Returns what is left by the mean of the finished ones and the number running; nothing when unknown.
    std::optional<qint64> seconds_left() const;
};

/// Looks at every source; throws a failure when the list cannot be read.
case_overview look_at_case(const case_paths& paths);

/// Returns the exit code that tells how a case stands: 6 while anything is unfinished, 3 with failures, else 0.
int exit_code_of(const case_overview& overview);

/// Returns the states with their counts: "9 whole, 1 no mail, 2 failed".
QString counts_text(const case_overview& overview);

/// Returns "0007 EV-12", or "0007" without an evidence number, for messages.
QString label_of(const case_source& source);

/// Says on standard error which rows of sources.csv have no index yet, and what gives them one.
void complain_about_not_added(const case_paths& paths, const QList<source_row>& not_added);
