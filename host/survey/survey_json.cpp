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

/// What nobody could look at is null, never nothing.
QJsonValue known_amount(const file_amount& amount, const unknown_content& unknown)
{
    return unknown.is_whole ? QJsonValue() : QJsonValue(amount_object(amount));
}

template <typename Items, typename Convert>
QJsonValue known_array(const Items& items, const Convert& convert, bool is_known)
{
    return is_known || !items.empty() ? QJsonValue(array_of(items, convert)) : QJsonValue();
}

QJsonValue presence_value(presence found)
{
    return found == presence::unknown ? QJsonValue() : QJsonValue(found == presence::present);
}

QJsonObject account_folder_object(const account_folder& folder)
{
    return {{"name", display_text(folder.name)},
            {"naming", QString::fromLatin1(naming_words[static_cast<std::size_t>(folder.naming)])},
            {"visible", known_amount(folder.visible, folder.unknown)},
            {"unknown_places", folder.unknown.places}};
}

QJsonObject mail_folder_object(const mail_folder& folder)
{
    return {{"name", display_text(folder.name)},
            {"is_version", folder.is_version},
            {"visible", known_amount(folder.visible, folder.unknown)},
            {"hidden", known_amount(folder.hidden, folder.unknown)},
            {"unknown_places", folder.unknown.places},
            {"folders", known_array(folder.folders, account_folder_object, !folder.unknown.is_whole)}};
}

QJsonObject store_object(const account_store& store)
{
    return {{"name", display_text(store.name)},
            {"bytes", optional_size(store.bytes)},
            {"wal_bytes", optional_size(store.wal_bytes)},
            {"shm_bytes", optional_size(store.shm_bytes)},
            {"problem", store.problem}};
}

QJsonObject user_object(const user_survey& user)
{
    unknown_content unknown = user.unknown;
    unknown.is_whole = unknown.is_whole || user.mail_directory == presence::unknown;
    return {{"name", display_text(user.name)},
            {"has_mail_directory", presence_value(user.mail_directory)},
            {"mail_problem", user.mail_problem},
            {"not_followed", display_text(user.not_followed)},
            {"live_version", display_text(user.live_version)},
            {"live_version_problem", user.live_version_problem},
            {"mail_folders", known_array(user.folders, mail_folder_object, !unknown.is_whole)},
            {"loose", known_amount(user.loose, unknown)},
            {"hidden", known_amount(user.hidden, unknown)},
            {"unknown_places", unknown.places},
            {"account_stores", known_array(user.stores, store_object, user.stores_problem.isEmpty())},
            {"account_stores_problem", user.stores_problem}};
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
                       {"is_least", room->is_least},
                       {"mail_trees", room->mail_trees},
                       {"account_folders", room->account_folders},
                       {"account_folders_one_by_one", room->account_folders_one_by_one},
                       {"working_copies", room->working_copies},
                       {"kept_files", room->kept_files},
                       {"records", room->records},
                       {"free", room->error.isEmpty() ? QJsonValue(room->free) : QJsonValue()},
                       {"entries", room->entries},
                       {"free_entries", room->error.isEmpty() ? QJsonValue(room->free_entries) : QJsonValue()},
                       {"measured_at", display_text(room->measured_at)},
                       {"enough", room->is_enough()},
                       {"error", room->error}};
}

} // namespace

QByteArray survey_json(const source_survey& survey)
{
    const QJsonObject object{{"source", display_text(survey.source)},
                             {"is_whole", survey.is_whole()},
                             {"users", known_array(survey.users, user_object, survey.users_problem.isEmpty())},
                             {"users_problem", survey.users_problem},
                             {"links", survey.links},
                             {"link_problems", array_of(survey.link_problems, link_object)},
                             {"broken_links", array_of(survey.broken_links, finding_object)},
                             {"unreadable", array_of(survey.unreadable, finding_object)},
                             {"advice", QJsonArray::fromStringList(survey.advice())},
                             {"special_files", array_of(survey.special_files, finding_object)},
                             {"undecodable_names", array_of(survey.undecodable_names, finding_object)},
                             {"room", room_value(survey.room)}};
    return QJsonDocument(object).toJson();
}
