#include "host/mail_database/accounts_json.h"

#include "host/mail_database/account_fields.h"
#include "host/mail_database/account_reading.h"

#include <QJsonArray>

namespace {

QJsonValue text_or_null(const QString& text)
{
    return text.isEmpty() ? QJsonValue(QJsonValue::Null) : QJsonValue(text);
}

QJsonValue flag_or_null(const std::optional<bool>& flag)
{
    return flag ? QJsonValue(*flag) : QJsonValue(QJsonValue::Null);
}

QJsonObject name_to_json(const account_name& name)
{
    return {{"identifier", text_or_null(name.identifier)},
            {"type_identifier", text_or_null(name.type_identifier)},
            {"description", text_or_null(name.description)}};
}

QJsonArray names_to_json(const QList<account_name>& names)
{
    QJsonArray list;
    for (const account_name& name : names) {
        list.append(name_to_json(name));
    }
    return list;
}

QJsonArray folders_to_json(const QList<account_place>& places)
{
    QJsonArray list;
    for (const account_place& place : places) {
        list.append(QJsonObject{{"mail_version", place.mail_version},
                                {"live", flag_or_null(place.live)},
                                {"path", place.path},
                                {"files", place.amount.files},
                                {"bytes", place.amount.bytes},
                                {"matched_by", text_or_null(place.matched_by)},
                                {"problem", text_or_null(place.problem)}});
    }
    return list;
}

/// "incoming_host" is told as "host" of "incoming".
void put(QJsonObject& object, const account_field& field, const account_record& record)
{
    const QVariant value = field.value(record);
    const QJsonValue told = value.isNull()    ? QJsonValue(QJsonValue::Null)
                            : field.is_flag() ? QJsonValue(value.toInt() != 0)
                                              : QJsonValue::fromVariant(value);
    const QString column = QLatin1String(field.column);
    for (const char* server : {"incoming", "outgoing"}) {
        const QString prefix = QLatin1String(server) + u'_';
        if (column.startsWith(prefix)) {
            QJsonObject inner = object.value(QLatin1String(server)).toObject();
            inner.insert(column.mid(prefix.size()), told);
            object.insert(QLatin1String(server), inner);
            return;
        }
    }
    object.insert(column, told);
}

void put_sources(QJsonObject& object, const account_record& record)
{
    QJsonObject origins;
    QJsonObject raw;
    for (auto source = record.sources.begin(); source != record.sources.end(); ++source) {
        origins.insert(source.key(), source.value().origin);
        raw.insert(source.key(), source.value().raw);
    }
    object.insert(QStringLiteral("origin"), origins);
    object.insert(QStringLiteral("raw"), raw);
}

} // namespace

QJsonObject account_to_json(const account_dossier& dossier, const account_record& record)
{
    QJsonObject object;
    for (const account_field& field : account_fields()) {
        put(object, field, record);
    }
    const auto [siblings, not_named] = siblings_of(dossier, record);
    object.insert(QStringLiteral("addresses"), QJsonArray::fromStringList(record.addresses));
    object.insert(QStringLiteral("parent"), record.parents.isEmpty() ? QJsonValue(QJsonValue::Null)
                                                                     : text_or_null(record.parents.first().identifier));
    object.insert(QStringLiteral("parents"), names_to_json(record.parents));
    object.insert(QStringLiteral("siblings"), names_to_json(siblings));
    object.insert(QStringLiteral("siblings_not_named"), not_named);
    object.insert(QStringLiteral("folders"), folders_to_json(record.folders));
    object.insert(QStringLiteral("before_log"), QJsonArray::fromStringList(record.before_log));
    object.insert(QStringLiteral("marks"), QJsonArray::fromStringList(record.marks));
    QJsonObject settings;
    for (auto setting = record.settings.begin(); setting != record.settings.end(); ++setting) {
        settings.insert(setting.key(), setting.value());
    }
    object.insert(QStringLiteral("settings"), settings);
    QJsonArray others;
    for (const auto& [name, kind] : record.other_keys) {
        others.append(QJsonObject{{"name", name}, {"kind", kind}});
    }
    object.insert(QStringLiteral("other_keys"), others);
    put_sources(object, record);
    return object;
}
