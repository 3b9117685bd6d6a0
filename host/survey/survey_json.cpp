#include "host/survey/survey_json.h"
#include "host/text/display_text.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <array>

namespace {

constexpr std::array naming_words = {"identifier", "imap", "pop", "other"};

template <typename Items, typename Convert>
QJsonArray array_of(const Items& items, const Convert& convert)
{
    QJsonArray array;
    for (const auto& item : items) {
        array.append(convert(item));
    }
    return array;
}

QJsonObject amount_object(const file_amount& amount)
{
    return {{"files", amount.files}, {"bytes", amount.bytes}};
}

QJsonValue optional_size(const std::optional<qint64>& bytes)
{
    return bytes ? QJsonValue(*bytes) : QJsonValue();
}

QJsonObject account_folder_object(const account_folder& folder)
{
    return {{"name", display_text(folder.name)},
            {"naming", QString::fromLatin1(naming_words[static_cast<std::size_t>(folder.naming)])},
            {"visible", amount_object(folder.visible)}};
}

QJsonObject mail_folder_object(const mail_folder& folder)
{
    return {{"name", display_text(folder.name)},
            {"is_version", folder.is_version},
            {"visible", amount_object(folder.visible)},
            {"hidden", amount_object(folder.hidden)},
            {"folders", array_of(folder.folders, account_folder_object)}};
}

QJsonObject store_object(const account_store& store)
{
    return {{"name", display_text(store.name)},
            {"bytes", store.bytes},
            {"wal_bytes", optional_size(store.wal_bytes)},
            {"shm_bytes", optional_size(store.shm_bytes)}};
}

QJsonObject user_object(const user_survey& user)
{
    return {{"name", display_text(user.name)},
            {"has_mail_directory", user.has_mail_directory},
            {"not_followed", display_text(user.not_followed)},
            {"live_version", display_text(user.live_version)},
            {"live_version_problem", user.live_version_problem},
            {"mail_folders", array_of(user.folders, mail_folder_object)},
            {"loose", amount_object(user.loose)},
            {"hidden", amount_object(user.hidden)},
            {"account_stores", array_of(user.stores, store_object)}};
}

QJsonObject finding_object(const survey_finding& finding)
{
    return {{"path", display_text(finding.path)}, {"reason", finding.reason}};
}

QJsonObject link_object(const link_problem& problem)
{
    const bool is_cycle = problem.kind == link_problem_kind::cycle;
    return {{"path", display_text(problem.path)},
            {"target", display_text(problem.target)},
            {"kind", is_cycle ? QStringLiteral("cycle") : QStringLiteral("leaves_source")}};
}

QJsonValue room_value(const std::optional<room_estimate>& room)
{
    if (!room) {
        return {};
    }
    return QJsonObject{{"needed", room->needed()},
                       {"mail_trees", room->mail_trees},
                       {"account_folders", room->account_folders},
                       {"free", room->error.isEmpty() ? QJsonValue(room->free) : QJsonValue()},
                       {"measured_at", display_text(room->measured_at)},
                       {"enough", room->is_enough()},
                       {"error", room->error}};
}

} // namespace

QByteArray survey_json(const source_survey& survey)
{
    const QJsonObject object{{"source", display_text(survey.source)},
                             {"users", array_of(survey.users, user_object)},
                             {"links", survey.links},
                             {"link_problems", array_of(survey.link_problems, link_object)},
                             {"broken_links", array_of(survey.broken_links, finding_object)},
                             {"unreadable", array_of(survey.unreadable, finding_object)},
                             {"special_files", array_of(survey.special_files, finding_object)},
                             {"undecodable_names", array_of(survey.undecodable_names, finding_object)},
                             {"room", room_value(survey.room)}};
    return QJsonDocument(object).toJson();
}
