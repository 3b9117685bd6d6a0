#pragma once

#include "host/cases/case_sources.h"
#include "host/cases/lease.h"

#include <QJsonObject>
#include <QString>

#include <algorithm>
#include <array>
#include <limits>

/// How far a source is.
enum class source_state : unsigned char
{
    waiting,       ///< no task has begun
    running,       ///< a task gives signs of life
    whole,         ///< everything is copied and proven
    with_failures, ///< it ran to its end; its result names what failed
    no_mail,       ///< everything could be looked at, and no Mail directory is there
    failed,        ///< it could not run
    partial,       ///< the task died or its node was lost
    cancelled,     ///< the task was asked to end
    withdrawn      ///< its row was deleted from sources.csv
};

/// What a state means for the case.
enum class state_kind
{
    done,
    failed,
    unfinished
};

struct state_facts
{
    const char* name;
    state_kind kind;
};

inline constexpr std::array<state_facts, 9> facts_of_states = {{{"waiting", state_kind::unfinished},
                                                                {"running", state_kind::unfinished},
                                                                {"whole", state_kind::done},
                                                                {"with failures", state_kind::failed},
                                                                {"no mail", state_kind::done},
                                                                {"failed", state_kind::failed},
                                                                {"partial", state_kind::unfinished},
                                                                {"cancelled", state_kind::unfinished},
                                                                {"withdrawn", state_kind::done}}};

inline const state_facts& facts_of(source_state state)
{
    return facts_of_states[static_cast<std::size_t>(state)];
}

inline QString name_of(source_state state)
{
    return QString::fromLatin1(facts_of(state).name);
}

/// True for a state in which a result stands that collect takes.
inline bool has_result(source_state state)
{
    return state == source_state::whole || state == source_state::with_failures;
}

/// What is written down of one attempt, beside its directory and, for the newest, in state.json.
struct attempt_record
{
    source_state state = source_state::waiting;
    QString reason;  ///< one line; empty when the state says all
    QString attempt; ///< the name of its directory
    qint64 generation = 0;
    QString node;
    QString job;
    qint64 index = 0; ///< of the source; 0 in what older versions wrote
    QString identity; ///< what it was compared with, as fingerprint_sum() has it; empty until it was
    QString source;   ///< the path that was read
    QString started_utc;
    QString ended_utc;
    qint64 milliseconds = 0;
    int exit_code = -1; ///< of the extraction; -1 when there was none
    qint64 accounts = 0;
    qint64 files = 0;
    qint64 bytes = 0;
    qint64 failures = 0;
    QString manifest_sha256; ///< empty without a result
    QString database_sha256;
    QString seal_sha256; ///< the root hash; empty for a result without a seal
    QString program_version;
    QString plugin_version;
    QString plugin_sha256;
};

/// Adds a count that was read from a file, which may be damaged: a sum stays at the largest number that there is.
inline void add_count(qint64& sum, qint64 count)
{
    const qint64 room = std::numeric_limits<qint64>::max() - sum;
    sum += std::clamp<qint64>(count, 0, room);
}

QJsonObject attempt_to_json(const attempt_record& record);
/// Reads such an object; nothing, with the reason in `error`, when it names no state that an attempt can have.
std::optional<attempt_record> attempt_from_json(const QJsonObject& object, QString& error);

/// A source as it stands now.
struct source_status
{
    source_state state = source_state::waiting;
    QString reason;
    attempt_record attempt;  ///< the one that `state` rests on; empty while waiting
    QString result;          ///< absolute path of the result; empty unless the state has one
    bool has_whole = false;  ///< "whole" is there, readable or not
    bool is_damaged = false; ///< it failed because what the case keeps of it is missing or damaged
    lease_view lease;
};

/// Returns why a result's directory is none: a link would lead out of the case, and what it leads to is not taken along
/// with it. Empty when it is one.
QString reason_against_directory(const QString& result);

/// Looks at a source: its lease, what "whole" leads to, its state.json. What is damaged makes it failed, with the path
/// and the reason.
source_status look_at_source(const case_source& source);
