#pragma once

#include "sample/sample_source.h"

#include <QList>

/// What sets one kind of mail account apart.
struct mail_account_kind
{
    const char* provider_type; // type of the parent row; empty when the mail row stands on its own
    const char* mail_type;     // type of the row whose identifier names the account folder
    const char* prefix;        // of protocol-named account folders
    int port;
    const char* host;        // "%1" stands for the address's domain
    const char* domain;      // of the address; empty for one of the example domains
    const char* description; // empty for the domain
};

struct sample_mail_account
{
    const mail_account_kind* kind;
    QString login;
    QString domain;
    QString host;
    QString identifier;
    QString provider_identifier; // empty when the mail row stands on its own
    bool only_in_log;

    QString address() const { return login + u'@' + domain; }
    QString description() const;
};

enum class account_stores
{
    accounts4,
    accounts3,
    both,
    none
};

struct sample_user
{
    QString name; // of the home directory
    QString full_name;
    QString login;
    QList<int> mail_versions; // newest first
    account_stores stores;
    bool shared_memory_file; // "-shm" beside the account store
    bool binary_persistence_info;
    QList<sample_mail_account> accounts;
};

/// The users of a sample and their accounts, in the order of writing.
QList<sample_user> cast_sample_users(const sample_options& options);

/// Name of the account's folder in a Mail version directory.
QString account_folder_name(const sample_user& user, qsizetype account, int mail_version);

/// Whether that name is the account's identifier.
bool is_named_by_identifier(const sample_user& user, qsizetype account, int mail_version);
