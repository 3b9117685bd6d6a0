#pragma once

#include "host/result/result_paths.h"
#include "host/result/seal.h"
#include "host/result/verification_record.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

/// What speaks for a result besides its manifest: the seal of its run, and every verification since.
struct report_proof
{
    std::optional<result_seal> seal;
    QStringList seal_problems; ///< one line each: the seal cannot be read, or a file of its list is another one now
    QList<verification_record> verifications; ///< oldest first; those that cannot be read stand before

    /// Returns the newest verification; nothing when there is none that can be read.
    const verification_record* newest() const;
    /// Returns the problems of the records that cannot be read.
    QStringList unreadable_records() const;
    /// Returns the root hash in hexadecimal; empty without a seal.
    QString root_hash() const;
    /// Returns the SHA-256 that the seal has of a file, in hexadecimal; empty when it does not list it.
    QString sealed_hash(const QByteArray& path) const;
};

/// Reads verifications and seal, and compares what the report is made from with it, unless it is a seal that was made a
/// moment ago. Throws nothing.
report_proof load_proof(const result_paths& result, const result_seal* sealed_now = nullptr);

/// True for a record that could not be read.
bool is_unreadable(const verification_record& record);
