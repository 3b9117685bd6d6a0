#include "host/report/seal_section.h"

#include "host/html/parts.h"
#include "host/text/display_text.h"

namespace {

QString looked_at(const verification_record& record)
{
    if (!record.source.isEmpty()) {
        return record.source;
    }
    return QStringLiteral("seal and copies alone") +
           (record.source_note.isEmpty() ? QString() : QStringLiteral(": ") + record.source_note);
}

/// What a verification says of the root hash, next to that of the seal as it is now.
QString root_text(const verification_record& record, const QString& root_hash)
{
    if (!record.sealed) {
        return QStringLiteral("no seal was there");
    }
    const QString same = record.root_hash == root_hash ? QStringLiteral("the one above") : record.root_hash;
    if (!record.root_expected) {
        return same;
    }
    return same + (*record.root_expected ? QStringLiteral(", as named by the examiner")
                                         : QStringLiteral(", not the one that the examiner named"));
}

void write_record(report_html& html, const verification_record& record, const QString& root_hash)
{
    const auto row = html.open("tr");
    if (is_unreadable(record)) {
        html.element("td", QStringLiteral("not known"));
        html.element("td", QStringLiteral("unreadable"), {{"class", QStringLiteral("status unreadable")}});
        const auto cell = html.open("td", {{"colspan", QStringLiteral("7")}});
        html.foreign(display_text(record.problem));
        return;
    }
    html.element("td", display_time(record.verified));
    html.element("td", record.whole ? QStringLiteral("whole") : QStringLiteral("not whole"),
                 {{"class", record.whole ? QStringLiteral("status copied") : QStringLiteral("status missing")}});
    write_foreign_cell(html, record.login_name);
    write_foreign_cell(html, looked_at(record) + (record.problem.isEmpty() ? QString() : QStringLiteral("; ")) +
                                 record.problem);
    write_foreign_cell(html, root_text(record, root_hash));
    for (const qint64 figure : {record.sealed_files, record.copies.files, record.sources.files}) {
        write_number(html, figure, display_number(figure));
    }
    write_number(html, record.findings(), display_number(record.findings()),
                 record.findings() > 0 ? "num status missing" : "num");
}

} // namespace

void write_seal(report_html& html, const report_data& data)
{
    const report_proof& proof = data.proof;
    const auto section = html.open("section", {{"id", QStringLiteral("seal")}});
    html.element("h2", QStringLiteral("Seal and verifications"));
    if (proof.seal) {
        const auto facts = html.open("dl", {{"class", QStringLiteral("facts")}});
        write_fact_or_unknown(html, "Root hash", proof.root_hash());
        write_fact_or_unknown(html, "Manifest",
                              proof.sealed_hash(data.result.relative(data.result.path(product::manifest))));
        write_fact_or_unknown(html, "Database", proof.sealed_hash(data.result.relative(data.result.database())));
        write_fact_or_unknown(html, "Sealed files", display_number(qint64(proof.seal->files.size())));
    } else {
        html.element("p", QStringLiteral("There is no seal that can be read."));
    }
    if (proof.verifications.isEmpty()) {
        html.element("p", QStringLiteral("The result was not verified since the run."),
                     {{"class", QStringLiteral("muted")}});
        return;
    }
    html.element("h3", QStringLiteral("Verifications, the newest first"));
    {
        const auto frame = html.open("div", {{"class", QStringLiteral("scroll")}});
        const auto table = html.open("table", {{"class", QStringLiteral("verifications")}});
        write_table_head(html, {{"Verified"},
                                {"Outcome"},
                                {"Operator"},
                                {"Compared with"},
                                {"Root hash"},
                                {"Sealed files", true},
                                {"Copies", true},
                                {"Source files", true},
                                {"Findings", true, "Files that differ, are absent or are surplus, by every check"}});
        const auto body = html.open("tbody");
        for (auto record = proof.verifications.crbegin(); record != proof.verifications.crend(); ++record) {
            write_record(html, *record, proof.root_hash());
        }
    }
    html.element("p",
                 QStringLiteral("The findings of each stand beside its record, in the folder of the verifications."),
                 {{"class", QStringLiteral("muted")}});
}
