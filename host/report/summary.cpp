#include "host/report/summary.h"

#include "host/html/parts.h"
#include "host/text/display_text.h"

#include <QJsonDocument>

namespace {

/// Says how the run ended, unless it ended as it should.
void write_run_notice(report_html& html, const run_record& run)
{
    if (run.status == run_status::running) {
        write_notice(
            html, "bad",
            QStringLiteral("This run did not come to its end: its record still says \"running\". It was "
                           "killed, or is at work still. What follows is what it has left, and is not whole."));
    } else if (run.status == run_status::cancelled) {
        write_notice(html, "bad", QStringLiteral("This run was cancelled. What follows is not whole."));
    } else if (run.status == run_status::failed) {
        write_notice(html, "bad", QStringLiteral("This run failed: ") + display_text(run.error));
    } else if (!run.error.isEmpty()) {
        write_notice(html, "bad", QStringLiteral("This run ended, but: ") + display_text(run.error));
    }
}

/// Says what is wrong with the seal or with what was verified since.
void write_proof_notices(report_html& html, const report_data& data)
{
    const report_proof& proof = data.proof;
    const verification_record* newest = proof.newest();
    if (newest != nullptr && !newest->whole) {
        write_notice(
            html, "bad",
            QStringLiteral("The newest verification, of %1, says that this result is not whole: %2 findings%3.")
                .arg(display_time(newest->verified), display_number(newest->findings()),
                     newest->problem.isEmpty() ? QString() : QStringLiteral("; ") + display_text(newest->problem)));
    }
    for (const QString& problem : proof.unreadable_records()) {
        write_notice(html, "bad", QStringLiteral("A verification is not known: ") + display_text(problem));
    }
    for (const QString& problem : proof.seal_problems) {
        write_notice(html, "bad", QStringLiteral("The seal does not hold: ") + display_text(problem));
    }
    if (!proof.seal && proof.seal_problems.isEmpty() && data.run && data.run->status == run_status::finished) {
        write_notice(html, "bad", QStringLiteral("The run is finished, and there is no seal."));
    }
}

/// True when nothing that is known speaks against the result.
bool is_proven(const report_data& data)
{
    const report_proof& proof = data.proof;
    const bool run_ended_well = data.run && data.run->status == run_status::finished && data.run->error.isEmpty();
    const bool is_sealed = proof.seal && proof.seal_problems.isEmpty();
    const bool is_verified = proof.verifications.isEmpty() || (proof.newest() != nullptr && proof.newest()->whole);
    return run_ended_well && is_sealed && is_verified && proof.unreadable_records().isEmpty() && data.manifest &&
           data.manifest->faults() == 0;
}

void write_verification_notice(report_html& html, const report_data& data)
{
    if (!data.manifest) {
        write_notice(html, "warn", QStringLiteral("The copies are not verified: there is no manifest."));
    } else if (const qint64 faults = data.manifest->faults(); faults > 0) {
        write_notice(
            html, "bad",
            QStringLiteral("Not whole: of %1 files, %2 are missing, %3 different, %4 changed and %5 unreadable.")
                .arg(display_number(data.manifest->files()),
                     display_number(data.manifest->count(entry_status::missing)),
                     display_number(data.manifest->count(entry_status::different)),
                     display_number(data.manifest->count(entry_status::changed)),
                     display_number(data.manifest->count(entry_status::unreadable))));
    } else if (is_proven(data)) {
        write_notice(html, "good",
                     QStringLiteral("Every copy that is due is there and has the bytes of its source: %1 files.")
                         .arg(display_number(data.manifest->count(entry_status::copied))));
    }
}

struct tile
{
    const char* label;
    QString figure;
    QString more;
    const char* style_class = "";
};

void write_tile(report_html& html, const tile& one)
{
    const auto item = html.open("li", {{"class", QString::fromLatin1(one.style_class)}});
    html.element("span", QString::fromLatin1(one.label), {{"class", QStringLiteral("label")}});
    html.element("span", one.figure, {{"class", QStringLiteral("figure")}});
    html.element("span", one.more, {{"class", QStringLiteral("more")}});
}

tile not_copied_tile(const report_data& data)
{
    if (!data.manifest) {
        return {"Not copied", QStringLiteral("?"), QStringLiteral("not verified")};
    }
    const qint64 faults = data.manifest->faults();
    return {"Not copied", display_number(faults), QStringLiteral("of those due"), faults > 0 ? "bad" : "good"};
}

tile kept_aside_tile(const report_manifest& manifest)
{
    return {"Kept aside", display_number(manifest.kept_hidden + manifest.kept_loose),
            QStringLiteral("%1 hidden, %2 loose")
                .arg(display_number(manifest.kept_hidden), display_number(manifest.kept_loose))};
}

// What the totals call files that are neither copied nor kept, by status.
constexpr std::array<const char*, entry_status_names.size()> words_for_rest = {
    "",          "",        "hidden and not kept", "loose and not kept", "links", "special", "missing",
    "different", "changed", "unreadable"};

/// Says in one line what became of every file.
QString totals_text(const report_manifest& manifest)
{
    QString text = QStringLiteral("%1 of %2 files copied and proven, %3 kept aside (%4 hidden, %5 loose)")
                       .arg(display_number(manifest.count(entry_status::copied)),
                            display_number(manifest.files() - manifest.further_witnesses()),
                            display_number(manifest.kept_hidden + manifest.kept_loose),
                            display_number(manifest.kept_hidden), display_number(manifest.kept_loose));
    for (std::size_t status = 0; status < manifest.totals.size(); ++status) {
        const auto which = static_cast<entry_status>(status);
        if (which != entry_status::copied && which != entry_status::kept && manifest.totals[status] > 0) {
            text += QStringLiteral(", %1 %2").arg(display_number(manifest.totals[status]),
                                                  QLatin1String(words_for_rest[status]));
        }
    }
    return text + QStringLiteral("; %1 further witnesses kept").arg(display_number(manifest.further_witnesses()));
}

tile failures_tile(const report_data& data)
{
    if (!data.failures_known) {
        return {"Log failures", QStringLiteral("?"), QStringLiteral("log not read")};
    }
    return {"Log failures", display_number(data.failures), QStringLiteral("lines of the log"),
            data.failures > 0 ? "bad" : "good"};
}

QString exit_text(const run_record& run)
{
    const QString code = run.exit_code ? QStringLiteral(", exit code %1").arg(*run.exit_code) : QString();
    return run_status_name(run.status) + code;
}

QString options_text(const QJsonObject& options)
{
    return options.isEmpty() ? QStringLiteral("none")
                             : QString::fromUtf8(QJsonDocument(options).toJson(QJsonDocument::Compact));
}

} // namespace

