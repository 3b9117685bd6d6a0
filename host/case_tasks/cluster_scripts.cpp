#include "host/case_tasks/cluster_scripts.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <map>

namespace {

QString in_cluster(const cluster_work& work, const char* name)
{
    return work.paths.cluster() + QLatin1Char('/') + QLatin1String(name);
}

/// The call that extracts one source; `index` is a word for the shell.
QString run_call(const QString& program, const cluster_work& work, const QString& index)
{
    QStringList words{program,
                      QStringLiteral("case"),
                      QStringLiteral("run"),
                      shell_word(work.paths.root()),
                      QStringLiteral("--index"),
                      index};
    if (work.retry) {
        words << QStringLiteral("--retry") << QStringLiteral("failed");
    }
    for (const QString& mapping : work.mappings) {
        words << QStringLiteral("--map") << shell_word(mapping);
    }
    return words.join(QLatin1Char(' '));
}

QString own_program()
{
    return shell_word(QCoreApplication::applicationFilePath());
}

/// A script whose tasks all take the same time for the same: the nodes' zones may differ.
QByteArray script(const QString& directives, const QString& lines)
{
    return (QStringLiteral("#!/bin/bash\n# Written by mail-extract case submit.\n") + directives +
            QStringLiteral("export TZ=UTC\n") + lines + QLatin1Char('\n'))
        .toUtf8();
}

QByteArray list_of_indexes(const cluster_work& work)
{
    QByteArray list;
    for (const int index : work.indexes) {
        list += QByteArray::number(index) + '\n';
    }
    return list;
}

QString line_of_list(const cluster_work& work, const QString& number)
{
    return QStringLiteral("\"$(sed -n \"%1p\" %2)\"").arg(number, shell_word(in_cluster(work, "indexes.txt")));
}

QByteArray array_script(const cluster_work& work)
{
    // Appending keeps what an earlier start of a requeued task printed; the signal comes before the kill.
    return script(QStringLiteral("#SBATCH --job-name=mail-extract\n#SBATCH --requeue\n#SBATCH --open-mode=append\n"
                                 "#SBATCH --signal=B:TERM@60\n"),
                  QStringLiteral("exec ") +
                      run_call(own_program(), work, QStringLiteral("\"$((SLURM_ARRAY_TASK_ID + ${1:-0}))\"")));
}

QByteArray collect_script(const cluster_work& work)
{
    // Grid Engine takes a shell of its own choice where none is named.
    return script(
        QStringLiteral("#SBATCH --job-name=mail-extract-collect\n#SBATCH --open-mode=append\n"
                       "#$ -S /bin/bash\n#$ -N mail-extract-collect\n#$ -j y\n"),
        QStringLiteral("exec %1 case collect %2 --partial --quiet").arg(own_program(), shell_word(work.paths.root())));
}

QByteArray parallel_script(const cluster_work& work)
{
    return script({},
                  QStringLiteral("exec parallel \"$@\" --jobs %1 --joblog %2 --arg-file %3 %4")
                      .arg(work.at_once)
                      .arg(shell_word(in_cluster(work, "parallel.joblog")), shell_word(in_cluster(work, "indexes.txt")),
                           shell_word(run_call(own_program(), work, QStringLiteral("{}")))));
}

QByteArray sge_script(const cluster_work& work)
{
    return script(QStringLiteral("#$ -S /bin/bash\n#$ -N mail-extract\n#$ -t 1-%1\n#$ -tc %2\n#$ -r y\n#$ -j y\n")
                      .arg(work.indexes.size())
                      .arg(work.at_once),
                  QStringLiteral("exec ") +
                      run_call(own_program(), work, line_of_list(work, QStringLiteral("${SGE_TASK_ID}"))));
}

QByteArray kubernetes_job(const cluster_work& work)
{
    const QString line =
        QStringLiteral("exec ") + run_call(QStringLiteral("mail-extract"), work,
                                           line_of_list(work, QStringLiteral("$((JOB_COMPLETION_INDEX + 1))")));
    const QJsonObject container{
        {"name", "mail-extract"},
        {"image", QStringLiteral("mail-extract:") + QCoreApplication::applicationVersion()},
        {"command", QJsonArray{"/bin/sh", "-c", line}},
        {"env", QJsonArray{QJsonObject{{"name", "TZ"}, {"value", "UTC"}}}},
        {"volumeMounts", QJsonArray{QJsonObject{{"name", "case"}, {"mountPath", work.paths.root()}}}}};
    const QJsonObject pod{
        {"restartPolicy", "Never"},
        {"terminationGracePeriodSeconds", 60},
        {"containers", QJsonArray{container}},
        {"volumes", QJsonArray{QJsonObject{{"name", "case"}, {"hostPath", QJsonObject{{"path", work.paths.root()}}}}}}};
    return QJsonDocument(QJsonObject{{"apiVersion", "batch/v1"},
                                     {"kind", "Job"},
                                     {"metadata", QJsonObject{{"name", "mail-extract"}}},
                                     {"spec", QJsonObject{{"completionMode", "Indexed"},
                                                          {"completions", work.indexes.size()},
                                                          {"parallelism", work.at_once},
                                                          {"backoffLimitPerIndex", 1},
                                                          {"maxFailedIndexes", work.indexes.size()},
                                                          {"template", QJsonObject{{"spec", pod}}}}}})
        .toJson();
}

QStringList common_arguments(const cluster_work& work, const char* output, const QString& after)
{
    // The output's name has no directory: in a path, "%" would be taken for a pattern.
    QStringList arguments{QStringLiteral("--parsable"), QStringLiteral("--chdir=") + work.paths.cluster(),
                          QStringLiteral("--output=") + QLatin1String(output)};
    if (!after.isEmpty()) {
        arguments.append(QStringLiteral("--dependency=afterany:") + after);
    }
    return arguments;
}

} // namespace

