#pragma once

#include "host/files/file_amount.h"

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

#include <optional>
#include <utility>
#include <vector>

/// Where a value of a record was read.
namespace account_origin {

inline constexpr const char* own_row = "own row";
inline constexpr const char* parents_row = "parent's row";
inline constexpr const char* own_property = "own property";
inline constexpr const char* parents_property = "parent's property";
inline constexpr const char* own_dictionary = "own data-class dictionary";
inline constexpr const char* parents_dictionary = "parent's data-class dictionary";
inline constexpr const char* exchange_url = "Exchange URL";
inline constexpr const char* sending_property = "sending account's property";
inline constexpr const char* own_class = "own data class";
inline constexpr const char* parents_class = "parent's data class";
inline constexpr const char* folder_name = "folder name";

} // namespace account_origin

/// A server as an account names it; what is unknown is empty.
struct account_server
{
    QString host;
    std::optional<qint64> port;
    QString security; ///< "TLS", "STARTTLS", "none", or empty
    QString authentication;
};

/// Where a field's value comes from, and what stood there: "Hostname = imap.example.org".
struct value_source
{
    QString origin;
    QString raw;
};

/// How one account is named beside another's record.
struct account_name
{
    QString identifier;
    QString type_identifier;
    QString description;
};

/// An account's folder in one Mail version directory.
struct account_place
{
    QString mail_version;
    std::optional<bool> live; ///< nothing when the Mail directory does not say which version is in use
    QString path;             ///< relative to the source, as display_text shows it
    file_amount amount;       ///< every regular file below it, hidden ones included
    QString matched_by;       ///< "identifier" or "name"; empty when no record fits
    QString problem;          ///< why the amount is not whole; empty when it is
};

/// What is known of one mail account: a row of an account store, or an account folder that no row speaks of. Texts
/// that are unknown are empty, times invalid.
struct account_record
{
    QString user;
    QString store;          ///< file name of the account store; empty without a row
    QString row;            ///< "database", "only in the log" or "removed by the log"; empty without a row
    QStringList before_log; ///< "field: value" as the database has it alone, where the log changes it
    QString status;         ///< "folder and record", "record without folder" or "folder without record"
    QString identifier;
    QString address;
    QStringList addresses; ///< all known ones and aliases; the first is `address`
    QString full_name;
    QString description;
    QString user_name;
    QString type; ///< plain words; the raw identifier for a type that is not known
    QString type_identifier;
    QString provider; ///< "Google", "iCloud", "Yahoo", "Outlook", "Exchange"; empty for none
    QString owner;    ///< bundle that owns the row
    account_server incoming;
    account_server outgoing;
    std::optional<bool> active;
    std::optional<bool> visible;
    std::optional<bool> authenticated;
    std::optional<bool> mail_enabled;
    QList<account_name> parents; ///< the nearest first
    QDateTime recorded;          ///< UTC; what event it marks is not known
    QDateTime last_refused;      ///< UTC; when a credential was last refused
    qsizetype family = -1;       ///< index of those that share its parent; -1 for none
    QList<account_place> folders;
    QStringList marks;                             ///< what a reader must know: a forged or an empty identifier
    QMap<QString, QString> settings;               ///< further properties that are no secret, by key
    QList<std::pair<QString, QString>> other_keys; ///< properties that are not shown: name and kind of value
    QMap<QString, value_source> sources;           ///< by field, "incoming.host"
};

/// Accounts that share a parent.
struct account_family
{
    QList<account_name> members; ///< the first of them, as many as are ever named and one more
    qint64 size = 0;             ///< all of them
};

/// A folder in a Mail version directory whose name is no account's, such as MailData.
struct other_folder
{
    QString user;
    account_place place;
};

/// What of a row of an account store decides whether it is found by a name.
struct account_row_key
{
    qint64 key = 0;
    QString identifier;
    QString user_name;
    std::optional<qint64> parent;
    bool is_plain = false; ///< texts and numbers where they are due, and no text that a look-up stumbles over
};

/// All rows of one account store, those of other accounts than Mail's as well, in the order of the table.
struct account_store_rows
{
    QByteArray user;
    QByteArray store; ///< its file's name
    std::vector<account_row_key> rows;
};

/// The accounts of a source. `problems` are what could not be looked at; `remarks` what a store does not have.
struct account_dossier
{
    QList<account_record> accounts;
    QList<account_family> families;
    QList<other_folder> other_folders;      ///< with the accounts' own, every folder of the Mail version directories
    std::vector<account_store_rows> stores; ///< those that could be read without any problem
    QStringList problems;
    QStringList remarks;
};

/// The most siblings that are named beside an account.
inline constexpr qsizetype most_siblings_named = 100;
