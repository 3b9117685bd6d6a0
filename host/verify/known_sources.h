#pragma once

#include "host/files/file_amount.h"
#include "host/files/hashing.h"
#include "host/files/quiet_reading.h"

#include <QByteArray>
#include <QString>
#include <QTemporaryFile>

#include <map>
#include <optional>
#include <vector>

/// What is known of a source file from the time when it was copied.
struct known_source
{
    qint64 size = 0; ///< when it was opened
    file_time modified;
    std::optional<sha256_digest> digest; ///< of what was read; nothing where there is no copy or hashes are not wanted
    bool has_changed = false;            ///< while it was copied
    QByteArray problem;                  ///< why there is no copy; empty when there is one
    bool is_message = false;             ///< what was read begins as a message file of its size does
};

/// Keeps what is known of the source files of a run, by their copies, so that a verification need not read the source a
/// second time. Millions are kept in a file; memory takes 8 bytes each.
class known_sources
{
public:
    known_sources();

    /// Takes what is known of the source of a copy, whose path is relative to the result.
    void add(const QByteArray& copy, const known_source& known);
    /// Makes the collection ready to be asked, by several threads if need be. Throws a failure when it could not be
    /// kept.
    void complete();
    /// True when a file is known that changed while it was copied.
    bool has_changed() const { return any_has_changed; }
    /// Returns how many files are known and their bytes.
    file_amount amount() const { return known_amount; }
    /// Returns what is known of the source of a copy; nothing when nothing is.
    std::optional<known_source> find(const QByteArray& copy) const;

private:
    /// Few records share a key; they are told apart by their names.
    struct entry
    {
        quint32 key;
        quint32 number; ///< of the record in the file

        bool operator<(const entry& other) const { return key < other.key; }
    };

    const quint64 identity; ///< no other has it, be it in the same place
    file_amount known_amount;
    bool any_has_changed = false;
    QTemporaryFile records;
    std::vector<entry> entries;
    std::map<QByteArray, QByteArray> problems; ///< by copy; few
    QString lost;                              ///< why a record could not be written; empty when all could
};

/// True when a file still has the size and time that it had when it was copied.
bool is_as_copied(const known_source& known, qint64 size, const std::optional<file_time>& modified);
