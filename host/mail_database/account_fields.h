#pragma once

#include "host/accounts/account_record.h"

#include <QString>
#include <QVariant>

#include <variant>
#include <vector>

/// A text of one of an account's two servers.
struct server_text
{
    account_server account_record::*server;
    QString account_server::*text;
};

/// The port of one of an account's two servers.
struct server_port
{
    account_server account_record::*server;
};

/// One value of a record that stands in a column of its own.
struct account_field
{
    const char* column;
    std::variant<QString account_record::*, std::optional<bool> account_record::*, QDateTime account_record::*,
                 server_text, server_port>
        member;

    /// Returns the value as the database holds it: text, number, or nothing for an unknown one; times as ISO 8601.
    QVariant value(const account_record& record) const;
    /// Puts such a value into a record.
    void set(account_record& record, const QVariant& value) const;
    /// True for a field that is yes or no.
    bool is_flag() const { return std::holds_alternative<std::optional<bool> account_record::*>(member); }
};

/// Returns all such fields, in the order of the columns.
const std::vector<account_field>& account_fields();

/// Returns a time as "2020-03-22T01:11:29Z"; empty for an invalid one.
QString iso_time(const QDateTime& time);
