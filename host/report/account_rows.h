#pragma once

#include "host/files/file_amount.h"
#include "host/result/manifest.h"
#include "host/result/result_paths.h"

#include <QDateTime>
#include <QList>
#include <QMap>
#include <QString>

#include <array>
#include <map>
#include <numeric>

/// Files and bytes of one folder of the result, or of one user's Mail trees.
struct report_amount : file_amount ///< files with content in the result
{
    qint64 not_copied = 0; ///< files that are due and missing, different or unreadable; 0 where no manifest tells
};

/// One row of the result database.
struct report_account
{
    QString account;
    QString type;            ///< "IMAP" or "POP"; empty for an account that the account store named
    QString folder;          ///< the copy, relative to the result directory; empty when the row names none below it
    QString written_path;    ///< the folder as the row has it
    qint64 files_copied = 0; ///< copies the plug-in attempted
    bool folder_exists = false;
    bool is_moved = false; ///< the row names the folder of another day, which is not there
    report_amount amount;
};

struct report_user
{
    QString name;
    QList<report_account> accounts; ///< in the order of the rows
    report_amount mail_tree;        ///< the whole Mail directory where manifest or run record tell, else the accounts
    QMap<int, qint64> files_by_year = {}; ///< how many files were last changed in a year, as the manifest has it
};

/// What the manifest says.
struct report_manifest
{
    std::array<qint64, entry_status_names.size()> totals{}; ///< by entry_status
    QList<manifest_entry> exceptions; ///< neither copied nor hidden; the gravest first, then by path; limited
    qint64 exceptions_count = 0;      ///< all of them
    qint64 kept_hidden = 0;           ///< of those kept
    qint64 kept_loose = 0;            ///< of those kept
    QDateTime written;                ///< UTC

    /// Returns how many files it lists with a status.
    qint64 count(entry_status status) const { return totals[static_cast<std::size_t>(status)]; }
    /// Returns how many files it lists.
    qint64 files() const { return std::accumulate(totals.begin(), totals.end(), qint64(0)); }
    /// Returns how many files are kept for another reason than that they are hidden or loose.
    qint64 further_witnesses() const { return count(entry_status::kept) - kept_hidden - kept_loose; }
    /// Returns how many files are missing, different or unreadable.
    qint64 faults() const;
};

/// The most exceptions that a report carries.
inline constexpr qsizetype most_report_exceptions = 2000;

/// Reads the rows of the result database, by user. Amounts are left at 0. Throws a failure when it is missing or cannot
/// be read.
QList<report_user> load_report_users(const result_paths& result);

/// Fills in the amounts of accounts and users, adds users that only the manifest tells of, and returns the rest of what
/// the manifest says. Throws a failure when there is no sound manifest, and then changes nothing.
report_manifest apply_manifest(const result_paths& result, QList<report_user>& users);

/// What lies in folders of the result, by paths relative to it.
using folder_amounts = std::map<QByteArray, file_amount>;

/// Fills in the amounts of the accounts: what is `known` of their folders, else by looking at them in the result; links
/// are not followed. Returns what could not be looked at.
QStringList measure_account_folders(const result_paths& result, const folder_amounts& known, QList<report_user>& users);
