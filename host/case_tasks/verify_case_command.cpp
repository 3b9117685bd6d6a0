#include "host/case_tasks/verify_case_command.h"

#include "host/case_tasks/case_progress.h"
#include "host/case_tasks/child_process.h"
#include "host/cases/case_overview.h"
#include "host/cases/case_settings.h"
#include "host/terminal/console.h"
#include "host/terminal/exit_codes.h"
#include "host/terminal/interruption.h"
#include "host/text/display_text.h"
#include "host/text/failure.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>

#include <memory>
#include <vector>

namespace {

constexpr unsigned long ms_between_looks = 10;
constexpr qsizetype most_complaints = 3; // of one result

/// The verification of one result, in a process of its own.
struct running_verification
{
    const overview_entry* entry = nullptr;
    QString log;
    std::unique_ptr<QProcess> process;
    QElapsedTimer since_start;
};

running_verification begin_verification(const overview_entry& entry, const QString& log_directory)
{
    running_verification begun{
        &entry, log_directory + QLatin1Char('/') + entry.source.number(), std::make_unique<QProcess>(), {}};
    begun.since_start.start();
    start_own_program(*begun.process,
                      {QStringLiteral("verify"), QStringLiteral("--result"), entry.status.result,
                       QStringLiteral("--expect"), entry.status.attempt.seal_sha256},
                      begun.log);
    return begun;
}

/// Says how a verification ended; true when the result fits.
bool conclude(const running_verification& ended, case_progress& shown)
{
    const bool is_normal = ended.process->exitStatus() == QProcess::NormalExit;
    const bool fits = is_normal && ended.process->exitCode() == exit_code::whole;
    QString text = QStringLiteral("fits its seal");
    if (!fits) {
        text = last_complaints(ended.log, most_complaints);
        if (text.isEmpty()) {
            text = is_normal ? QStringLiteral("the verification ended with exit code %1").arg(ended.process->exitCode())
                             : QStringLiteral("the verification did not end");
        }
        text.prepend(QStringLiteral("does not fit: "));
        complain(label_of(ended.entry->source) + QStringLiteral(": ") + text);
    }
    shown.ended(label_of(ended.entry->source), text, ended.since_start.elapsed());
    return fits;
}

/// Returns how many results do not fit.
qint64 verify_all(const QList<overview_entry>& entries, int jobs, bool quiet)
{
    const QTemporaryDir logs;
    if (!logs.isValid()) {
        refuse(QStringLiteral("cannot create a folder for the verifications: %1").arg(logs.errorString()));
    }
    case_progress shown(entries.size(), progress_style_for(quiet));
    std::vector<running_verification> running;
    qint64 unfit = 0;
    qsizetype next = 0;
    while (!running.empty() || (next < entries.size() && !interruption::requested())) {
        while (running.size() < static_cast<std::size_t>(jobs) && next < entries.size() && !interruption::requested()) {
            running.push_back(begin_verification(entries[next++], logs.path()));
        }
        std::erase_if(running, [&](const running_verification& one) {
            if (interruption::requested()) {
                end_at_once(*one.process);
                return true;
            }
            const bool is_over = one.process->state() == QProcess::NotRunning || one.process->waitForFinished(0);
            unfit += is_over && !conclude(one, shown) ? 1 : 0;
            return is_over;
        });
        shown.update([&running] {
            QList<source_at_work> at_work;
            for (const running_verification& one : running) {
                at_work.append({label_of(one.entry->source), last_progress(one.log), one.since_start.elapsed()});
            }
            return at_work;
        });
        QThread::msleep(ms_between_looks);
    }
    return unfit;
}

} // namespace

int verify_case_command(const verify_case_options& options)
{
    interruption::watch();
    const case_paths paths(options.directory);
    read_case(paths);
    const case_overview overview = look_at_case(paths);
    QList<overview_entry> entries;
    qint64 damaged = 0;
    for (const overview_entry& entry : overview.entries) {
        const QString elsewhere =
            has_result(entry.status.state) ? reason_against_directory(entry.status.result) : QString();
        if (!elsewhere.isEmpty()) {
            complain(label_of(entry.source) + QStringLiteral(": ") + elsewhere);
            ++damaged;
        } else if (has_result(entry.status.state)) {
            entries.append(entry);
        } else if (entry.status.is_damaged) {
            complain(label_of(entry.source) + QStringLiteral(": ") + entry.status.reason);
            ++damaged;
        }
    }
    const qint64 unfit = verify_all(entries, options.jobs, options.quiet) + damaged;
    if (interruption::requested()) {
        return exit_code::cancelled;
    }
    print_line(QStringLiteral("%1: %2 results fit their seals, %3 do not")
                   .arg(paths.root(), display_number(entries.size() + damaged - unfit), display_number(unfit)));
    return unfit > 0 ? exit_code::with_failures : exit_code::whole;
}
