#pragma once

#include "sample/sample_random.h"

#include <QList>
#include <QSet>

#include <optional>

/// Writes files and directories below one root, counts them and sets their modification times. Paths are relative to
/// the root. After the first failure `error()` holds one line and nothing more is written.
class sample_writer
{
public:
    sample_writer(const QString& root, quint32 seed);

    /// Writes one new file, making its directories; without a time it gets one drawn from the seed and its path.
    void write_file(const QString& path, const QByteArray& content, std::optional<sample_time> modified = {});
    /// Makes a link to `target`, which need not exist.
    void write_link(const QString& path, const QString& target);
    /// Makes a directory and its parents.
    void make_directory(const QString& path);
    /// Sets the directories' times; to be called last, since writing a file changes its directory's time.
    void set_directory_times();

    /// Empty as long as everything was written.
    const QString& error() const { return first_error; }
    qint64 files() const { return file_count; }
    qint64 bytes() const { return byte_count; }
    qint64 directories() const { return created.size(); }
    quint32 seed() const { return random_seed; }

private:
    sample_time drawn_time(const QString& path) const;

    QString root;
    quint32 random_seed;
    QString first_error;
    qint64 file_count = 0;
    qint64 byte_count = 0;
    QSet<QString> known_directories;
    QStringList created;
};
