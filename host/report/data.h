#pragma once

#include "host/result/manifest.h"
#include "host/result/run_record.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <array>
#include <numeric>
#include <optional>

/// Files and bytes of one folder of the result, or of one user's Mail trees.
struct report_amount
{
    qint64 files = 0;      ///< files with content in the result
    qint64 bytes = 0;      ///< their size
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
    report_amount amount;
};

struct report_user
{
    QString name;
    QList<report_account> accounts; ///< in the order of the rows
    report_amount mail_tree;        ///< the whole Mail directory where manifest or run record tell, else the accounts
};

/// What manifest.csv says.
struct report_manifest
{
    std::array<qint64, entry_status_names.size()> totals{}; ///< by entry_status
    QList<manifest_entry> exceptions; ///< neither copied nor hidden; the gravest first, then by path; limited
    qint64 exceptions_count = 0;      ///< all of them
    QDateTime written;                ///< UTC

    /// Returns how many files it lists with a status.
    qint64 count(entry_status status) const { return totals[static_cast<std::size_t>(status)]; }
    /// Returns how many files it lists.
    qint64 files() const { return std::accumulate(totals.begin(), totals.end(), qint64(0)); }
    /// Returns how many files are missing, different or unreadable.
    qint64 faults() const;
};

/// Everything the report shows: what the run left, and what the last verification since then found. What could not be
/// read is absent, and `notes` says so.
struct report_data
{
    QString result; ///< absolute
    std::optional<run_record> run;
    std::optional<report_manifest> manifest;
    QList<report_user> users;    ///< sorted by name
    bool failures_known = false; ///< the run record or the log could be read for them
    qint64 failures = 0;
    QStringList failure_lines; ///< limited
    QStringList notes;         ///< one line each
};

/// Returns an account's folder without the dated folder in which its user's mail lies, "V10/IMAP-...", for showing.
QString short_folder(const report_account& account);

/// The most exceptions that a report carries.
inline constexpr qsizetype most_report_exceptions = 2000;

/// Reads a result directory; nothing, with one line in `error`, when its result database cannot be read.
std::optional<report_data> load_report_data(const QString& result, QString& error);
