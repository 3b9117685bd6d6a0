#include "bench/bench_measurement.h"
#include "bench/bench_sources.h"

#include <QApplication>
#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QTextStream>

#include <algorithm>
#include <array>
#include <limits>
#include <vector>

// Prints ratios of times measured alternately in one run, because single times on a shared machine say little. Each
// size is measured in a process of its own, so that the peak memory is that of one extraction.

namespace {

struct measured_size
{
    int files;
    int rounds;
};
constexpr std::array measured_sizes{measured_size{1000, 20}, measured_size{20000, 6}, measured_size{100000, 4}};
constexpr int account_rounds = 6;

void print(const QString& line)
{
    QTextStream(stdout) << line << Qt::endl;
}

void print_ratio(const QString& what, double ratio, double limit)
{
    print(QStringLiteral("%1 %2  (at most %3)%4")
              .arg(what, -58)
              .arg(ratio, 6, 'f', 3)
              .arg(limit)
              .arg(ratio <= limit ? QString() : QStringLiteral("  ABOVE")));
}

/// Measures one source and prints the least times as one line of numbers for the parent process: what disturbs a
/// measurement only ever adds to it.
int measure_one(const QString& source, const QString& scratch, int rounds)
{
    // Peak memory before the bare loop, which keeps a list of all files.
    extraction_times least = measure_extraction(source, scratch + QStringLiteral("/first"));
    const double memory = peak_memory_mib();
    double bare_copy = std::numeric_limits<double>::max();
    double bare_listing = std::numeric_limits<double>::max();
    const QString extracted = scratch + QStringLiteral("/extracted");
    const QString bare = scratch + QStringLiteral("/bare");
    for (int round = 0; round < rounds; ++round) {
        // Each goes first as often as the other, since the second one finds the disk busy.
        const bool bare_first = round % 2 == 0;
        if (bare_first) {
            bare_copy = std::min(bare_copy, measure_bare_copy(source, bare));
        }
        const extraction_times times = measure_extraction(source, extracted);
        if (!bare_first) {
            bare_copy = std::min(bare_copy, measure_bare_copy(source, bare));
        }
        bare_listing = std::min(bare_listing, measure_bare_listing(source));
        least.whole_copy = std::min(least.whole_copy, times.whole_copy);
        least.walk = std::min(least.walk, times.walk);
        least.run = std::min(least.run, times.run);
        QDir(extracted).removeRecursively();
        QDir(bare).removeRecursively();
    }
    print(QStringLiteral("%1 %2 %3 %4 %5")
              .arg(least.whole_copy)
              .arg(bare_copy)
              .arg(least.walk / bare_listing)
              .arg(least.run)
              .arg(memory));
    return 0;
}

struct measured
{
    double copy_seconds;
    double bare_copy_seconds;
    double walk_ratio;
    double run_seconds;
    double memory_mib;
};

measured measure_in_child(const QString& source, const QString& scratch, int rounds)
{
    QProcess child;
    child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    child.start(QCoreApplication::applicationFilePath(),
                {QStringLiteral("--measure"), source, scratch, QString::number(rounds)});
    child.waitForFinished(-1);
    const QStringList numbers = QString::fromLatin1(child.readAllStandardOutput()).split(QLatin1Char(' '));
    if (child.exitCode() != 0 || numbers.size() != 5) {
        qFatal("the measurement of %s failed", qPrintable(source));
    }
    QDir(scratch).removeRecursively();
    return {numbers[0].toDouble(), numbers[1].toDouble(), numbers[2].toDouble(), numbers[3].toDouble(),
            numbers[4].toDouble()};
}

int measure_all(const QString& directory)
{
    const QTemporaryDir scratch(directory + QStringLiteral("/bench-extraction"));
    if (!scratch.isValid()) {
        qFatal("no scratch directory below %s: %s", qPrintable(directory), qPrintable(scratch.errorString()));
    }
    std::vector<double> seconds_per_file;
    std::vector<double> bare_seconds_per_file;
    for (const auto [files, rounds] : measured_sizes) {
        const QString source = scratch.filePath(QStringLiteral("source%1").arg(files));
        write_message_source(source, files);
        const measured result = measure_in_child(source, scratch.filePath(QStringLiteral("work")), rounds);
        seconds_per_file.push_back(result.copy_seconds / files);
        bare_seconds_per_file.push_back(result.bare_copy_seconds / files);
        print(QStringLiteral("%1 files: copy %2 s, peak memory %3 MiB")
                  .arg(files)
                  .arg(result.copy_seconds, 0, 'f', 3)
                  .arg(result.memory_mib, 0, 'f', 1));
        print_ratio(QStringLiteral("  whole-tree copy / bare loop of QFile::copy"),
                    result.copy_seconds / result.bare_copy_seconds, 1.05);
        print_ratio(QStringLiteral("  Mail-folder walk / bare recursive listing"), result.walk_ratio, 1.3);
        if (files == 100000) {
            print_ratio(QStringLiteral("  peak memory in MB (10^6 bytes)"), result.memory_mib * 1.048576, 90);
        }
        QDir(source).removeRecursively();
    }
    print_ratio(QStringLiteral("seconds a file, 100000 files / 1000 files"),
                seconds_per_file.back() / seconds_per_file.front(), 1.1);

    // A disk that slows down under many files does so for the bare loop as well.
    print(QStringLiteral("  the same of the bare loop: %1")
              .arg(bare_seconds_per_file.back() / bare_seconds_per_file.front(), 0, 'f', 3));

    std::vector<double> account_seconds;
    for (const int accounts : {100, 1000}) {
        const QString source = scratch.filePath(QStringLiteral("accounts%1").arg(accounts));
        write_account_source(source, accounts, 10);
        account_seconds.push_back(
            measure_in_child(source, scratch.filePath(QStringLiteral("work")), account_rounds).run_seconds);
        print(QStringLiteral("%1 account folders: run %2 s").arg(accounts).arg(account_seconds.back(), 0, 'f', 3));
    }
    print_ratio(QStringLiteral("time of a run, 1000 account folders / 100"), account_seconds[1] / account_seconds[0],
                12);
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() == 5 && arguments[1] == QLatin1String("--measure")) {
        return measure_one(arguments[2], arguments[3], arguments[4].toInt());
    }
    return measure_all(arguments.value(1, QDir::tempPath()));
}
