#pragma once

#include <QProcess>
#include <QStringList>

/// How a run of the program ended, and what it said.
struct program_result
{
    int exit_code = -1; ///< -1 when it did not end by itself
    QByteArray output;
    QByteArray errors;
};

/// Waits for a started program to end.
inline program_result ending_of(QProcess& program)
{
    if (!program.waitForFinished(60'000) || program.exitStatus() != QProcess::NormalExit) {
        return {};
    }
    return {program.exitCode(), program.readAllStandardOutput(), program.readAllStandardError()};
}

/// Runs the program that was built.
inline program_result run_program(const QStringList& arguments)
{
    QProcess program;
    program.start(QStringLiteral(MAIL_EXTRACT_PROGRAM), arguments);
    return ending_of(program);
}
