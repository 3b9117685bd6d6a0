#include "host/evidence/private_directory.h"

#include "host/evidence/evidence_failure.h"
#include "host/files/file_tree.h"
#include "host/text/display_text.h"

#include <QDir>
#include <QFile>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace {

constexpr const char* name_beginning = "mail-extract-evidence-";

enum class lock_outcome
{
    taken,
    held_by_another,
    impossible ///< the file system knows no locks, or the directory is not there
};

lock_outcome lock_directory(const QByteArray& path, file_descriptor& lock)
{
    lock = file_descriptor(::open(path.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW));
    if (!lock.is_open()) {
        return lock_outcome::impossible;
    }
    if (::flock(lock.get(), LOCK_EX | LOCK_NB) == 0) {
        return lock_outcome::taken;
    }
    return errno == EWOULDBLOCK ? lock_outcome::held_by_another : lock_outcome::impossible;
}

/// False for a directory that was removed, or put in the place of the one that is open.
bool is_at(const QByteArray& path, const file_descriptor& open)
{
    const entry_facts named = quiet_stat(path);
    const entry_facts held = quiet_facts(open);
    return named.kind == entry_kind::directory && named.device == held.device && named.inode == held.inode;
}

QString remove_directory(const QByteArray& path)
{
    std::error_code error;
    std::filesystem::remove_all(path.toStdString(), error);
    return error ? QString::fromLocal8Bit(error.message().c_str()) : QString();
}

} // namespace

private_directory::private_directory(const QString& place, const QString& original)
{
    // Between making and locking it, one who clears up may take it for left behind: then another is made.
    constexpr int most_attempts = 100;
    for (int attempt = 0; attempt < most_attempts; ++attempt) {
        QByteArray path = QFile::encodeName(QDir(place).filePath(QLatin1String(name_beginning))) + "XXXXXX";
        if (::mkdtemp(path.data()) == nullptr) {
            throw evidence_failure(QStringLiteral("%1: no directory for its copy in %2: %3")
                                       .arg(original, display_text(place), system_error_text(errno)));
        }
        const lock_outcome outcome = lock_directory(path, lock);
        const bool is_ours =
            outcome == lock_outcome::impossible || (outcome == lock_outcome::taken && is_at(path, lock));
        if (is_ours && quiet_stat(path).kind == entry_kind::directory) {
            own_path = QFile::decodeName(path);
            return;
        }
    }
    throw evidence_failure(
        QStringLiteral("%1: no directory for its copy stays in %2").arg(original, display_text(place)));
}

private_directory::~private_directory()
{
    remove_directory(QFile::encodeName(own_path));
}

QStringList remove_left_directories(const QString& place)
{
    QStringList problems;
    const QByteArray native = QFile::encodeName(place);
    for (const named_kind& entry : quiet_kinds(native).entries) {
        if (!entry.name.startsWith(name_beginning)) {
            continue;
        }
        const QByteArray path = child_path(native, entry.name);
        file_descriptor lock;
        const lock_outcome outcome = lock_directory(path, lock);
        QString reason = lock.is_open() ? QString() : system_error_text(errno);
        const entry_facts facts = lock.is_open() ? quiet_facts(lock) : quiet_stat(path);
        if (facts.kind != entry_kind::directory || facts.owner != ::geteuid()) {
            continue;
        }
        if (outcome == lock_outcome::taken && is_at(path, lock)) {
            reason = remove_directory(path);
        }
        if (!reason.isEmpty()) {
            problems.append(QStringLiteral("%1, which an ended process left, cannot be removed: %2")
                                .arg(display_text(path), reason));
        }
    }
    return problems;
}
