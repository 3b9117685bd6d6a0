#pragma once

#include "host/completeness/reconciliation.h"
#include "host/result/result_paths.h"

#include <QList>
#include <QString>
#include <QStringList>

/// One mailbox of one store as mail.sqlite tells of it; names as they are shown.
struct mailbox_certificate
{
    QString account;
    QString mailbox;
    bool is_label = false; ///< no part of the totals
    QString setting;       ///< whether the account keeps messages on the Mac; empty where that is not known
    completeness_figures figures;
};

/// An account that has a folder and no mailbox in the index, or the other way round.
struct lone_account
{
    QString account;
    bool has_folder = false;
};

/// One store, the same way.
struct store_certificate
{
    QString user;
    QString mail_version; ///< empty for mail directly in the Mail directory
    QString index_path;   ///< below the source
    QString index_state;  ///< "read", "incomplete", "refused" or "absent"
    QString index_problem;
    QString schema;
    QString schema_version;
    QString minor_version;
    QString store_identifier;
    QString generation;
    qint64 rows = 0;
    qint64 pairs = 0;
    qint64 repeated = 0;
    qint64 dangling_labels = 0;
    QList<mailbox_certificate> mailboxes;
    QList<lone_account> lone_accounts;
    QStringList not_looked_at;
    QStringList links;       ///< not followed, for they lead to nowhere else
    QStringList index_notes; ///< what a person must know of reading the index
    QStringList missing;     ///< columns that the index lacks
    QStringList not_closing; ///< sums that do not close
    completeness_figures totals;
};

/// What was compared in a result.
struct completeness_certificate
{
    QList<store_certificate> stores;
    completeness_figures totals;
    bool closes = true; ///< every sum does
};

/// Reads it back from a result's mail.sqlite. Throws a failure when there is none, or another schema.
completeness_certificate read_completeness(const result_paths& result);

/// Returns what is to be said of stores beside the figures, a line each, the gravest first: sums that do not close, an
/// index that could not be read, what was not looked at, accounts that only one witness knows.
QStringList completeness_remarks(const completeness_certificate& certificate);
