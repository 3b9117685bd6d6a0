#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

/// What tells one user's home from another of the same name.
struct home_identity
{
    QString name;
    quint64 inode = 0;
    QString born; ///< ISO 8601, UTC; empty where the file system does not tell

    bool operator==(const home_identity&) const = default;
};

/// What tells one source from another, wherever it is mounted.
struct source_identity
{
    QString system_version;     ///< empty where the source does not tell
    QList<home_identity> homes; ///< sorted by name
    QStringList blocked;        ///< why it may be more than that: places that could not be looked at, with the reason

    /// Compares what is known.
    bool operator==(const source_identity& other) const
    {
        return system_version == other.system_version && homes == other.homes;
    }
};

/// Returns the identity of a source.
source_identity identify_source(const QByteArray& source);

/// Says why the source found cannot be the one recorded, even if it was copied to another disk since: another system,
/// or most of the users unknown. Where that may only seem so, because a place could not be looked at, it says this
/// instead. Empty when it may be the same.
QString why_another_source(const source_identity& recorded, const source_identity& found);
