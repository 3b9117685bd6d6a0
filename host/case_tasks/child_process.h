#pragma once

#include <QProcess>
#include <QStringList>

#include <functional>

/// Starts this program with other arguments, in a process group of its own, so that a Ctrl-C reaches only the parent,
/// which passes it on. What it prints is appended to a file. Where the system can, it is asked to end when the parent
/// dies. `in_child` is called in the process before it begins.
void start_own_program(
    QProcess& process, const QStringList& arguments, const QString& log, const std::function<void()>& in_child = [] {});

/// Asks a process to end.
void ask_to_end(const QProcess& process);

/// Kills a process, if it runs, and waits until it is gone.
void end_at_once(QProcess& process);

/// Returns the last lines that a program of ours printed as complaints, else as problems, without the word before them;
/// empty when there are none.
QString last_complaints(const QString& log, qsizetype most = 1);

/// Returns the last whole line that a program of ours printed and that is no complaint: how far it is, as long as it
/// runs.
QString last_progress(const QString& log);

/// Lets the group write what this process makes when the group may write to `directory`: then the members of the group
/// share the case, and each must be able to go on with what another began.
void share_with_group_of(const QString& directory);
