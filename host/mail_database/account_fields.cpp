#include "host/mail_database/account_fields.h"

namespace {

QVariant text_or_null(const QString& text)
{
    return text.isEmpty() ? QVariant() : QVariant(text);
}

template <typename... callables>
struct overloaded : callables...
{
    using callables::operator()...;
};
template <typename... callables>
overloaded(callables...) -> overloaded<callables...>;

} // namespace

QString iso_time(const QDateTime& time)
{
    return time.isValid() ? time.toUTC().toString(Qt::ISODate) : QString();
}

QVariant account_field::value(const account_record& record) const
{
    return std::visit(
        overloaded{[&](QString account_record::*text) { return text_or_null(record.*text); },
                   [&](std::optional<bool> account_record::*flag) {
                       return (record.*flag).has_value() ? QVariant(int{*(record.*flag)}) : QVariant();
                   },
                   [&](QDateTime account_record::*time) { return text_or_null(iso_time(record.*time)); },
                   [&](const server_text& where) { return text_or_null(record.*where.server.*where.text); },
                   [&](const server_port& where) {
                       const auto& port = (record.*where.server).port;
                       return port ? QVariant(*port) : QVariant();
                   }},
        member);
}

void account_field::set(account_record& record, const QVariant& value) const
{
    std::visit(overloaded{[&](QString account_record::*text) { record.*text = value.toString(); },
                          [&](std::optional<bool> account_record::*flag) {
                              record.*flag = value.isNull() ? std::nullopt : std::optional(value.toInt() != 0);
                          },
                          [&](QDateTime account_record::*time) {
                              record.*time = QDateTime::fromString(value.toString(), Qt::ISODate);
                          },
                          [&](const server_text& where) { record.*where.server.*where.text = value.toString(); },
                          [&](const server_port& where) {
                              (record.*where.server).port =
                                  value.isNull() ? std::nullopt : std::optional(value.toLongLong());
                          }},
               member);
}

const std::vector<account_field>& account_fields()
{
    using record = account_record;
    using server = account_server;
    static const std::vector<account_field> fields{
        {"user", &record::user},
        {"status", &record::status},
        {"identifier", &record::identifier},
        {"address", &record::address},
        {"full_name", &record::full_name},
        {"description", &record::description},
        {"user_name", &record::user_name},
        {"type", &record::type},
        {"type_identifier", &record::type_identifier},
        {"provider", &record::provider},
        {"incoming_host", server_text{&record::incoming, &server::host}},
        {"incoming_port", server_port{&record::incoming}},
        {"incoming_security", server_text{&record::incoming, &server::security}},
        {"incoming_authentication", server_text{&record::incoming, &server::authentication}},
        {"outgoing_host", server_text{&record::outgoing, &server::host}},
        {"outgoing_port", server_port{&record::outgoing}},
        {"outgoing_security", server_text{&record::outgoing, &server::security}},
        {"outgoing_authentication", server_text{&record::outgoing, &server::authentication}},
        {"active", &record::active},
        {"visible", &record::visible},
        {"authenticated", &record::authenticated},
        {"mail_enabled", &record::mail_enabled},
        {"recorded", &record::recorded},
        {"last_refused", &record::last_refused},
        {"store", &record::store},
        {"row", &record::row},
        {"owner", &record::owner},
    };
    return fields;
}
