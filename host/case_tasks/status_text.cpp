#include "host/case_tasks/status_text.h"

#include "host/case_tasks/child_process.h"
#include "host/cases/case_paths.h"
#include "host/text/display_text.h"
#include "host/text/text_layout.h"
#include "host/text/text_table.h"

#include <QDateTime>
#include <QJsonArray>

namespace {

constexpr qint64 ns_in_ms = 1'000'000;

/// When a source was last heard of: by the file server's clock while a lease tells it, else when its attempt ended.
QString last_sign(const source_status& status)
{
    if (status.lease.exists && status.lease.is_readable) {
        return QDateTime::fromMSecsSinceEpoch(status.lease.written_ns / ns_in_ms, Qt::UTC).toString(Qt::ISODateWithMs);
    }
    return status.attempt.ended_utc.isEmpty() ? status.attempt.started_utc : status.attempt.ended_utc;
}

/// How far the extraction of a running source says that it is; empty where it says nothing.
QString progress_of(const overview_entry& entry)
{
    const attempt_record& attempt = entry.status.attempt;
    const bool is_at_work =
        entry.status.state == source_state::running && generation_of_attempt(attempt.attempt) == attempt.generation;
    return is_at_work ? last_progress(entry.source.file(attempt.attempt + QStringLiteral(".log"))) : QString();
}

QString count_or_dash(const source_status& status, qint64 count)
{
    return has_result(status.state) ? display_number(count) : QStringLiteral("-");
}

QString generation_or_dash(const source_status& status)
{
    return status.attempt.generation > 0 ? QString::number(status.attempt.generation) : QStringLiteral("-");
}

QString text_or_dash(const QString& text)
{
    return text.isEmpty() ? QStringLiteral("-") : display_text(text);
}

QJsonValue text_or_null(const QString& text)
{
    return text.isEmpty() ? QJsonValue() : QJsonValue(text);
}

QJsonObject entry_to_json(const overview_entry& entry)
{
    const source_status& status = entry.status;
    const auto count = [&status](qint64 number) {
        return has_result(status.state) ? QJsonValue(number) : QJsonValue();
    };
    return {{"index", entry.source.index},
            {"evidence_number", entry.source.evidence_number},
            {"source", entry.source.source},
            {"state", name_of(status.state)},
            {"reason", text_or_null(status.reason)},
            {"node", text_or_null(status.attempt.node)},
            {"job", text_or_null(status.attempt.job)},
            {"attempt", status.attempt.generation > 0 ? QJsonValue(status.attempt.generation) : QJsonValue()},
            {"result", text_or_null(status.result)},
            {"accounts", count(status.attempt.accounts)},
            {"files", count(status.attempt.files)},
            {"bytes", count(status.attempt.bytes)},
            {"failures", count(status.attempt.failures)},
            {"progress", text_or_null(progress_of(entry))},
            {"last_sign_of_life_utc", text_or_null(last_sign(status))}};
}

} // namespace

QStringList status_lines(const case_overview& overview, qsizetype width)
{
    const QList<table_column> columns{{QStringLiteral("index")},
                                      {QStringLiteral("evidence"), false, narrow_column},
                                      {QStringLiteral("source"), false, narrow_column},
                                      {QStringLiteral("state")},
                                      {QStringLiteral("node"), false, narrow_column},
                                      {QStringLiteral("attempt"), true},
                                      {QStringLiteral("files"), true},
                                      {QStringLiteral("size"), true},
                                      {QStringLiteral("failures"), true},
                                      {QStringLiteral("last sign of life"), false, narrow_column}};
    QList<QStringList> rows;
    QStringList reasons;
    for (const overview_entry& entry : overview.entries) {
        const auto& [source, status] = entry;
        rows.append({source.number(), text_or_dash(source.evidence_number), display_text(source.source),
                     name_of(status.state), text_or_dash(status.attempt.node), generation_or_dash(status),
                     count_or_dash(status, status.attempt.files),
                     has_result(status.state) ? display_bytes(status.attempt.bytes) : QStringLiteral("-"),
                     count_or_dash(status, status.attempt.failures), text_or_dash(last_sign(status))});
        for (const QString& text : {status.reason, progress_of(entry)}) {
            if (!text.isEmpty()) {
                reasons.append(
                    QStringLiteral("%1: %2: %3").arg(source.number(), name_of(status.state), display_text(text)));
            }
        }
    }
    QStringList lines = rows.isEmpty() ? QStringList() : table_lines(columns, rows, width);
    lines += reasons;
    lines.append(QStringLiteral("%1 sources: %2; %3 files (%4), %5 accounts, %6 failures")
                     .arg(display_number(overview.entries.size()), counts_text(overview),
                          display_number(overview.files), display_bytes(overview.bytes),
                          display_number(overview.accounts), display_number(overview.failures)));
    if (const auto seconds = overview.seconds_left()) {
        lines.append(QStringLiteral("%1 left").arg(duration_text(*seconds)));
    }
    return lines;
}

QJsonObject status_to_json(const case_overview& overview)
{
    QJsonArray sources;
    for (const overview_entry& entry : overview.entries) {
        sources.append(entry_to_json(entry));
    }
    QJsonObject states;
    for (std::size_t state = 0; state < facts_of_states.size(); ++state) {
        states.insert(QLatin1String(facts_of_states[state].name), overview.counts[state]);
    }
    const auto left = overview.seconds_left();
    return {{"sources", sources},
            {"totals", QJsonObject{{"sources", overview.entries.size()},
                                   {"states", states},
                                   {"not_added", overview.not_added.size()},
                                   {"accounts", overview.accounts},
                                   {"files", overview.files},
                                   {"bytes", overview.bytes},
                                   {"failures", overview.failures},
                                   {"seconds_left", left ? QJsonValue(*left) : QJsonValue()}}}};
}
