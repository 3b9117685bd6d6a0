#pragma once

#include <QProcess>
#include <QStringList>

#include <vector>

/// A child process of this program that measures in turns.
class bench_worker
{
public:
    /// Starts the child with its arguments; it waits for its first turn.
    explicit bench_worker(const QStringList& arguments);

    /// Lets the child work for one turn; false when it has finished its work instead.
    bool take_turn();

    /// Returns the seconds a file of each turn taken.
    const std::vector<double>& seconds_per_file() const { return turns; }

    /// Returns the numbers that the child said at its end.
    const std::vector<double>& last_words() const { return end; }

private:
    QProcess process;
    std::vector<double> turns;
    std::vector<double> end;
};

/// What a child says before its last numbers.
inline constexpr const char* bench_end_word = "end";
