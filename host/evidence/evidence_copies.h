#pragma once

#include "host/evidence/evidence_limits.h"
#include "host/evidence/private_directory.h"
#include "host/files/content_place.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

/// What a database is read with.
enum class log_use
{
    with_log, ///< with its "-wal", or rolled back by its "-journal", as the application that wrote it sees it
    alone     ///< the database file and nothing else
};

/// Copies of an evidence database in a private directory of their own, which goes with this object. The evidence is
/// read once, by its kind: pipes, devices and links are refused, and nothing outside the source is reached.
class evidence_copies
{
public:
    /// Copies the database `path` (raw bytes, below `source`) and what lies beside it into a fresh directory below
    /// `scratch`, an existing one outside the evidence. Throws an evidence_failure when the database itself cannot be
    /// copied; what befalls its log or journal is told by problems(). Content is taken from where `copy_of` knows it.
    evidence_copies(const QByteArray& source, const QByteArray& path, const QString& scratch,
                    const evidence_limits& limits = {}, const content_place& copy_of = {});

    /// True when there is a log or a journal, so that reading with it and alone can differ.
    bool has_log() const { return log_found; }
    /// Returns what a person must know: a journal beside the database, a log that could not be copied; one line each.
    const QStringList& problems() const { return found_problems; }
    /// Returns the database's path in the evidence, as one line of text.
    const QString& origin() const { return origin_text; }
    /// Returns the directory that holds one copy and nothing else; absolute and resolved.
    QByteArray directory(log_use use) const;
    /// Returns the copy's path.
    QByteArray database(log_use use) const;
    /// Returns the size of database and log together.
    qint64 bytes() const { return copied_bytes; }

private:
    QString origin_text;
    private_directory scratch_directory;
    QByteArray root;
    QStringList found_problems;
    bool log_found = false;
    qint64 copied_bytes = 0;
};
