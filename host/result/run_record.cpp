#include "host/result/run_record.h"

#include "host/files/durable_file.h"
#include "host/files/quiet_reading.h"
#include "host/terminal/login_name.h"
#include "host/text/failure.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSysInfo>
#include <QTimeZone>

namespace {

// Some hundred bytes a user: this bounds what a planted one can make the program read.
constexpr qint64 largest_record = qint64(1) << 30;

QJsonValue time_value(const QDateTime& time)
{
    return time.isValid() ? QJsonValue(time.toUTC().toString(Qt::ISODateWithMs)) : QJsonValue();
}

QDateTime time_from(const QJsonValue& value)
{
    return QDateTime::fromString(value.toString(), Qt::ISODateWithMs);
}

QJsonValue text_or_null(const QString& text)
{
    return text.isEmpty() ? QJsonValue() : QJsonValue(text);
}

QStringList texts_from(const QJsonValue& value)
{
    QStringList texts;
    for (const auto& text : value.toArray()) {
        texts.append(text.toString());
    }
    return texts;
}

QJsonObject case_to_json(const case_data& about)
{
    QJsonObject object;
    for (const case_field& field : case_fields) {
        object.insert(QLatin1String(field.name), text_or_null(about.*field.value));
    }
    return object;
}

QJsonObject identity_to_json(const source_identity& identity)
{
    QJsonArray homes;
    for (const home_identity& home : identity.homes) {
        const QJsonObject object{{"name", home.name}, {"inode", QString::number(home.inode)}, {"born_utc", home.born}};
        homes.append(object);
    }
    return {{"system_version", text_or_null(identity.system_version)}, {"homes", homes}};
}

source_identity identity_from_json(const QJsonObject& object)
{
    source_identity identity;
    identity.system_version = object["system_version"].toString();
    for (const auto& home : object["homes"].toArray()) {
        const QJsonObject told = home.toObject();
        identity.homes.append(
            {told["name"].toString(), told["inode"].toString().toULongLong(), told["born_utc"].toString()});
    }
    return identity;
}

run_status status_from(const QString& name)
{
    for (std::size_t i = 0; i < run_status_names.size(); ++i) {
        if (name == QLatin1String(run_status_names[i])) {
            return static_cast<run_status>(i);
        }
    }
    return run_status::running;
}

QJsonObject summary_to_json(const verification_summary& summary)
{
    QJsonObject totals;
    for (std::size_t i = 0; i < summary.totals.size(); ++i) {
        totals.insert(QLatin1String(entry_status_names[i]), summary.totals[i]);
    }
    return {{"files", summary.files},
            {"bytes", summary.bytes},
            {"totals", totals},
            {"whole", summary.whole},
            {"finished_utc", time_value(summary.finished)}};
}

verification_summary summary_from_json(const QJsonObject& object)
{
    verification_summary summary;
    summary.files = object["files"].toInteger();
    summary.bytes = object["bytes"].toInteger();
    const QJsonObject totals = object["totals"].toObject();
    for (std::size_t i = 0; i < summary.totals.size(); ++i) {
        summary.totals[i] = totals[QLatin1String(entry_status_names[i])].toInteger();
    }
    summary.whole = object["whole"].toBool();
    summary.finished = time_from(object["finished_utc"]);
    return summary;
}

QJsonObject user_to_json(const user_record& user)
{
    return {{"name", user.name},
            {"accounts",
             QJsonObject{{"account_store", user.account_store_rows}, {"mail_directory", user.mail_directory_rows}}},
            {"files_copied", user.files_copied},
            {"bytes", user.bytes}};
}

user_record user_from_json(const QJsonObject& object)
{
    const QJsonObject accounts = object["accounts"].toObject();
    return {object["name"].toString(), accounts["account_store"].toInteger(), accounts["mail_directory"].toInteger(),
            object["files_copied"].toInteger(), object["bytes"].toInteger()};
}

} // namespace

case_data case_from_json(const QJsonObject& object)
{
    case_data about;
    for (const case_field& field : case_fields) {
        about.*field.value = object[QLatin1String(field.name)].toString();
    }
    return about;
}

run_record begin_run_record(const QStringList& command_line)
{
    run_record record;
    record.program_name = QCoreApplication::applicationName();
    record.program_version = QCoreApplication::applicationVersion();
    record.command_line = command_line;
    record.host_name = QSysInfo::machineHostName();
    record.host_system = QSysInfo::prettyProductName() + QStringLiteral(", ") + QSysInfo::kernelType() +
                         QLatin1Char(' ') + QSysInfo::kernelVersion();
    record.host_architecture = QSysInfo::currentCpuArchitecture();
    record.login_name = login_name();
    record.started = QDateTime::currentDateTimeUtc();
    const QDateTime here = record.started.toLocalTime();
    record.time_zone = QString::fromUtf8(QTimeZone::systemTimeZoneId()) + QStringLiteral(", UTC") +
                       here.toOffsetFromUtc(here.offsetFromUtc()).toString(QStringLiteral("t")).mid(3);
    return record;
}

