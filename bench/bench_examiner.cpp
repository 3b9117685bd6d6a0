// What an examiner would type instead, side by side with this program in turns: copying and hashing both sides, copying
// alone, hashing both sides, listing. Beside both stands the bare work: the system calls that it cannot do without, on
// all cores. And how time and memory grow. Prints a line a figure, with its limit; exit code 1 when one is not kept.

#include "bench/bare_calls.h"
#include "bench/bench_sources.h"
#include "bench/bytes_read.h"
#include "bench/examiner_sources.h"
#include "bench/timed_command.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <array>
#include <cstdio>
#include <functional>
#include <thread>
#include <vector>

#include <unistd.h>

namespace {

constexpr int small_growth = 1000;

struct settings
{
    QString place;
    int rounds = 3;
    int files = 0;
    int mixed = 0;
    qint64 huge = 0;
    int growth = 0;
    int users = 0;
    int accounts = 0;
    bool is_cold = false;
};

bool all_kept = true;

void print_figure(const QString& what, double value, double limit, const QString& beside)
{
    const bool is_kept = value <= limit;
    all_kept = all_kept && is_kept;
    std::printf("%-58s %7.3f (at most %g)%s  %s\n", qUtf8Printable(what), value, limit, is_kept ? "" : "  NOT KEPT",
                qUtf8Printable(beside));
    std::fflush(stdout);
}

QString program()
{
    return QCoreApplication::applicationDirPath() + QStringLiteral("/mail-extract");
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values.at(values.size() / 2);
}

/// One side of a comparison: what is measured, and what is done before each time without being measured.
struct side
{
    std::function<void()> prepare;
    std::function<double()> measure;
};

/// Lets all sides work in turns, from the same state of the memory; prints the ratio of the medians of the first two,
/// and what the bare work would make of it.
void compare(const settings& with, const QString& what, double limit, const side& ours, const side& theirs,
             const side& bare)
{
    const std::array<const side*, 3> sides = {&ours, &theirs, &bare};
    std::array<std::vector<double>, 3> seconds;
    for (int round = 0; round < with.rounds; ++round) {
        for (std::size_t at = 0; at < sides.size(); ++at) {
            sides[at]->prepare();
            if (with.is_cold) {
                cost_of_line(QStringLiteral("sync; echo 3 > /proc/sys/vm/drop_caches"));
            }
            seconds[at].push_back(sides[at]->measure());
        }
    }
    std::array<double, 3> medians{};
    std::transform(seconds.begin(), seconds.end(), medians.begin(), median);
    print_figure(what, medians[0] / medians[1], limit,
                 QStringLiteral("%1 s / %2 s, bare %3 (%4 s)")
                     .arg(medians[0], 0, 'f', 2)
                     .arg(medians[1], 0, 'f', 2)
                     .arg(medians[2] / medians[1], 0, 'f', 2)
                     .arg(medians[2], 0, 'f', 2));
}

/// A place with a source, and where results go.
struct ground
{
    settings with;
    QString source;
    QString ours;
    QString theirs;
    int files = 0;
    int& set_aside; ///< how many copies of earlier turns were moved out of the way

    QString mail() const { return source + QStringLiteral("/Users/ann/Library/Mail"); }

    QString hashing() const
    {
        const auto cores = int(std::max(1U, std::thread::hardware_concurrency()));
        const int at_a_time = std::clamp(2 * files / (4 * cores), 1, 64);
        return QStringLiteral("find %1 %2 -type f -print0 | xargs -0 -P %3 -n %4 sha256sum > %5/sums")
            .arg(mail(), theirs)
            .arg(cores)
            .arg(at_a_time)
            .arg(with.place);
    }

    /// Makes way for a copy. On a disk many files are only moved out of the way: for minutes after a removal ext4
    /// passes over the places of removed files one by one, so that whatever creates files would be slowed by the turn
    /// before.
    void clear(const QString& directory) const
    {
        if (with.is_cold && files > 1) {
            QDir().rename(directory, QStringLiteral("%1/earlier%2").arg(with.place).arg(++set_aside));
        } else {
            cost_of({"rm", "-rf", directory});
        }
    }

    QByteArray tree() const { return QFile::encodeName(mail()); }
    QByteArray copy() const { return QFile::encodeName(theirs) + "/Mail"; }

