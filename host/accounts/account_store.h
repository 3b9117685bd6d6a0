#pragma once

#include "host/evidence/evidence_database.h"

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <optional>
#include <utility>
#include <vector>

/// A row of the table of accounts with what other tables say of it. What the row does not hold is empty.
struct store_account
{
    qint64 key = 0;
    bool has_plain_keys = false;            ///< key and parent are integers, identifier and user name texts, or NULL
    std::optional<qint64> looked_up_parent; ///< also where the number is written as a text
    bool has_quote_in_parent = false;       ///< its parent is a text or bytes with a quote, and no number
    QString identifier;
    QString user_name;
    QString description;
    QString owner;
    QString authentication_type;
    std::optional<qint64> type;
    std::optional<qint64> parent;
    std::optional<bool> active;
    std::optional<bool> visible;
    std::optional<bool> authenticated;
    std::optional<double> date;    ///< seconds since 2001, UTC
    std::optional<double> refused; ///< the same
    bool has_mail_class = false;
    QVariantMap mail_dictionary;                   ///< what may be shown of its data-class dictionary of Mail
    QVariantMap properties;                        ///< what may be shown of its properties
    QList<std::pair<QString, QString>> other_keys; ///< properties that may not: name and kind of value
};

/// What one account store holds.
struct account_store_content
{
    std::vector<store_account> accounts; ///< by key
    QHash<qint64, std::size_t> by_key;
    QHash<qint64, QString> type_identifiers;
    bool knows_mail_class = false; ///< the store can say for which accounts mail is enabled
    QStringList problems;          ///< what could not be read; one line each, without the store's path
    QStringList remarks;           ///< what the store's schema lacks; the same

    /// Returns a row's parent; nullptr when it names none that is there.
    const store_account* parent_of(const store_account& account) const;
    /// Returns a row's raw type; empty when it is not known.
    QString type_of(const store_account& account) const;
};

/// The most accounts that are read of one store.
inline constexpr std::size_t most_accounts = 20'000;

/// Reads a store of any schema: columns and join tables are looked for, an absent one is a remark. Never throws; where
/// reading ends early, `problems` says so and what was read before stays.
account_store_content read_account_store(const evidence_database& database);
