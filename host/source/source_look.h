#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

/// Whether something is in a source. What could not be looked at is never absent.
enum class presence : unsigned char
{
    absent,
    present,
    unknown
};

/// A place of a source that could not be looked at.
struct blocked_look
{
    QByteArray path;      ///< below the source, or whole where it lies outside
    QString reason;       ///< the system's words
    int error_number = 0; ///< the system's number; 0 when the reason is ours

    /// Returns it as one line.
    QString text() const;
};

/// What a look for a directory found.
struct directory_look
{
    presence found = presence::absent;
    std::optional<blocked_look> blocked; ///< what stood in the way when it is unknown
};

/// Looks for the directory at `path` below the source, links followed. A directory on the way that may not be searched
/// is named itself, not what might lie in it; so is anything else in a directory's place.
directory_look look_for_directory(const QByteArray& source, const QByteArray& path);