QJsonObject run_record_to_json(const run_record& record)
{
    QJsonArray users;
    for (const user_record& user : record.users) {
        users.append(user_to_json(user));
    }
    return {
        {"program", QJsonObject{{"name", record.program_name},
                                {"version", record.program_version},
                                {"sha256", text_or_null(record.program_sha256)}}},
        {"plugin", QJsonObject{{"path", record.plugin_path},
                               {"version", record.plugin_version},
                               {"sha256", text_or_null(record.plugin_sha256)}}},
        {"status", run_status_name(record.status)},
        {"exit_code", record.exit_code ? QJsonValue(*record.exit_code) : QJsonValue()},
        {"command_line", QJsonArray::fromStringList(record.command_line)},
        {"host", QJsonObject{{"name", record.host_name},
                             {"system", record.host_system},
                             {"architecture", record.host_architecture}}},
        {"operator", record.login_name},
        {"case", case_to_json(record.about)},
        {"time_zone", record.time_zone},
        {"started_utc", time_value(record.started)},
        {"ended_utc", time_value(record.ended)},
        {"source", record.source},
        {"source_identity", identity_to_json(record.identity)},
        {"source_time_zone", text_or_null(record.source_time_zone)},
        {"result", record.result},
        {"options", record.options},
        {"users", users},
        {"users_left_out", QJsonArray::fromStringList(record.users_left_out)},
        {"log", QJsonObject{{"path", record.log_path},
                            {"enciphered", record.log_enciphered},
                            {"failures", record.log_failures},
                            {"failure_lines", QJsonArray::fromStringList(record.log_failure_lines)}}},
        {"verification", record.verification ? QJsonValue(summary_to_json(*record.verification)) : QJsonValue()},
        {"remarks", QJsonArray::fromStringList(record.remarks)},
        {"error", text_or_null(record.error)},
    };
}

run_record run_record_from_json(const QJsonObject& object)
{
    const QJsonObject program = object["program"].toObject();
    const QJsonObject plugin = object["plugin"].toObject();
    const QJsonObject host = object["host"].toObject();
    const QJsonObject log = object["log"].toObject();
    run_record record;
    record.program_name = program["name"].toString();
    record.program_version = program["version"].toString();
    record.program_sha256 = program["sha256"].toString();
    record.plugin_path = plugin["path"].toString();
    record.plugin_version = plugin["version"].toString();
    record.plugin_sha256 = plugin["sha256"].toString();
    record.status = status_from(object["status"].toString());
    if (object["exit_code"].isDouble()) {
        record.exit_code = object["exit_code"].toInt();
    }
    record.command_line = texts_from(object["command_line"]);
    record.host_name = host["name"].toString();
    record.host_system = host["system"].toString();
    record.host_architecture = host["architecture"].toString();
    record.login_name = object["operator"].toString();
    record.about = case_from_json(object["case"].toObject());
    record.time_zone = object["time_zone"].toString();
    record.started = time_from(object["started_utc"]);
    record.ended = time_from(object["ended_utc"]);
    record.source = object["source"].toString();
    record.identity = identity_from_json(object["source_identity"].toObject());
    record.source_time_zone = object["source_time_zone"].toString();
    record.result = object["result"].toString();
    record.options = object["options"].toObject();
    for (const auto& user : object["users"].toArray()) {
        record.users.append(user_from_json(user.toObject()));
    }
    record.users_left_out = texts_from(object["users_left_out"]);
    record.log_path = log["path"].toString();
    record.log_enciphered = log["enciphered"].toBool();
    record.log_failures = log["failures"].toInteger();
    record.log_failure_lines = texts_from(log["failure_lines"]);
    if (object["verification"].isObject()) {
        record.verification = summary_from_json(object["verification"].toObject());
    }
    record.remarks = texts_from(object["remarks"]);
    record.error = object["error"].toString();
    return record;
}

void write_run_record(const result_paths& result, const run_record& record)
{
    QDir().mkpath(result.products());
    write_durably(result.path(product::run_record), QJsonDocument(run_record_to_json(record)).toJson());
}

std::optional<run_record> read_run_record(const result_paths& result)
{
    const QString path = result.path(product::run_record);
    if (quiet_stat(QFile::encodeName(path)).kind == entry_kind::absent) {
        return std::nullopt;
    }
    const quiet_data content = quiet_read(QFile::encodeName(path), largest_record, link_handling::follow);
    if (!content.error.isEmpty()) {
        refuse(path + QStringLiteral(": ") + content.error);
    }
    QJsonParseError problem;
    const QJsonDocument document = QJsonDocument::fromJson(content.data, &problem);
    if (!document.isObject()) {
        refuse(path + QStringLiteral(": this is no run record (") +
               (document.isNull() ? problem.errorString() : QStringLiteral("no object")) + QLatin1Char(')'));
    }
    run_record record = run_record_from_json(document.object());
    for (const user_record& user : record.users) {
        // Paths are made of the names.
        if (user.name.isEmpty() || user.name.contains(QLatin1Char('/')) || user.name == QLatin1String(".") ||
            user.name == QLatin1String("..")) {
            refuse(QStringLiteral("%1: this is no run record (a user is named \"%2\")").arg(path, user.name));
        }
    }
    return record;
}
