#pragma once

#include <QJsonDocument>
#include <QProcess>
#include <QStringList>

#include <functional>

/// How a run of the program ended, and what it said.
struct program_result
{
    int exit_code = -1; ///< -1 when it did not end by itself
    QByteArray output;
    QByteArray errors;

    QJsonDocument json() const { return QJsonDocument::fromJson(output); }
};

/// Waits for a started program to end.
inline program_result ending_of(QProcess& program)
{
    // Waiting for one that has ended already counts as failed.
    const bool has_ended = program.state() == QProcess::NotRunning || program.waitForFinished(240'000);
    if (!has_ended || program.exitStatus() != QProcess::NormalExit) {
        return {};
    }
    return {program.exitCode(), program.readAllStandardOutput(), program.readAllStandardError()};
}

/// Runs the program that was built; `in_child` is called in its process before it starts.
inline program_result run_program(const QStringList& arguments, const std::function<void()>& in_child = {})
{
    QProcess program;
    program.setChildProcessModifier(in_child);
    program.start(MAIL_EXTRACT_PROGRAM, arguments);
    return ending_of(program);
}
