#include "host/cases/source_state.h"

#include "host/cases/shared_files.h"
#include "host/files/quiet_reading.h"
#include "host/text/failure.h"

#include <QFile>

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace {

constexpr std::pair<const char*, QString attempt_record::*> text_fields[] = {
    {"reason", &attempt_record::reason},
    {"attempt", &attempt_record::attempt},
    {"node", &attempt_record::node},
    {"job", &attempt_record::job},
    {"identity", &attempt_record::identity},
    {"source", &attempt_record::source},
    {"started_utc", &attempt_record::started_utc},
    {"ended_utc", &attempt_record::ended_utc},
    {"manifest_sha256", &attempt_record::manifest_sha256},
    {"database_sha256", &attempt_record::database_sha256},
    {"seal_sha256", &attempt_record::seal_sha256},
    {"program_version", &attempt_record::program_version},
    {"plugin_version", &attempt_record::plugin_version},
    {"plugin_sha256", &attempt_record::plugin_sha256},
};

constexpr std::pair<const char*, qint64 attempt_record::*> number_fields[] = {
    {"generation", &attempt_record::generation}, {"milliseconds", &attempt_record::milliseconds},
    {"accounts", &attempt_record::accounts},     {"files", &attempt_record::files},
    {"bytes", &attempt_record::bytes},           {"failures", &attempt_record::failures},
    {"index", &attempt_record::index},
};

std::optional<attempt_record> read_attempt(const QString& path, QString& error)
{
    const read_record_result record = read_record(path);
    if (!record.object) {
        error = record.error.isEmpty() ? path + QStringLiteral(": no such file") : record.error;
        return std::nullopt;
    }
    QString reason;
    const auto attempt = attempt_from_json(*record.object, reason);
    if (!attempt) {
        error = path + QStringLiteral(": damaged (") + reason + QLatin1Char(')');
    }
    return attempt;
}

void set_failed(source_status& status, const QString& reason)
{
    status.state = source_state::failed;
    status.reason = reason;
    status.is_damaged = true;
}

void take_attempt(source_status& status, const attempt_record& record)
{
    status.attempt = record;
    status.state = record.state;
    status.reason = record.reason;
}

/// Returns why a record does not say that it is of this source, as far as it says that: directories get mixed up when
/// cases are moved and copied. Empty when it does.
QString reason_against_source(const attempt_record& record, const case_source& source)
{
    const QString other =
        QStringLiteral("it tells of another source than the one that was added with index %1").arg(source.index);
    if (record.index != 0 && record.index != source.index) {
        return other;
    }
    if (record.identity.isEmpty()) {
        return {};
    }
    try {
        const auto identity = read_registration(source.directory).identity;
        return identity && record.identity != fingerprint_sum(*identity) ? other : QString();
    } catch (const failure& problem) {
        return QStringLiteral("what source it tells of cannot be found out: ") + problem.message();
    }
}

/// Takes what "whole" leads to; what it says must be said by the attempt of that name.
void take_whole(source_status& status, const case_source& source)
{
    const QString path = source.file(QStringLiteral("whole"));
    std::error_code unread;
    const QString target =
        QFile::decodeName(std::filesystem::read_symlink(QFile::encodeName(path).toStdString(), unread).c_str());
    if (unread && unread != std::errc::invalid_argument) {
        set_failed(status, QStringLiteral("%1: %2").arg(path, QString::fromLocal8Bit(unread.message().c_str())));
        return;
    }
    if (!generation_of_attempt(target)) {
        set_failed(status, path + QStringLiteral(": it leads to no attempt"));
        return;
    }
    QString error;
    const QString record_path = source.file(target) + QStringLiteral(".json");
    const auto record = read_attempt(record_path, error);
    if (!record) {
        set_failed(status, error);
    } else if (record->attempt != target || (!has_result(record->state) && record->state != source_state::no_mail)) {
        set_failed(status, record_path + QStringLiteral(": it tells of another attempt or of none that ended"));
    } else if (const QString reason = reason_against_source(*record, source); !reason.isEmpty()) {
        set_failed(status, record_path + QStringLiteral(": ") + reason);
    } else {
        take_attempt(status, *record);
        status.result = has_result(record->state) ? source.file(target) : QString();
    }
}

void take_unfinished(source_status& status, const case_source& source)
{
    const QString path = source.file(QStringLiteral("state.json"));
    QString error;
    const entry_facts facts = quiet_stat(QFile::encodeName(path));
    if (facts.kind == entry_kind::file && facts.size == 0) {
        status.state = source_state::partial;
        status.reason = QStringLiteral("the machine of its task went down");
        return;
    }
    const auto record = facts.kind == entry_kind::absent ? std::optional(attempt_record()) : read_attempt(path, error);
    if (!record) {
        set_failed(status, error);
        return;
    }
    take_attempt(status, *record);
    const bool died = status.state == source_state::running ||
                      (status.lease.exists && status.lease.holder.generation > record->generation);
    if (died) {
        status.state = source_state::partial;
        status.reason = QStringLiteral("its task on %1 gave no further sign of life")
                            .arg(status.lease.exists ? status.lease.holder.node : record->node);
    } else if (has_result(status.state) || status.state == source_state::no_mail) {
        set_failed(status, path + QStringLiteral(": it speaks of a result, but there is no \"whole\""));
    }
}

} // namespace

