#include "bench/timed_command.h"

#include <QElapsedTimer>
#include <QFile>
#include <QList>

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

extern char** environ; // NOLINT: the system's name

command_cost cost_of(const QStringList& command)
{
    QList<QByteArray> words;
    for (const QString& word : command) {
        words.append(QFile::encodeName(word));
    }
    QList<char*> arguments;
    for (QByteArray& word : words) {
        arguments.append(word.data());
    }
    arguments.append(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    QElapsedTimer timer;
    timer.start();
    pid_t child = 0;
    const int error = ::posix_spawnp(&child, arguments.first(), &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    rusage usage{};
    if (error != 0 || ::wait4(child, &status, 0, &usage) != child || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        qFatal("failed: %s", qUtf8Printable(command.join(QLatin1Char(' '))));
    }
#ifdef Q_OS_MACOS
    constexpr double unit = 1;
#else
    constexpr double unit = 1024;
#endif
    return {static_cast<double>(timer.nsecsElapsed()) / 1e9, static_cast<double>(usage.ru_maxrss) * unit / 1e6};
}

command_cost cost_of_line(const QString& line)
{
    return cost_of({QStringLiteral("sh"), QStringLiteral("-ec"), line});
}