void write_report_notices(report_html& html, const report_data& data)
{
    write_proof_notices(html, data);
    if (data.run) {
        write_run_notice(html, *data.run);
    }
    write_verification_notice(html, data);
    for (const QString& note : data.notes) {
        write_notice(html, "warn", display_text(note));
    }
}

void write_report_tiles(report_html& html, const report_data& data)
{
    qsizetype accounts = 0;
    file_amount all;
    for (const report_user& user : data.users) {
        accounts += user.accounts.size();
        all += user.mail_tree;
    }
    QList<tile> tiles = {{"Users", display_number(data.users.size()), QStringLiteral("of the source")},
                         {"Account folders", display_number(accounts), QStringLiteral("rows of the result")},
                         {"Files", display_number(all.files), QStringLiteral("of all users")},
                         {"Size", display_bytes(all.bytes), display_number(all.bytes) + QStringLiteral(" bytes")},
                         not_copied_tile(data)};
    if (data.manifest) {
        tiles.append(kept_aside_tile(*data.manifest));
    }
    tiles.append(failures_tile(data));
    if (data.manifest) {
        html.element("p", totals_text(*data.manifest), {{"class", QStringLiteral("totals")}});
    }
    const auto list = html.open("ul", {{"class", QStringLiteral("tiles")}});
    for (const tile& one : tiles) {
        write_tile(html, one);
    }
}

void write_run_facts(report_html& html, const report_data& data)
{
    const auto section = html.open("section", {{"id", QStringLiteral("run")}});
    html.element("h2", QStringLiteral("The run"));
    if (!data.run) {
        html.element("p", QStringLiteral("There is no run record, so nothing is known of the run."));
        return;
    }
    const run_record& run = *data.run;
    const auto facts = html.open("dl", {{"class", QStringLiteral("facts")}});
    write_fact_or_unknown(html, "Outcome", exit_text(run));
    write_fact_or_unknown(html, "Program", run.program_name + QLatin1Char(' ') + run.program_version);
    write_fact_or_unknown(html, "Its SHA-256", run.program_sha256);
    write_fact_or_unknown(html, "Plug-in", run.plugin_version + QStringLiteral(", ") + run.plugin_path);
    write_fact_or_unknown(html, "Its SHA-256", run.plugin_sha256);
    write_fact_or_unknown(html, "Machine",
                          run.host_name + QStringLiteral(", ") + run.host_system + QStringLiteral(", ") +
                              run.host_architecture);
    write_fact_or_unknown(html, "Time zone", run.time_zone);
    write_fact_or_unknown(html, "Command line", run.command_line.join(QLatin1Char(' ')));
    write_fact_or_unknown(html, "Options", options_text(run.options));
    write_fact_or_unknown(html, "Log",
                          run.log_path + (run.log_enciphered ? QStringLiteral(" (enciphered)") : QString()));
}