QJsonObject attempt_to_json(const attempt_record& record)
{
    QJsonObject object{{"state", name_of(record.state)}, {"exit_code", record.exit_code}};
    for (const auto& [key, field] : text_fields) {
        object.insert(QLatin1String(key), record.*field);
    }
    for (const auto& [key, field] : number_fields) {
        object.insert(QLatin1String(key), record.*field);
    }
    return object;
}

std::optional<attempt_record> attempt_from_json(const QJsonObject& object, QString& error)
{
    const QString name = object["state"].toString();
    const auto found = std::find_if(facts_of_states.begin(), facts_of_states.end(),
                                    [&name](const state_facts& facts) { return name == QLatin1String(facts.name); });
    if (found == facts_of_states.end()) {
        error = QStringLiteral("\"%1\" is no state").arg(name);
        return std::nullopt;
    }
    attempt_record record;
    record.state = static_cast<source_state>(found - facts_of_states.begin());
    record.exit_code = object["exit_code"].toInt(-1);
    for (const auto& [key, field] : text_fields) {
        record.*field = object[QLatin1String(key)].toString();
    }
    for (const auto& [key, field] : number_fields) {
        record.*field = std::max<qint64>(object[QLatin1String(key)].toInteger(), 0);
    }
    return record;
}

QString reason_against_directory(const QString& result)
{
    const entry_facts facts = quiet_stat(QFile::encodeName(result));
    return facts.kind == entry_kind::directory
               ? QString()
               : QStringLiteral("%1: %2, where the directory of an attempt should be")
                     .arg(result, facts.kind == entry_kind::unknown ? facts.error : kind_text(facts.kind));
}

source_status look_at_source(const case_source& source)
{
    source_status status;
    if (source.directory.isEmpty()) {
        set_failed(status,
                   QStringLiteral("below results there is no directory for index %1; `case add` takes a row without "
                                  "an index as a new source")
                       .arg(source.index));
        return status;
    }
    forget_remembered_names(source.directory);
    status.lease = look_at_lease(source.directory);
    const QByteArray whole = QFile::encodeName(source.file(QStringLiteral("whole")));
    status.has_whole = quiet_stat(whole).kind != entry_kind::absent;
    if (status.has_whole) {
        take_whole(status, source);
    } else {
        take_unfinished(status, source);
    }
    if (source.is_withdrawn) {
        status.state = source_state::withdrawn;
        status.reason.clear();
        status.result.clear();
        status.is_damaged = false;
    } else if (status.lease.is_fresh && facts_of(status.state).kind != state_kind::done) {
        status.state = source_state::running;
        status.reason = status.lease.error;
        status.attempt.node = status.lease.holder.node;
        status.attempt.generation = status.lease.holder.generation;
        status.attempt.job = status.lease.holder.job;
    }
    return status;
}
