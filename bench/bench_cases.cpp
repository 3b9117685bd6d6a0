// What a case of many sources costs: sources at a time against one after the other, the share of the case's own work,
// the status of a large case, and collecting one. Prints a line a figure, with its limit; exit code 1 when one is not
// kept.

#include "host/cases/case_overview.h"
#include "host/cases/case_settings.h"
#include "host/cases/shared_files.h"
#include "host/files/hashing.h"
#include "host/result/result_paths.h"
#include "host/result/run_record.h"
#include "host/result/seal.h"
#include "sample/sample_source.h"
#include "support/shared_texts.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <sys/resource.h>
#include <sys/wait.h>

namespace {

constexpr int small_macs = 100;
constexpr int rounds = 2; // each order once
constexpr int many_results = 1000;
constexpr int accounts_of_a_result = 100;

bool is_kept = true;

void require(bool condition, const QString& what)
{
    if (!condition) {
        qFatal("%s", qUtf8Printable(what));
    }
}

void print_figure(const char* what, double value, double limit, const char* unit)
{
    is_kept = is_kept && value <= limit;
    std::printf("%-62s %8.3f %-2s (at most %g)%s\n", what, value, unit, limit, value <= limit ? "" : "  NOT KEPT");
    std::fflush(stdout);
}

QString program()
{
    return QCoreApplication::applicationDirPath() + "/mail-extract";
}

/// What something took.
struct spent
{
    double seconds = 0;           ///< by the clock
    double processor_seconds = 0; ///< of all cores, with those of the processes that it started

