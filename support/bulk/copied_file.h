#pragma once

#include <QByteArray>
#include <QMetaType>

/// What became of one file in a bulk copy, or why a directory or the whole is not as it should be.
///
/// A host may include this header; it holds values only. Paths are bytes as the file systems have them.
struct copied_file
{
    enum class outcome : quint8
    {
        copied,        ///< the copy holds what was read, and sha256 is the hash of that if hashes are wanted
        changed,       ///< the same, but the source's size or times were others after reading than before, or it ended
                       ///< before its size says, which step and offset tell
        kept_existing, ///< something of that name lay at the destination and was left alone; the source was not read
        failed,        ///< there is no copy; step, error and offset say why
        cancelled,     ///< the copy was begun and, when the cancel came, taken away again
        unlisted,      ///< a directory, whose content is missing in the copy from where it could not be listed on
        unsynced       ///< the destination's file system did not confirm that everything is on the disk
    };

    /// Enough to tell what kind of file it is.
    static constexpr qsizetype beginning_bytes = 128;

    outcome result = outcome::failed;
    QByteArray source_path; ///< empty for `unsynced`
    QByteArray destination_path;
    qint64 size = 0;         ///< bytes of the source when it was opened; 0 when not even that could be learnt
    qint64 bytes_copied = 0; ///< bytes read and, for `copied` and `changed`, held by the copy
    qint64 modified_s = 0;   ///< the source's modification time in seconds since 1970, UTC
    qint32 modified_ns = 0;  ///< and nanoseconds of that second
    QByteArray sha256;       ///< 32 bytes, for `copied` and `changed` where hashes are wanted; else empty
    /// What failed, in a word or two, such as "read"; empty when nothing did. A copy whose time or mode could not be
    /// set is `copied` all the same.
    QByteArray step;
    int error = 0;         ///< errno of the step; 0 for an end of file that came too early
    qint64 offset = 0;     ///< where in the file the step failed
    QByteArray error_text; ///< one line with path, reason and offset; empty when nothing failed
    QByteArray
        beginning; ///< the first bytes read, for `copied` and `changed` beginning_bytes or all there are; else empty
};

Q_DECLARE_METATYPE(copied_file)
