#include "bench/bench_measurement.h"
#include "bench/bench_sources.h"
#include "bench/bench_worker.h"

#include <QApplication>
#include <QDir>
#include <QTemporaryDir>
#include <QTextStream>

#include <algorithm>
#include <array>
#include <iostream>
#include <iterator>
#include <memory>
#include <vector>

// Prints ratios of times measured side by side, because single times on a shared machine say little: child processes
// work in turns of a fifth of a second, and each ratio is the median of the ratios of neighbouring turns.

namespace {

constexpr std::array file_counts{1000, 20000, 100000};
constexpr std::array account_counts{100, 1000};
constexpr int files_per_account = 10;
constexpr int account_rounds = 7;
constexpr int walk_rounds = 9;

const QString extract_option = QStringLiteral("--extract");
const QString copy_option = QStringLiteral("--copy");
const QString accounts_option = QStringLiteral("--accounts");

void print(const QString& line)
{
    QTextStream(stdout) << line << Qt::endl;
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values.at(values.size() / 2);
}

/// Returns the median ratio of the turns that both have taken.
double turn_ratio(const bench_worker& worker, const bench_worker& base)
{
    std::vector<double> ratios;
    for (std::size_t i = 0; i < std::min(worker.seconds_per_file().size(), base.seconds_per_file().size()); ++i) {
        ratios.push_back(worker.seconds_per_file()[i] / base.seconds_per_file()[i]);
    }
    return median(ratios);
}

void print_figure(const QString& what, double value, double limit)
{
    print(QStringLiteral("%1 %2  (at most %3)%4")
              .arg(what, -58)
              .arg(value, 7, 'f', 3)
              .arg(limit)
              .arg(value <= limit ? QString() : QStringLiteral("  ABOVE")));
}

double median_walk_ratio(const QString& source, int files, const QString& result)
{
    std::vector<double> ratios;
    std::generate_n(std::back_inserter(ratios), walk_rounds, [&] { return walk_ratio(source, files, result); });
    return median(ratios);
}

/// A child's work: the source so many times over, each time into a fresh directory. Its last words are the ratio of the
/// walk or else the seconds of the runs, and the peak memory.
void measure(const QString& option, const QString& source, int files, int repeats)
{
    bench_turns turns;
    double run_seconds = 0;
    QString result;
    for (int i = 0; i < repeats; ++i) {
        result = QStringLiteral("%1-results/%2%3").arg(source, option).arg(i);
        if (option == extract_option) {
            extract_in_turns(source, files, result, turns);
        } else if (option == copy_option) {
            copy_in_turns(source, result, turns);
        } else {
            run_seconds += extract(source, result);
        }
    }
    const double figure = option == extract_option ? median_walk_ratio(source, files, result) : run_seconds;
    std::cout << bench_end_word << ' ' << figure << ' ' << peak_memory_mb() << std::endl;
}

std::unique_ptr<bench_worker> worker_on(const QString& option, const QString& source, int files, int repeats)
{
    return std::make_unique<bench_worker>(
        QStringList{option, source, QString::number(files), QString::number(repeats)});
}

/// The whole-tree copy and the walk, against the bare operations and for the largest against the smallest source.
void measure_files(const QTemporaryDir& scratch)
{
    // Every worker copies as many files, so that a disk that slows down as it fills does so for all of them.
    std::vector<std::unique_ptr<bench_worker>> extractions;
    std::vector<std::unique_ptr<bench_worker>> copies;
    std::vector<bench_worker*> working;
    for (const int files : file_counts) {
        const QString source = scratch.filePath(QStringLiteral("files%1").arg(files));
        write_message_source(source, files);
        const int repeats = file_counts.back() / files;
        extractions.push_back(worker_on(extract_option, source, files, repeats));
        copies.push_back(worker_on(copy_option, source, files, repeats));
        working.insert(working.end(), {extractions.back().get(), copies.back().get()});
    }
    while (!working.empty()) {
        working.erase(
            std::remove_if(working.begin(), working.end(), [](bench_worker* worker) { return !worker->take_turn(); }),
            working.end());
    }

    for (std::size_t i = 0; i < file_counts.size(); ++i) {
        print(QStringLiteral("%1 files, %2 us a file")
                  .arg(file_counts.at(i))
                  .arg(median(extractions[i]->seconds_per_file()) * 1e6, 0, 'f', 1));
        print_figure(QStringLiteral("  whole-tree copy / bare loop of QFile::copy"),
                     turn_ratio(*extractions[i], *copies[i]), 1.05);
        print_figure(QStringLiteral("  Mail-folder walk / bare recursive listing"), extractions[i]->last_words().at(0),
                     1.3);
    }
    print_figure(QStringLiteral("seconds a file, largest source / smallest"),
                 turn_ratio(*extractions.back(), *extractions.front()), 1.1);
    print(
        QStringLiteral("  the same of the bare loop %1").arg(turn_ratio(*copies.back(), *copies.front()), 40, 'f', 3));
    print_figure(QStringLiteral("peak memory in MB, largest source"), extractions.back()->last_words().at(1), 90);
}

double seconds_of_run(const QString& source, int repeats)
{
    const auto worker = worker_on(accounts_option, source, 0, repeats);
    worker->take_turn();
    QDir(source + QStringLiteral("-results")).removeRecursively();
    return worker->last_words().at(0) / repeats;
}

/// A run over many account folders against one over few.
void measure_accounts(const QTemporaryDir& scratch)
{
    std::array<QString, account_counts.size()> sources;
    for (std::size_t i = 0; i < sources.size(); ++i) {
        sources.at(i) = scratch.filePath(QStringLiteral("accounts%1").arg(account_counts.at(i)));
        write_account_source(sources.at(i), account_counts.at(i), files_per_account);
    }
    std::vector<double> ratios;
    for (int round = 0; round < account_rounds; ++round) {
        const double few = seconds_of_run(sources.front(), account_counts.back() / account_counts.front());
        ratios.push_back(seconds_of_run(sources.back(), 1) / few);
    }
    print_figure(
        QStringLiteral("time of a run, %1 account folders / %2").arg(account_counts.back()).arg(account_counts.front()),
        median(ratios), 12);
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() == 5) {
        measure(arguments[1], arguments[2], arguments[3].toInt(), arguments[4].toInt());
        return 0;
    }
    const QString directory = arguments.value(1, QDir::tempPath());
    const QTemporaryDir scratch(directory + QStringLiteral("/bench-extraction"));
    if (!scratch.isValid()) {
        qFatal("no scratch directory below %s: %s", qPrintable(directory), qPrintable(scratch.errorString()));
    }
    measure_files(scratch);
    measure_accounts(scratch);
    return 0;
}
