#include "host/case_tasks/child_process.h"

#include "host/files/quiet_reading.h"

#include <QCoreApplication>
#include <QFile>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#if defined(__linux__)
#include <sys/prctl.h>
#endif

namespace {

constexpr qint64 most_bytes_of_end = 8192;

QString complaint_mark()
{
    return QCoreApplication::applicationName() + QStringLiteral(": ");
}

// Before what a verification says of what kept it from telling.
const QString problem_mark = QStringLiteral("problem:");

/// The lines at the end of a file, the first of them maybe cut; one that is empty where there is no such file.
QStringList last_lines(const QString& path)
{
    // A pipe in its place would be waited for.
    const quiet_file opened = quiet_open(QFile::encodeName(path));
    QFile file;
    if (!opened.error.isEmpty() || !file.open(opened.descriptor.get(), QIODevice::ReadOnly)) {
        return {QString()};
    }
    file.seek(std::max<qint64>(file.size() - most_bytes_of_end, 0));
    return QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
}

/// Removes what is no file of its own in the place of a log: through a link the lines would be written elsewhere.
void remove_stranger(const QString& log)
{
    const std::filesystem::path place = QFile::encodeName(log).toStdString();
    std::error_code error;
    const auto status = std::filesystem::symlink_status(place, error);
    if (std::filesystem::exists(status) &&
        (!std::filesystem::is_regular_file(status) || std::filesystem::hard_link_count(place, error) > 1)) {
        std::filesystem::remove(place, error);
    }
}

} // namespace

void start_own_program(QProcess& process, const QStringList& arguments, const QString& log,
                       const std::function<void()>& in_child)
{
    remove_stranger(log);
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardOutputFile(log, QIODevice::Append);
    process.setStandardErrorFile(log, QIODevice::Append);
    process.setChildProcessModifier([in_child, parent = ::getpid()] {
        in_child();
        ::setpgid(0, 0);
#if defined(__linux__)
        ::prctl(PR_SET_PDEATHSIG, SIGTERM);
        // Who has died before sends nothing.
        if (::getppid() != parent) {
            ::_exit(EXIT_FAILURE);
        }
#endif
    });
    process.start(QCoreApplication::applicationFilePath(), arguments);
}

void ask_to_end(const QProcess& process)
{
    if (process.processId() > 0) {
        ::kill(static_cast<pid_t>(process.processId()), SIGINT);
    }
}

void end_at_once(QProcess& process)
{
    if (process.state() != QProcess::NotRunning) {
        process.kill();
        process.waitForFinished(-1);
    }
}

QString last_complaints(const QString& log, qsizetype most)
{
    const QStringList lines = last_lines(log);
    for (const QString& mark : {complaint_mark(), problem_mark}) {
        QStringList complaints;
        for (const QString& line : lines) {
            if (line.startsWith(mark)) {
                complaints.append(line.mid(mark.size()).trimmed());
            }
        }
        if (!complaints.isEmpty()) {
            return complaints.mid(std::max<qsizetype>(complaints.size() - most, 0)).join(QStringLiteral("; "));
        }
    }
    return {};
}

QString last_progress(const QString& log)
{
    const QString mark = complaint_mark();
    QString progress;
    QStringList lines = last_lines(log);
    // What stands behind the last line end is not written whole yet.
    lines.removeLast();
    for (const QString& line : lines) {
        progress = line.isEmpty() || line.startsWith(mark) ? progress : line;
    }
    return progress;
}

void share_with_group_of(const QString& directory)
{
    struct stat facts
    {
    };
    if (::stat(QFile::encodeName(directory).constData(), &facts) == 0 && (facts.st_mode & S_IWGRP) != 0) {
        ::umask(::umask(0) & ~static_cast<mode_t>(S_IRWXG));
    }
}
