#pragma once

#include <QElapsedTimer>

/// The child's side of a measurement in turns: a turn begins with a line from the parent on standard input and ends
/// with a line "files seconds" on standard output. Only one child works at any time, so that all of them meet the
/// disk in the same mood, which changes more over seconds than what is measured differs.
class bench_turns
{
public:
    /// Waits for the first turn.
    bench_turns();

    /// Says that work on files begins or goes on.
    void resume() { timer.start(); }

    /// Says that so many files were copied since the last word; hands the turn over when it was long enough.
    void add(qint64 files);

private:
    QElapsedTimer timer;
    qint64 turn_files = 0;
    double turn_seconds = 0;
};

/// Returns what the timer shows, in seconds.
double elapsed_seconds(const QElapsedTimer& timer);
