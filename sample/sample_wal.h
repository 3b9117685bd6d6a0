#pragma once

#include "sample/sample_random.h"

#include <QByteArray>
#include <QList>
#include <QVariant>

#include <optional>

/// One statement and the rows it is executed with; without rows it is executed once.
struct sample_statement
{
    QString text;
    QList<QVariantList> rows;
};

/// What a database holds: statements whose result lies in the database file, and later ones whose result lies in its
/// write-ahead log only.
struct sample_database
{
    QList<sample_statement> in_file;
    QList<sample_statement> only_in_log;
};

struct sample_database_files
{
    QByteArray database;
    QByteArray log;
};

/// The bytes of an SQLite database in WAL mode and of its "-wal" file, as an application that is still running leaves
/// them. The log's salts come from `salts`. Empty, with one line in `error`, when SQLite refused something.
std::optional<sample_database_files> make_wal_database(const sample_database& content, sample_random& salts,
                                                       QString& error);

/// Puts these salts into a write-ahead log and recomputes its checksums. SQLite draws salts at random, so this is what
/// makes logs repeatable. False, with the log unchanged, when it is not a whole log.
bool replace_wal_salts(QByteArray& log, quint32 first_salt, quint32 second_salt);
