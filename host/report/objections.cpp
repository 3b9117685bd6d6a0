#include "host/report/objections.h"

#include "host/text/display_text.h"

#include <QDateTime>

namespace {

/// Says how the run ended, unless it ended as it should.
void add_end_of_run(const run_record& run, QStringList& found)
{
    if (run.status == run_status::running) {
        found.append(
            QStringLiteral("This run did not come to its end: its record still says \"running\". It was "
                           "killed, or is at work still. What follows is what it has left, and is not whole."));
    } else if (run.status == run_status::cancelled) {
        found.append(QStringLiteral("This run was cancelled. What follows is not whole."));
    } else if (run.status == run_status::failed) {
        found.append(QStringLiteral("This run failed: ") + display_text(run.error));
    } else if (!run.error.isEmpty()) {
        found.append(QStringLiteral("This run ended, but: ") + display_text(run.error));
    }
}

/// Says what is wrong with the seal or with what was verified since.
void add_proof(const report_data& data, QStringList& found)
{
    const report_proof& proof = data.proof;
    const verification_record* newest = proof.newest();
    if (newest != nullptr && !newest->whole) {
        found.append(
            QStringLiteral("The newest verification, of %1, says that this result is not whole: %2%3.")
                .arg(display_time(newest->verified),
                     newest->findings() == 1 ? QStringLiteral("1 finding")
                                             : display_number(newest->findings()) + QStringLiteral(" findings"),
                     newest->problem.isEmpty() ? QString() : QStringLiteral("; ") + display_text(newest->problem)));
    }
    // The clocks of two machines need not agree to the hour, but a day ahead nobody can have verified anything.
    if (newest != nullptr && newest->verified > QDateTime::currentDateTimeUtc().addDays(1)) {
        found.append(QStringLiteral("The newest verification is dated %1, which has not come yet: what was verified "
                                    "since does not count beside it.")
                         .arg(display_time(newest->verified)));
    }
    for (const QString& problem : proof.unreadable_records()) {
        found.append(QStringLiteral("A verification is not known: ") + display_text(problem));
    }
    for (const QString& problem : proof.seal_problems) {
        found.append(QStringLiteral("The seal does not hold: ") + display_text(problem));
    }
    if (!proof.seal && proof.seal_problems.isEmpty() && data.run && data.run->status == run_status::finished) {
        found.append(QStringLiteral("The run is finished, and there is no seal."));
    }
}

void add_faults(const report_manifest& manifest, QStringList& found)
{
    if (manifest.faults() == 0) {
        return;
    }
    found.append(QStringLiteral("Not whole: of %1 files, %2 are missing, %3 different, %4 changed and %5 unreadable.")
                     .arg(display_number(manifest.files()), display_number(manifest.count(entry_status::missing)),
                          display_number(manifest.count(entry_status::different)),
                          display_number(manifest.count(entry_status::changed)),
                          display_number(manifest.count(entry_status::unreadable))));
}

} // namespace

QStringList objections_to(const report_data& data)
{
    QStringList found;
    add_proof(data, found);
    if (data.run) {
        add_end_of_run(*data.run, found);
    }
    if (data.manifest) {
        add_faults(*data.manifest, found);
    }
    for (const QString& problem : data.unreadable) {
        found.append(display_text(problem));
    }
    return found;
}