    spent& operator+=(const spent& other)
    {
        seconds += other.seconds;
        processor_seconds += other.processor_seconds;
        return *this;
    }
};

rusage usage_of_children()
{
    rusage usage{};
    ::getrusage(RUSAGE_CHILDREN, &usage);
    return usage;
}

double processor_seconds_of_children()
{
    const rusage usage = usage_of_children();
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

spent spent_on(const QStringList& arguments)
{
    const double before = processor_seconds_of_children();
    QElapsedTimer timer;
    timer.start();
    QProcess process;
    process.setStandardOutputFile(QProcess::nullDevice());
    process.start(program(), arguments);
    require(process.waitForFinished(-1) && process.exitCode() == 0,
            arguments.join(' ') + ": " + process.readAllStandardError());
    return {static_cast<double>(timer.nsecsElapsed()) / 1e9, processor_seconds_of_children() - before};
}

/// How much there is on each Mac of a case.
struct kind_of_mac
{
    const char* name;
    int users;
    int messages_per_account;
};
constexpr kind_of_mac kinds_of_macs[] = {{"nearly empty Macs (50 files)", 1, 4}, {"small Macs (540 files)", 4, 12}};

QStringList write_macs(const kind_of_mac& kind, const QString& directory)
{
    QStringList sources;
    for (int i = 1; i <= small_macs; ++i) {
        sample_options options;
        options.root = QStringLiteral("%1/mac%2").arg(directory).arg(i);
        options.seed = static_cast<quint32>(i);
        options.users = kind.users;
        options.messages_per_account = kind.messages_per_account;
        QString error;
        require(write_sample_source(options, error).has_value(), error);
        sources.append(options.root);
    }
    return sources;
}

/// What each took in the round that was least disturbed.
struct least_spent
{
    spent bare; ///< each extraction without a case
    spent one_after_the_other;
    spent two_at_a_time;
    spent other_commands;
};

void take_least(spent& least, const spent& measured)
{
    for (const auto part : {&spent::seconds, &spent::processor_seconds}) {
        least.*part = least.*part > 0 ? std::min(least.*part, measured.*part) : measured.*part;
    }
}

/// The results lie as deep as in a case: the way to a file takes longer with each folder on it.
spent spent_on_bare_runs(const QStringList& sources, const QString& place)
{
    spent all;
    for (qsizetype i = 0; i < sources.size(); ++i) {
        const QString directory = QStringLiteral("%1/bare/results/%2").arg(place).arg(i + 1, 4, 10, QLatin1Char('0'));
        require(QDir().mkpath(directory), directory);
        all += spent_on({"run", "--source", sources[i], "--result", directory + "/attempt-1-node", "--quiet"});
    }
    return all;
}

void measure_case(const QStringList& sources, const QString& place, int jobs, least_spent& least)
{
    const QString path = QStringLiteral("%1/case%2").arg(place).arg(jobs);
    spent_on({"case", "new", path});
    spent others = spent_on(QStringList{"case", "add", path} + sources);
    take_least(jobs == 1 ? least.one_after_the_other : least.two_at_a_time,
               spent_on({"case", "run", path, "--quiet", "--jobs", QString::number(jobs)}));
    others += spent_on({"case", "status", path});
    others += spent_on({"case", "collect", path, "--quiet"});
    take_least(least.other_commands, others);
}

/// What leases, states and starting cost beside the extractions themselves, and what the other commands cost.
double share_of_own_work(const least_spent& least, double spent::*part)
{
    const double own = std::max(least.one_after_the_other.*part - least.bare.*part, 0.0) + least.other_commands.*part;
    return own / (least.one_after_the_other.*part + least.other_commands.*part);
}

/// Runs a case of Macs in rounds: each without a case, one at a time, two at a time, and in the next round the other
/// way round, since who comes later finds a fuller disk. Nothing is removed meanwhile, which some disks are busy with
/// long afterwards.
void measure_jobs(const kind_of_mac& kind, const QString& directory)
{
    const QStringList sources = write_macs(kind, directory + "/sources");
    least_spent least;
    for (int round = 1; round <= rounds; ++round) {
        const QString place = QStringLiteral("%1/%2").arg(directory).arg(round);
        require(QDir().mkpath(place), place);
        QList<int> jobs_in_order{0, 1, 2};
        if (round % 2 == 0) {
            std::reverse(jobs_in_order.begin(), jobs_in_order.end());
        }
        for (const int jobs : jobs_in_order) {
            if (jobs == 0) {
                take_least(least.bare, spent_on_bare_runs(sources, place));
            } else {
                measure_case(sources, place, jobs, least);
            }
        }
    }
    std::printf("100 %s: %.2f s without a case, %.2f s in a case, %.2f s two at a time\n", kind.name,
                least.bare.seconds, least.one_after_the_other.seconds, least.two_at_a_time.seconds);
    print_figure("  two at a time / one after the other",
                 least.two_at_a_time.seconds / least.one_after_the_other.seconds, 0.6, "");
    print_figure("  own work (add, leases, states, status, collect) / the whole",
                 share_of_own_work(least, &spent::seconds), 0.05, "");
    std::printf("%-62s %8.3f\n", "  the same by the time of the processor",
                share_of_own_work(least, &spent::processor_seconds));
}

void execute(const QSqlDatabase& database, const QString& statement)
{
    QSqlQuery query(database);
    require(query.exec(statement), query.lastError().text());
}

void write_database(const QString& path, int index)
{
    {
        QSqlDatabase database = QSqlDatabase::addDatabase("QSQLITE", "bench");
        database.setDatabaseName(path);
        require(database.open(), path);
        execute(database, "PRAGMA synchronous = OFF");
        execute(database,
                "CREATE TABLE accounts(INT INTEGER PRIMARY KEY, system_user TEXT, account TEXT, dest_path TEXT, "
                "source_file TEXT)");
        execute(
            database,
            QStringLiteral(
                "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < %1) INSERT INTO accounts "
                "SELECT i, 'user' || i % 4, 'account' || (i * %2 % 50000) || '@example.org', "
                "'/%3/' || i, "
                "'/Users/user/Library/Mail/V10;++::++;/Users/user/Library/Accounts/Accounts4.sqlite' FROM n")
                .arg(QString::number(accounts_of_a_result), QString::number(index), shared_texts::plugin_directory));
    }
    QSqlDatabase::removeDatabase("bench");
}

QString hash_of(const QString& path)
{
    QString error;
    const auto digest = sha256_of_file(QFile::encodeName(path), error);
    require(digest.has_value(), error);
    return QString::fromLatin1(digest_to_hex(*digest));
}

/// Writes a case as if so many sources had been extracted.
void write_large_case(const case_paths& paths)
{
    create_case(paths, {});
    source_list sources = read_sources(paths.sources_file());
    for (int i = 1; i <= many_results; ++i) {
        const QString name = QStringLiteral("EV-%1").arg(i);
        case_source source{i, name, "/evidence/" + name, paths.results() + '/' + source_directory_name(i, name), false};
        const QString attempt = "attempt-1-node";
        const result_paths result(source.file(attempt));
        require(QDir().mkpath(result.copies()) && QDir().mkpath(result.products()), result.root());
        write_database(result.database(), i);
        QFile manifest(result.path(product::manifest));
        require(manifest.open(QIODevice::WriteOnly) && manifest.write("path\n") > 0, manifest.fileName());
        manifest.close();
        write_run_record(result, {});
        seal_result(result);
        attempt_record record;
        record.state = source_state::whole;
        record.attempt = attempt;
        record.generation = 1;
        record.accounts = accounts_of_a_result;
        record.manifest_sha256 = hash_of(result.path(product::manifest));
        record.database_sha256 = hash_of(result.database());
        record.seal_sha256 = hash_of(result.path(product::seal));
        write_record(source.file(attempt + ".json"), attempt_to_json(record));
        write_record(source.file("state.json"), attempt_to_json(record));
        write_registration(source.directory, {name, source.source, source.source, {}, source_fingerprint()});
        require(make_link(attempt, source.file("whole")).outcome == claim::made, source.directory);
        append_source(sources, {i, name, source.source, {}, 0});
    }
    write_sources(paths.sources_file(), sources);
}

double peak_memory_of_children_mb()
{
    const rusage usage = usage_of_children();
#if defined(__APPLE__)
    return static_cast<double>(usage.ru_maxrss) / 1e6;
#else
    return static_cast<double>(usage.ru_maxrss) * 1024 / 1e6;
#endif
}

void measure_large_case(const QTemporaryDir& work)
{
    const QString path = work.filePath("large");
    write_large_case(case_paths(path));
    print_figure("status of 1,000 sources", spent_on({"case", "status", path}).seconds, 1, "s");
    const double seconds = spent_on({"case", "collect", path, "--quiet"}).seconds;
    print_figure("collect of 1,000 results with 100,000 accounts", seconds, 60, "s");
    // The largest of all children so far, of which collect is one.
    print_figure("memory of it, at most", peak_memory_of_children_mb(), 200, "MB");
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QTemporaryDir work;
    require(work.isValid(), "no temporary folder");
    measure_large_case(work);
    for (const kind_of_mac& kind : kinds_of_macs) {
        measure_jobs(kind, work.filePath(QString::number(kind.users)));
    }
    return is_kept ? 0 : 1;
}
