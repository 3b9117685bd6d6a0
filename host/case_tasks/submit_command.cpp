#include "host/case_tasks/submit_command.h"

#include "host/case_tasks/cluster_scripts.h"
#include "host/cases/case_overview.h"
#include "host/cases/case_settings.h"
#include "host/cases/path_mapping.h"
#include "host/cases/shared_files.h"
#include "host/result/source_guard.h"
#include "host/terminal/command_failure.h"
#include "host/terminal/console.h"

#include <QProcess>
#include <QRegularExpression>

namespace {

// What Slurm has unless its administrator says otherwise.
constexpr int usual_array_limit = 1001;
constexpr int longest_answer_ms = 60'000;

QList<int> indexes_to_submit(const case_overview& overview, bool retry)
{
    QList<int> indexes;
    for (const auto& [source, status] : overview.entries) {
        const bool is_wanted =
            retry ? is_due(status.state, retry_kind::failed) || is_due(status.state, retry_kind::partial)
                  : is_due(status.state, retry_kind::none);
        if (is_wanted && status.state != source_state::running) {
            indexes.append(source.index);
        }
    }
    return indexes;
}

void write_files(const QString& directory, const QList<cluster_file>& files)
{
    make_folder(directory);
    for (const cluster_file& written : files) {
        const QString path = directory + QLatin1Char('/') + written.name;
        write_lasting_file(path, written.content);
        const auto readable = QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther | QFile::WriteOwner;
        const auto runnable = QFile::ExeOwner | QFile::ExeGroup | QFile::ExeOther;
        QFile file(path);
        if (!file.setPermissions(written.is_script ? readable | runnable : readable)) {
            refuse(QStringLiteral("cannot make %1 executable: %2").arg(path, file.errorString()));
        }
    }
}

/// Asks Slurm how large an array may be.
int array_limit()
{
    QProcess asked;
    asked.start(QStringLiteral("scontrol"), {QStringLiteral("show"), QStringLiteral("config")});
    if (!asked.waitForFinished(longest_answer_ms)) {
        return usual_array_limit;
    }
    static const QRegularExpression line(QStringLiteral("MaxArraySize\\s*=\\s*([0-9]+)"));
    const int limit = line.match(QString::fromLocal8Bit(asked.readAllStandardOutput())).captured(1).toInt();
    return limit > 1 ? limit : usual_array_limit;
}

QString command_line(const QString& program, const QStringList& arguments)
{
    QStringList words{program};
    for (const QString& argument : arguments) {
        words.append(shell_word(argument));
    }
    return words.join(QLatin1Char(' '));
}

/// Hands a script to Slurm; returns the number of the job.
QString hand_over(const QStringList& arguments)
{
    QProcess sbatch;
    sbatch.start(QStringLiteral("sbatch"), arguments);
    if (!sbatch.waitForStarted() || !sbatch.waitForFinished(longest_answer_ms)) {
        refuse(QStringLiteral("cannot run sbatch: %1").arg(sbatch.errorString()));
    }
    const QString said = QString::fromLocal8Bit(sbatch.readAllStandardError()).simplified();
    // "JOB" or "JOB;CLUSTER".
    const QString job =
        QString::fromLocal8Bit(sbatch.readAllStandardOutput()).trimmed().section(QLatin1Char(';'), 0, 0);
    if (sbatch.exitCode() != 0 || job.isEmpty()) {
        refuse(QStringLiteral("sbatch refused %1: %2").arg(arguments.last(), said));
    }
    return job;
}

/// Hands over the blocks, each after the one before, so that together they keep to the number at once, and then the
/// collector. Without `go` says what it would do.
void submit_to_slurm(const cluster_work& work, const submit_options& options)
{
    QString before;
    const auto submit = [&](const QStringList& arguments, const char* what) {
        print_line(command_line(QStringLiteral("sbatch"), arguments));
        before = options.go ? hand_over(arguments) : QStringLiteral("JOB");
        if (options.go) {
            print_line(QStringLiteral("%1: job %2").arg(QLatin1String(what), before));
        }
    };
    for (const array_block& block : array_blocks(work.indexes, array_limit())) {
        submit(sbatch_arguments(work, block, before, options.engine_options), "array");
    }
    submit(sbatch_collector_arguments(work, before, options.engine_options), "collector");
}

} // namespace

int submit_command(const submit_options& options)
{
    const bool is_slurm = options.engine == QLatin1String("slurm");
    if (!is_slurm && (options.go || !options.engine_options.isEmpty())) {
        throw command_failure(exit_code::usage,
                              QStringLiteral("--go and options behind -- go with --engine slurm; for %1 the lines that "
                                             "are printed do it")
                                  .arg(options.engine));
    }
    const case_paths paths(options.directory);
    read_case(paths);
    read_mappings(options.mappings);
    const case_overview overview = look_at_case(paths);
    complain_about_not_added(paths, overview.not_added);
    for (const overview_entry& entry : overview.entries) {
        if (entry.status.is_damaged) {
            complain(label_of(entry.source) + QStringLiteral(": ") + entry.status.reason);
        }
    }
    const cluster_work work{paths, indexes_to_submit(overview, options.retry), options.at_once, options.retry,
                            options.mappings};
    if (work.indexes.isEmpty()) {
        print_line(QStringLiteral("%1: nothing to submit: %2").arg(paths.root(), counts_text(overview)));
        return exit_code::whole;
    }
    const QList<cluster_file> files = cluster_files(options.engine, work);
    write_files(paths.cluster(), files);
    if (is_slurm) {
        submit_to_slurm(work, options);
        return exit_code::whole;
    }
    print_bytes("# " + files.first().name.toUtf8() + '\n' + files.first().content);
    for (const QString& line : commands_for(options.engine, work)) {
        print_line(line);
    }
    return exit_code::whole;
}
