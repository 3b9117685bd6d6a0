#pragma once

#include "host/self_test/trial_volume.h"

#include <QJsonDocument>
#include <QProcess>

#include <functional>

/// How a run of the program ended, and what it said.
struct child_ending
{
    int exit_code = -1; ///< -1 when it did not end by itself
    QByteArray output;
    QByteArray errors;

    QJsonDocument json() const { return QJsonDocument::fromJson(output); }
    /// The code and the first line of complaint, for a person.
    QString words() const;
};

/// The program that is tried, a volume to try it on, and a folder for results.
struct self_test_ground
{
    QString program;
    QString directory; ///< everything is below it
    trial_volume volume;

    QString place(const QString& name) const { return directory + u'/' + name; }
    QString result(const QString& name) const { return place(QStringLiteral("results/") + name); }
    QStringList run_arguments(const QString& result, const QStringList& further = {}) const;
};

/// Starts the program in a process of its own. `in_child` is called there before, where it may only make system calls.
void start_child(QProcess& process, const QString& program, const QStringList& arguments,
                 const std::function<void()>& in_child = {}, const QString& time_zone = {});
/// Starts it and waits for its end, a minute at most; in this time zone where one is named.
child_ending run_child(const QString& program, const QStringList& arguments, const std::function<void()>& in_child = {},
                       const QString& time_zone = {});
/// Returns the whole content of a file. Throws a failure.
QByteArray trial_content(const QString& path);
