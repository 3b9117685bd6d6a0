#pragma once

#include "tests/common/evidence_source.h"

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QProcess>
#include <QStringList>

#include <functional>

/// One call of the program that is to fail, in the words of failing_calls.cpp.
struct chosen_fault
{
    QByteArray kinds;
    QByteArray path;
    QByteArray number;
    QByteArray form;

    QString text() const { return QString::fromUtf8(kinds + ' ' + path + " #" + number + ' ' + form); }
};

struct trial_ending
{
    int exit_code = -1;  ///< -1 when it crashed or did not end within two minutes
    bool met = false;    ///< the chosen call was made
    QByteArray met_path; ///< the first that failed, below the ground
    QByteArray output;   ///< standard output
    QByteArray errors;   ///< standard error
    QByteArray said;     ///< standard error, run.json and manifest.csv, one after the other
};

/// What a person would take from a result into court.
struct result_content
{
    QStringList rows;                   ///< the table's, without their numbers, sorted
    QMap<QString, QByteArray> copies;   ///< copied files, with their times, by path
    QMap<QString, QByteArray> products; ///< manifest and sums as they are; of the others only that they are whole
};

/// A small Mac, and one result directory beside it on which trial follows trial.
class trial_ground
{
public:
    trial_ground();

    QString result() const { return source.result(); }
    /// The program's place for temporary files.
    QString scratch() const { return source.result() + "/../scratch"; }
    QStringList run_arguments(const QStringList& further = {}) const;
    QStringList verify_arguments() const;

    /// Runs the program with a call failing; `during` is called once the chosen call was met, for form "signal:19",
    /// where the program stands still until `during` has returned.
    trial_ending run(const QStringList& arguments, const chosen_fault& fault,
                     const std::function<void()>& during = {}) const;
    /// Runs it undisturbed and returns each call that it makes on source and result, in order, as a fault to choose;
    /// `ended` takes how that ended, which must be with `exit_code`.
    QList<chosen_fault> calls_of(const QStringList& arguments, trial_ending* ended = nullptr, int exit_code = 0) const;

    result_content content() const;
    /// Everything about each entry of the source but its time of access.
    QMap<QString, QByteArray> source_state() const;
    void empty_result() const;
    /// Keeps the result as it is now aside, or brings that back.
    void keep_result() const;
    void restore_result() const;

    /// Returns what is wrong with how a trial ended, each behind `trial`; nothing when it is in order. What ends with 0
    /// must have left what an `undisturbed` run leaves.
    QStringList complaints(const QString& trial, const trial_ending& ending, const result_content& undisturbed) const;

    evidence_source source;
    const QMap<QString, QByteArray> source_before;
};

/// In the system's words, in SQLite's, or in those of the check before a run.
bool says_that_disk_is_full(const trial_ending& ending);

/// Complaints of trials, each printed at once: there may be many, and hours of trials to come.
class complaint_list
{
public:
    complaint_list& operator+=(const QStringList& further);
    complaint_list& operator+=(const QString& further) { return *this += QStringList(further); }
    qsizetype count = 0;
};

/// Seed and extent of an attack: FAULTS_SEED, and FAULTS_TRIALS trials of each kind instead of the few of the short
/// form; FAULTS_ONLY, a regular expression, repeats the trials whose text it fits.
quint32 attack_seed();
int attack_trials(int short_form);