QString shell_word(const QString& text)
{
    static const QString plain =
        QStringLiteral("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-./=%:,");
    const bool is_plain =
        !text.isEmpty() && std::all_of(text.begin(), text.end(), [](QChar letter) { return plain.contains(letter); });
    QString quoted = text;
    return is_plain
               ? text
               : QLatin1Char('\'') + quoted.replace(QLatin1Char('\''), QStringLiteral("'\\''")) + QLatin1Char('\'');
}

QString ranges_text(const QList<int>& numbers)
{
    QStringList ranges;
    for (qsizetype first = 0; first < numbers.size();) {
        qsizetype last = first;
        while (last + 1 < numbers.size() && numbers[last + 1] == numbers[last] + 1) {
            ++last;
        }
        ranges.append(first == last ? QString::number(numbers[first])
                                    : QStringLiteral("%1-%2").arg(numbers[first]).arg(numbers[last]));
        first = last + 1;
    }
    return ranges.join(QLatin1Char(','));
}

QList<array_block> array_blocks(const QList<int>& indexes, int array_limit)
{
    const int size = std::max(array_limit - 1, 1);
    std::map<int, QList<int>> tasks;
    for (const int index : indexes) {
        const int offset = (index - 1) / size * size;
        tasks[offset].append(index - offset);
    }
    QList<array_block> blocks;
    for (const auto& [offset, numbers] : tasks) {
        blocks.append({offset, ranges_text(numbers)});
    }
    return blocks;
}

QList<cluster_file> cluster_files(const QString& engine, const cluster_work& work)
{
    const cluster_file list{QStringLiteral("indexes.txt"), list_of_indexes(work), false};
    const cluster_file collect{QStringLiteral("collect.sh"), collect_script(work)};
    if (engine == QLatin1String("slurm")) {
        return {{QStringLiteral("array.sh"), array_script(work)}, collect};
    }
    if (engine == QLatin1String("parallel")) {
        return {{QStringLiteral("parallel.sh"), parallel_script(work)}, list, collect};
    }
    if (engine == QLatin1String("sge")) {
        return {{QStringLiteral("sge.sh"), sge_script(work)}, list, collect};
    }
    return {{QStringLiteral("job.json"), kubernetes_job(work), false}, list, collect};
}

QStringList sbatch_arguments(const cluster_work& work, const array_block& block, const QString& after,
                             const QStringList& further)
{
    return common_arguments(work, "%A_%a.out", after) +
           QStringList{QStringLiteral("--array=%1%%2").arg(block.tasks).arg(work.at_once)} + further +
           QStringList{in_cluster(work, "array.sh"), QString::number(block.offset)};
}

QStringList sbatch_collector_arguments(const cluster_work& work, const QString& after, const QStringList& further)
{
    return common_arguments(work, "collect-%j.out", after) + further + QStringList{in_cluster(work, "collect.sh")};
}

QStringList commands_for(const QString& engine, const cluster_work& work)
{
    const QString cluster = shell_word(work.paths.cluster());
    if (engine == QLatin1String("parallel")) {
        return {shell_word(in_cluster(work, "parallel.sh")),
                QStringLiteral("parallel --retry-failed --joblog ") + shell_word(in_cluster(work, "parallel.joblog")),
                shell_word(in_cluster(work, "collect.sh"))};
    }
    if (engine == QLatin1String("sge")) {
        return {QStringLiteral("qsub -wd %1 %1/sge.sh").arg(cluster),
                QStringLiteral("qsub -wd %1 -hold_jid mail-extract %1/collect.sh").arg(cluster)};
    }
    return {QStringLiteral("kubectl create -f ") + shell_word(in_cluster(work, "job.json")),
            QStringLiteral("kubectl wait --for=condition=complete --for=condition=failed job/mail-extract"),
            shell_word(in_cluster(work, "collect.sh"))};
}
