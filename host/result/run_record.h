#pragma once

#include "host/result/manifest.h"
#include "host/result/result_paths.h"
#include "host/source/source_identity.h"

#include <QDateTime>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

#include <array>
#include <optional>

/// What a verification found, in numbers.
struct verification_summary
{
    qint64 files = 0;                                       ///< entries of the manifest
    qint64 bytes = 0;                                       ///< their size
    std::array<qint64, entry_status_names.size()> totals{}; ///< entries by entry_status
    bool whole = false;                                     ///< nothing is missing, different or unreadable
    QDateTime finished;                                     ///< UTC

    bool operator==(const verification_summary&) const = default;
};

/// How far a run came.
enum class run_status : unsigned char
{
    running, ///< it is at work, or was killed
    finished,
    cancelled,
    failed ///< it could not begin its work
};

/// The words for them in run.json, by status.
inline constexpr std::array<const char*, 4> run_status_names = {"running", "finished", "cancelled", "failed"};

/// Returns the word for a status.
inline QLatin1String run_status_name(run_status status)
{
    return QLatin1String(run_status_names[static_cast<std::size_t>(status)]);
}

/// What the examiner says of the case; empty where he says nothing.
struct case_data
{
    QString case_number;
    QString evidence_number;
    QString examiner;
    QString organisation;
    QString notes;
    QString image_sha256; ///< of the image that the source was mounted from

    bool operator==(const case_data&) const = default;
};

/// The members of case data with their names in run.json, on the command line (there with "-" for "_") and in words.
struct case_field
{
    const char* name;
    const char* title;
    QString case_data::*value;
};
inline constexpr std::array<case_field, 6> case_fields = {{
    {"case_number", "Case number", &case_data::case_number},
    {"evidence_number", "Evidence number", &case_data::evidence_number},
    {"examiner", "Examiner", &case_data::examiner},
    {"organisation", "Organisation", &case_data::organisation},
    {"notes", "Notes", &case_data::notes},
    {"image_sha256", "SHA-256 of the image", &case_data::image_sha256},
}};

/// What a run did for one user.
struct user_record
{
    QString name;
    qint64 account_store_rows = 0;  ///< accounts read from the account store
    qint64 mail_directory_rows = 0; ///< account folders of the Mail directory
    qint64 files_copied = 0;        ///< of the Mail directory's copy
    qint64 bytes = 0;

    bool operator==(const user_record&) const = default;
};

/// One run as its record in the result tells it. A run writes it before its work begins, with the status "running", and
/// again at its end; one that was killed is recognised by that status.
struct run_record
{
    QString program_name;
    QString program_version;
    QString program_sha256; ///< as plugin_sha256
    QString plugin_path;
    QString plugin_version;
    QString plugin_sha256; ///< lower-case hexadecimal; empty when the library could not be read
    run_status status = run_status::running;
    std::optional<int> exit_code; ///< nothing while running
    QStringList command_line;
    QString host_name;
    QString host_system;
    QString host_architecture;
    QString login_name; ///< of who ran it: the operator, who need not be the examiner
    case_data about;
    QString time_zone; ///< IANA name and offset
    QDateTime started;
    QDateTime ended; ///< invalid while running
    QString source;  ///< absolute
    source_identity identity;
    QString source_time_zone; ///< of the Mac; empty when the source does not tell
    QString result;           ///< absolute
    QJsonObject options;
    QList<user_record> users;
    QStringList users_left_out; ///< users of the source whom the choice of users passed over
    QString log_path;
    bool log_enciphered = false;
    qint64 log_failures = 0;
    QStringList log_failure_lines; ///< the first of them
    std::optional<verification_summary> verification;
    QStringList
        remarks;   ///< what the schemas of the account stores do not have, a line each; nothing wrong with the run
    QString error; ///< one line; empty when nothing kept the run from its work

    /// Adds what went wrong to `error`, behind what did so earlier.
    void add_error(const QString& text) { error += error.isEmpty() ? text : QStringLiteral("; ") + text; }
};

/// Reads case data; members that are absent stay empty.
case_data case_from_json(const QJsonObject& object);

/// Returns a record of a run that begins now on this machine: program, host, examiner, times and command line filled
/// in.
run_record begin_run_record(const QStringList& command_line);

/// Returns the record as the object that its file holds.
QJsonObject run_record_to_json(const run_record& record);
/// Reads such an object; fields it lacks keep their initial values, fields it has beyond are not kept. A status that is
/// none of ours counts as "running": the run did not come to its end as far as anybody can tell.
run_record run_record_from_json(const QJsonObject& object);

/// Writes a result's run record in one step, so that at any time either the old one or the new one is there. Throws a
/// failure.
void write_run_record(const result_paths& result, const run_record& record);
/// Reads it; nothing when there is none. Throws a failure when it cannot be read.
std::optional<run_record> read_run_record(const result_paths& result);