    /// Bare work that makes the copy anew.
    side bare_copy(const std::function<double()>& further) const
    {
        return {[this] {
                    clear(theirs);
                    QDir().mkpath(theirs);
                },
                [this, further] { return seconds_of_bare_copy(tree(), copy()) + further(); }};
    }

    side run(const QStringList& options) const
    {
        return {[this] { clear(ours); },
                [this, options] {
                    return cost_of(QStringList{program(), "run", "--quiet", "--source", source, "--result", ours} +
                                   options)
                        .seconds;
                }};
    }

    side typed(const QString& line, bool begins_anew) const
    {
        return {[this, begins_anew] {
                    if (begins_anew) {
                        clear(theirs);
                    }
                },
                [line] { return cost_of_line(line).seconds; }};
    }
};

void compare_all(const ground& on, const QString& shape)
{
    const auto named = [&shape](const char* what) { return shape + QStringLiteral(": ") + QLatin1String(what); };
    const QString copying = QStringLiteral("mkdir -p %2 && rsync -a %1 %2").arg(on.mail(), on.theirs);
    const side bare_run =
        on.bare_copy([&on] { return seconds_of_bare_sync(on.copy()) + seconds_of_bare_hashing(on.copy(), true); });
    compare(on.with, named("run / (rsync -a; sha256sum of both sides)"), 0.6, on.run({}),
            on.typed(copying + QStringLiteral(" && ") + on.hashing(), true), bare_run);
    compare(on.with, named("run / (the same, with a sync before the hashing)"), 1.0, on.run({}),
            on.typed(copying + QStringLiteral(" && sync -f %1 && ").arg(on.theirs) + on.hashing(), true), bare_run);
    const auto nothing = [] {};
    compare(on.with, named("verify / sha256sum of both sides"), 0.6,
            {nothing,
             [&on] {
                 return cost_of({program(), "verify", "--quiet", "--result", on.ours, "--source", on.source}).seconds;
             }},
            on.typed(on.hashing(), false),
            {nothing, [&on] { return seconds_of_bare_hashing(on.tree()) + seconds_of_bare_hashing(on.copy()); }});
    compare(on.with, named("run --no-verify / cp -a"), 0.7, on.run({"--no-verify"}),
            on.typed(QStringLiteral("mkdir -p %2 && cp -a %1 %2").arg(on.mail(), on.theirs), true), on.bare_copy([&on] {
                // Before the copying it is seen whether there is room, after it whether everything is as it was; all
                // messages are written down.
                const double looks = 2 * seconds_of_bare_walk(on.tree()) + seconds_of_bare_walk(on.copy());
                const double rows = seconds_of_bare_rows(on.tree(), QFile::encodeName(on.theirs) + "/rows");
                return looks + rows + (on.with.is_cold ? seconds_of_bare_sync(on.copy()) : 0);
            }));
    if (on.files >= 40'000) {
        compare(on.with, named("survey / find -printf"), 1.2,
                {nothing,
                 [&on] {
                     return cost_of({program(), "survey", "--source", on.source}).seconds;
                 }},
                on.typed(QStringLiteral("find %1 -printf '%y %m %s %T@ %p\\n'").arg(on.mail()), false),
                {nothing, [&on] { return seconds_of_bare_walk(on.tree()); }});
    }
}

void measure_bytes_read(const ground& on, const QString& shape)
{
    qint64 there = 0;
    QDirIterator files(on.mail(), QDir::Files | QDir::Hidden | QDir::NoSymLinks, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        there += files.nextFileInfo().size();
    }
    on.clear(on.ours);
    const bytes_read read = bytes_read_below(
        on.mail(), {program(), "run", "--quiet", "--source", on.source, "--result", on.ours}, on.with.place);
    if (!read.is_measured) {
        std::printf("%s: bytes read: not measured, there is no strace\n", qUtf8Printable(shape));
        return;
    }
    print_figure(shape + QStringLiteral(": bytes read below Mail / sizes of the files"),
                 static_cast<double>(read.bytes) / static_cast<double>(there), 1.0, {});
    print_figure(shape + QStringLiteral(": syncs of a run"), static_cast<double>(read.syncs), 50, {});
}

/// Runs over a source that a function writes for a number of things; returns the median cost.
command_cost cost_of_run(const settings& with, int count, const std::function<void(const QString&, int)>& write)
{
    const QTemporaryDir work(with.place + QStringLiteral("/growth"));
    write(work.filePath("source"), count);
    std::vector<double> seconds;
    command_cost cost;
    // The first time reads the disk, which the others find in memory.
    const int times = count <= small_growth ? 5 : 2;
    for (int i = 0; i < times; ++i) {
        QDir(work.filePath("result")).removeRecursively();
        cost = cost_of(
            {program(), "run", "--quiet", "--source", work.filePath("source"), "--result", work.filePath("result")});
        seconds.push_back(cost.seconds);
    }
    std::sort(seconds.begin(), seconds.end());
    cost.seconds = seconds[(seconds.size() - 1) / 2];
    return cost;
}

void measure_growth(const settings& with, const QString& of, int few, int many,
                    const std::function<void(const QString&, int)>& write)
{
    const command_cost small = cost_of_run(with, few, write);
    const command_cost large = cost_of_run(with, many, write);
    print_figure(QStringLiteral("seconds each at %1 / at %2 %3").arg(many).arg(few).arg(of),
                 large.seconds / many / (small.seconds / few), 1.1,
                 QStringLiteral("%1 s / %2 s").arg(large.seconds, 0, 'f', 2).arg(small.seconds, 0, 'f', 2));
    if (of == QLatin1String("files") && many >= 100'000) {
        print_figure(QStringLiteral("peak memory at %1 files, MB").arg(many), large.peak_mb, many > 100'000 ? 80 : 40,
                     {});
    }
}

settings settings_from(const QCoreApplication& application)
{
    QCommandLineParser parser;
    parser.setApplicationDescription("Measures mail-extract against what an examiner would type. Numbers of 0 leave a "
                                     "figure out.");
    parser.addHelpOption();
    const auto add = [&parser](const char* name, const char* about, const char* value) {
        parser.addOption({QLatin1String(name), QLatin1String(about), QStringLiteral("N"), QLatin1String(value)});
    };
    add("place", "directory for sources and results, on the disk or in memory", qUtf8Printable(QDir::tempPath()));
    add("rounds", "turns of each side", "3");
    add("files", "messages of 2 kB", "40000");
    add("mixed", "messages of 40 kB in the mean", "20000");
    add("huge", "bytes of one message", "4000000000");
    add("growth", "messages of the largest source", "1000000");
    add("users", "most users", "10000");
    add("accounts", "most account folders", "50000");
    parser.process(application);
    const auto number = [&parser](const char* name) { return parser.value(QLatin1String(name)).toLongLong(); };
    settings with{QDir(parser.value("place")).absolutePath(),
                  int(number("rounds")),
                  int(number("files")),
                  int(number("mixed")),
                  number("huge"),
                  int(number("growth")),
                  int(number("users")),
                  int(number("accounts"))};
    with.is_cold = ::access("/proc/sys/vm/drop_caches", W_OK) == 0 && !with.place.startsWith("/dev/shm");
    return with;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    settings with = settings_from(application);
    const QTemporaryDir work(with.place + QStringLiteral("/examiner"));
    if (!work.isValid()) {
        qFatal("no temporary folder in %s", qUtf8Printable(with.place));
    }
    with.place = work.path();
    std::printf("in %s, %s\n", qUtf8Printable(with.place),
                with.is_cold ? "each turn with nothing of any file in memory" : "each turn with all files in memory");
    int set_aside = 0;
    const auto with_source = [&](const QString& shape, int files, const std::function<void(const QString&)>& write) {
        if (files > 0) {
            const ground on{with,
                            work.filePath(shape + "_source"),
                            work.filePath(shape + "_ours"),
                            work.filePath(shape + "_theirs"),
                            files,
                            set_aside};
            write(on.source);
            compare_all(on, shape);
            measure_bytes_read(on, shape);
            on.clear(on.source);
            on.clear(on.ours);
            on.clear(on.theirs);
        }
    };
    with_source("small", with.files, [&](const QString& root) { write_small_messages(root, with.files); });
    with_source("mixed", with.mixed, [&](const QString& root) { write_mixed_messages(root, with.mixed); });
    with_source("huge", with.huge > 0 ? 1 : 0, [&](const QString& root) { write_huge_message(root, with.huge); });
    if (with.growth > 0) {
        measure_growth(with, "files", small_growth, with.growth, write_small_messages);
    }
    if (with.users > 0) {
        measure_growth(with, "users", with.users / 10, with.users, write_many_users);
    }
    if (with.accounts > 0) {
        measure_growth(with, "account folders", with.accounts / 10, with.accounts, write_many_accounts);
    }
    return all_kept ? 0 : 1;
}
