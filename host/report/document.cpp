#include "host/report/document.h"

#include "host/files/durable_file.h"
#include "host/files/file_tree.h"
#include "host/files/mount_table.h"
#include "host/html/document_head.h"
#include "host/html/html_writer.h"
#include "host/html/style.h"
#include "host/report/account_table.h"
#include "host/report/case_section.h"
#include "host/report/certificate_section.h"
#include "host/report/chart.h"
#include "host/report/data.h"
#include "host/report/dossier_section.h"
#include "host/report/objections.h"
#include "host/report/seal_section.h"
#include "host/report/summary.h"
#include "host/report/verification_section.h"
#include "host/result/source_guard.h"
#include "host/text/display_text.h"
#include "host/text/failure.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <array>
#include <utility>

namespace {

/// The sections by their id, in their order.
constexpr std::array<std::pair<const char*, const char*>, 10> sections = {{
    {"seal", "Seal and verifications"},
    {"run", "The run"},
    {"verification", "What became of every file"},
    {"accounts", "Accounts"},
    {"copies", "Copied account folders"},
    {"picture", "Files by the year of their last change"},
    {"certificate", "Completeness"},
    {"exceptions", "Files that are neither copied nor kept"},
    {"failures", "Failures in the log"},
    {"declaration", "Declaration"},
}};

void write_accounts_section(report_html& html, const report_dossier& dossier)
{
    const auto section = html.open("section", {{"id", QStringLiteral("accounts")}});
    html.element("h2", QStringLiteral("Accounts"));
    write_dossier(html, dossier);
}

void write_copies_section(report_html& html, const report_data& data, const QString& directory)
{
    const auto section = html.open("section", {{"id", QStringLiteral("copies")}});
    html.element("h2", QStringLiteral("Copied account folders"));
    if (data.users.isEmpty()) {
        html.element("p", QStringLiteral("None was found."));
        return;
    }
    write_account_table(html, data, directory);
}

void write_picture_section(report_html& html, const report_data& data)
{
    if (data.users.isEmpty()) {
        return;
    }
    const auto section = html.open("section", {{"id", QStringLiteral("picture")}});
    html.element("h2", QStringLiteral("Files by the year of their last change"));
    write_report_chart(html, data.users);
}

void write_contents(report_html& html, const report_data& data)
{
    const auto section = html.open("nav", {{"aria-label", QStringLiteral("Contents")}});
    const auto list = html.open("ul", {{"class", QStringLiteral("contents")}});
    for (const auto& [id, title] : sections) {
        const bool is_there =
            (data.manifest || qstrcmp(id, "exceptions") != 0) && (!data.users.isEmpty() || qstrcmp(id, "picture") != 0);
        if (is_there) {
            const auto item = html.open("li");
            html.element("a", QLatin1String(title), {{"href", QLatin1Char('#') + QLatin1String(id)}});
        }
    }
}

void write_document(report_html& html, const report_data& data, const report_dossier& dossier,
                    const report_certificate& certificate, const QString& directory)
{
    html.doctype();
    const auto document = html.open("html", {{"lang", QStringLiteral("en")}});
    write_document_head(html, QStringLiteral("Apple Mail extraction: ") +
                                  display_text(data.run ? data.run->source : data.result.root()));
    const auto body = html.open("body");
    write_report_header(html, data);
    {
        const auto main = html.open("main");
        write_report_notices(html, data);
        write_report_tiles(html, data, dossier);
        write_contents(html, data);
        write_seal(html, data);
        write_run_facts(html, data);
        write_verification(html, data, directory);
        write_accounts_section(html, dossier);
        write_copies_section(html, data, directory);
        write_picture_section(html, data);
        write_certificate(html, data, certificate, directory);
        write_manifest_exceptions(html, data, directory);
        write_log_failures(html, data);
        write_declaration(html, data);
    }
    html.element("footer",
                 QStringLiteral("In names, control characters and direction marks are written out (\\n, \\u{202e}). "
                                "Sizes are in powers of 1,000."));
    write_page_foot(html, data);
    html.verbatim("script", report_script);
}

} // namespace

report_outcome write_report(const result_paths& result, const QString& output, const folder_amounts& known,
                            const result_seal* sealed_now)
{
    const QString path = QDir::cleanPath(QDir::current().absoluteFilePath(output));
    report_data data = load_report_data(result, known, sealed_now);
    // Into a source that is not there, or whose medium fails, no way leads.
    if (data.run && is_directory(QFile::encodeName(data.run->source)) && lies_inside(path, data.run->source)) {
        refuse(path + QStringLiteral(": the report would lie in the source, which is only read"));
    }
    if (!data.run && QFileInfo::exists(result.path(product::run_record)) && !lies_inside(path, result.root())) {
        refuse(path +
               QStringLiteral(": the record of the run cannot be read, so that nobody knows which source must not "
                              "be written to; the report can only lie in the result"));
    }
    if (!data.run && !mounts_in_table(mount_table(), resolved_path(QFile::encodeName(result.products()))).isEmpty()) {
        refuse(result.products() + QStringLiteral(": something is mounted there, and no record of a run tells that it "
                                                  "is not the source, which must not be written to"));
    }
    const report_dossier dossier = load_dossier(result);
    const report_certificate certificate = load_certificate(result);
    if (quiet_stat(QFile::encodeName(result.path(product::mail_database))).kind != entry_kind::absent) {
        data.unreadable += QStringList{dossier.problem, certificate.problem};
        data.unreadable.removeAll(QString());
        data.unreadable.removeDuplicates();
    }
    durable_file file(path);
    report_html html(&file);
    write_document(html, data, dossier, certificate, QFileInfo(path).absolutePath());
    file.commit();
    return {objections_to(data), data.unreadable + data.proof.unreadable_records() + data.proof.seal_problems};
}
