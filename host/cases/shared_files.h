#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <array>
#include <optional>

// Files that tasks on several machines share. What must happen for one task only happens by one system call that fails
// for the others, on network file systems too; what differs between platforms stands in the .cpp alone.

/// How a call that makes a name ended.
enum class claim
{
    made,
    exists, ///< the name is there already
    gone,   ///< what was to get the name is no longer there
    failed
};

struct claim_result
{
    claim outcome = claim::failed;
    QString error; ///< the system's words when it failed
};

/// Gives a file one more name, which must not exist.
claim_result link_exclusively(const QString& existing, const QString& name);

/// The ways to rename without replacing, best first: file systems differ in which they know.
enum class renaming
{
    in_one_call, ///< not on every network file system
    by_link      ///< a second name, then the first one is removed
};
inline constexpr std::array renamings = {renaming::in_one_call, renaming::by_link};

/// Renames a symbolic link to a name that must not exist, in one way; nothing when the file system does not know it.
std::optional<claim_result> rename_link_by(renaming way, const QString& from, const QString& to);
/// The same in the best way that the file system knows.
claim_result rename_link_exclusively(const QString& from, const QString& to);

/// Renames, replacing what has the name.
claim_result rename_replacing(const QString& from, const QString& to);

/// A small file's content and when it was last written, by the clock of the machine that holds it.
struct stamped_file
{
    QByteArray content;
    qint64 written_ns = 0;
    quint64 names = 0; ///< that it has
    bool exists = false;
    QString error; ///< one line with the path when there is something that cannot be read
};

/// Makes a network client ask the machine that holds a directory for its names anew: it may remember for a minute which
/// there were, and which there were not.
void forget_remembered_names(const QString& directory);

/// Returns every name in a directory, asked anew. Throws a failure when it cannot be listed to its end: what is not
/// seen would be taken for absent.
QStringList names_in(const QString& directory);

/// Reads a regular file of at most `most_bytes_of_record` bytes anew from the machine that holds it.
stamped_file read_stamped(const QString& path);
inline constexpr qint64 most_bytes_of_record = 1 << 20;

/// Writes a file's last byte once more, so that the machine that holds it notes the time. False when the content is no
/// longer `content`, and with one line in `error` when it cannot be written.
bool stamp_again(const QString& path, const QByteArray& content, QString& error);

/// Returns what time it is for the machine that holds a directory, in nanoseconds since 1970: that of a file written
/// there and removed again. Nothing, with one line in `error`, when none can be written.
std::optional<qint64> time_of_file_server(const QString& directory, QString& error);

/// Writes a file under a name that no other task uses, in `directory`, and returns its path; empty, with one line in
/// `error`, when that fails.
QString write_private_file(const QString& directory, const QByteArray& content, QString& error);

/// Makes a directory; the name must not exist.
claim_result make_directory(const QString& path);

/// Makes a symbolic link; the name must not exist.
claim_result make_link(const QString& target, const QString& name);

/// Writes a file in one step, so that it is on the disk and keeps the permissions that it had; throws a failure that
/// names the path and the reason.
void write_lasting_file(const QString& path, const QByteArray& content);
/// Writes a JSON object so.
void write_record(const QString& path, const QJsonObject& object);
/// The same without waiting for the disk: after the machine went down, the file may be empty, or the one from before.
void write_passing_record(const QString& path, const QJsonObject& object);

struct read_record_result
{
    std::optional<QJsonObject> object;
    QString error; ///< one line with the path; empty when there is no such file
};

/// Reads a JSON object; whatever else lies there is an error.
read_record_result read_record(const QString& path);
