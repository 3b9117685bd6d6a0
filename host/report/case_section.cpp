#include "host/report/case_section.h"

#include "host/html/parts.h"
#include "host/text/display_text.h"
#include "host/text/text_layout.h"

namespace {

// The foot stays a line or two.
constexpr qsizetype longest_in_foot = 60;

QString time_taken(const run_record& run)
{
    const qint64 milliseconds = run.started.msecsTo(run.ended);
    if (milliseconds < 60'000) {
        return QStringLiteral("%1 s").arg(static_cast<double>(milliseconds) / 1000.0, 0, 'f', 1);
    }
    const qint64 seconds = milliseconds / 1000;
    return QStringLiteral("%1 h %2 min %3 s").arg(seconds / 3600).arg(seconds / 60 % 60).arg(seconds % 60);
}

void write_case_data(report_html& html, const case_data& about)
{
    for (const case_field& field : case_fields) {
        if (!(about.*field.value).isEmpty()) {
            write_fact_or_unknown(html, field.title, about.*field.value);
        }
    }
}

void write_hashes(report_html& html, const report_data& data)
{
    const report_proof& proof = data.proof;
    const auto facts = html.open("dl", {{"class", QStringLiteral("facts hashes")}});
    write_fact_or_unknown(html, "Root hash", proof.root_hash());
    write_fact_or_unknown(html, "Manifest",
                          proof.sealed_hash(data.result.relative(data.result.path(product::manifest))));
    write_fact_or_unknown(html, "Database", proof.sealed_hash(data.result.relative(data.result.database())));
    write_fact_or_unknown(html, "Program", data.run ? data.run->program_sha256 : QString());
    write_fact_or_unknown(html, "Library", data.run ? data.run->plugin_sha256 : QString());
}

} // namespace

void write_report_header(report_html& html, const report_data& data)
{
    const auto header = html.open("header");
    html.element("h1", QStringLiteral("Apple Mail extraction"));
    html.element("p", QStringLiteral("What was found, what was copied, and what was not"),
                 {{"class", QStringLiteral("lead")}});
    const auto facts = html.open("dl", {{"class", QStringLiteral("facts")}});
    if (data.run) {
        write_case_data(html, data.run->about);
        write_fact_or_unknown(html, "Source", data.run->source);
        write_fact_or_unknown(html, "System of the Mac", data.run->identity.system_version);
        write_fact_or_unknown(html, "Time zone of the Mac", data.run->source_time_zone);
    }
    write_fact_or_unknown(html, "Result", data.result.root());
    if (data.run) {
        write_fact_or_unknown(html, "Operator", data.run->login_name + QStringLiteral(" on ") + data.run->host_name);
        write_fact_or_unknown(html, "Time zone of examining machine", data.run->time_zone);
        write_fact_or_unknown(html, "Started", display_time(data.run->started));
        const bool ended = data.run->ended.isValid();
        write_fact_or_unknown(html, "Ended",
                              display_time(data.run->ended) +
                                  (ended ? QStringLiteral(" (after %1)").arg(time_taken(*data.run)) : QString()));
    }
    write_fact_or_unknown(html, "Root hash", data.proof.root_hash());
}

void write_declaration(report_html& html, const report_data& data)
{
    const auto section = html.open("section", {{"id", QStringLiteral("declaration")}});
    html.element("h2", QStringLiteral("Declaration"));
    html.element("p", QStringLiteral("SHA-256 of what this report rests on; manifest and database as the seal lists "
                                     "them:"));
    write_hashes(html, data);
    html.element("p",
                 QStringLiteral("I have carried out or supervised the extraction that this report describes, and "
                                "the root hash above is the one that I have noted."),
                 {{"class", QStringLiteral("declared")}});
    const auto lines = html.open("dl", {{"class", QStringLiteral("lines")}});
    for (const char* line : {"Name", "Date", "Signature"}) {
        html.element("dt", QLatin1String(line));
        html.element("dd", QString());
    }
}

void write_page_foot(report_html& html, const report_data& data)
{
    const auto foot = html.open("div", {{"class", QStringLiteral("page-foot")}});
    const auto line = html.open("div");
    const case_data about = data.run ? data.run->about : case_data();
    for (const case_field& field : case_fields) {
        // Notes may be pages long, and the image's hash leaves no room.
        const bool is_short = field.value != &case_data::notes && field.value != &case_data::image_sha256;
        if (is_short && !(about.*field.value).isEmpty()) {
            html.text(QLatin1String(field.title) + QStringLiteral(": "));
            html.foreign(shortened_in_middle(display_text(about.*field.value), longest_in_foot));
            html.text(QStringLiteral(" \u00b7 "));
        }
    }
    html.text(QStringLiteral("Root hash: ") + (data.proof.seal ? data.proof.root_hash() : QStringLiteral("no seal")));
}
