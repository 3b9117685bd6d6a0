#pragma once

#include "host/files/file_amount.h"
#include "host/result/result_paths.h"

#include <QDateTime>
#include <QJsonObject>
#include <QList>
#include <QString>

#include <optional>

/// What one verification of a result said, as its file tells it.
struct verification_record
{
    QDateTime verified; ///< UTC; names the file
    QString program_version;
    QString login_name;                ///< of who ran it
    QString source;                    ///< absolute; empty when seal and copies alone were verified
    QString source_note;               ///< why so; empty with a source
    bool sealed = false;               ///< there is a seal
    QString root_hash;                 ///< empty without a seal
    std::optional<bool> root_expected; ///< whether it is the one that the examiner named; nothing when he named none
    qint64 sealed_files = 0;
    qint64 seal_findings = 0;
    file_amount copies;
    qint64 copy_findings = 0;
    file_amount sources;
    qint64 source_findings = 0;
    qint64 recorded_faults = 0; ///< that the run had found itself
    QString problem;            ///< why copies or sources could not be looked at, or not all; empty when they could
    bool whole = false;         ///< nothing was found

    qint64 findings() const { return seal_findings + copy_findings + source_findings + recorded_faults; }
};

/// Returns the record as the object that its file holds.
QJsonObject verification_to_json(const verification_record& record);
/// Reads such an object; `verified` is invalid when it is none.
verification_record verification_from_json(const QJsonObject& object);

/// Returns a place for the record of a verification at a time, without the ending of its files; nothing lies there yet.
QString free_verification_place(const result_paths& result, const QDateTime& verified);

/// Writes a record to PLACE.json. Throws a failure.
void write_verification_record(const QString& place, const verification_record& record);

/// Returns the records of all verifications of a result, oldest first. One that cannot be read stands there with its
/// file's name in `problem`, and is not whole.
QList<verification_record> read_verification_records(const result_paths& result);
