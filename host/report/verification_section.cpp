#include "host/report/verification_section.h"

#include "host/report/account_table.h"
#include "host/report/parts.h"
#include "host/text/display_text.h"

namespace {

constexpr std::array<const char*, entry_status_names.size()> status_meanings = {
    "The copy has the same bytes (SHA-256).",
    "Kept aside with the same bytes: a hidden or loose file, an account store, what stands beside it.",
    "Its name, or that of a folder above it, begins with a dot; it is not copied, and could not be kept.",
    "It lies directly in the Mail directory; it is not copied, and could not be kept.",
    "A link, listed with what became of it.",
    "A pipe, a socket or a device, which has no content to copy.",
    "A copy is due, and there is none.",
    "There is a copy, with other bytes.",
    "It changed while it was copied or read.",
    "The file, its folder or its copy cannot be read.",
};

QString status_class(std::size_t status)
{
    return QStringLiteral("status ") + QLatin1String(entry_status_names[status]);
}

void write_totals(report_html& html, const std::array<qint64, entry_status_names.size()>& totals)
{
    const auto frame = html.open("div", {{"class", QStringLiteral("scroll")}});
    const auto table = html.open("table");
    write_table_head(html, {{"Status"}, {"Files", true}, {"Meaning"}});
    const auto body = html.open("tbody");
    for (std::size_t status = 0; status < totals.size(); ++status) {
        const auto row = html.open("tr");
        html.element("td", QString::fromLatin1(entry_status_names[status]),
                     {{"class", totals[status] > 0 ? status_class(status) : QStringLiteral("muted")}});
        write_number(html, totals[status], display_number(totals[status]));
        html.element("td", QString::fromLatin1(status_meanings[status]), {{"class", QStringLiteral("muted")}});
    }
}

void write_exception(report_html& html, const manifest_entry& entry)
{
    const auto row = html.open("tr");
    html.element("td", QString::fromLatin1(entry_status_name(entry.status)),
                 {{"class", status_class(static_cast<std::size_t>(entry.status))}});
    {
        const auto cell = html.open("td");
        html.foreign(display_text(entry.path));
    }
    write_number(html, entry.size, display_bytes(entry.size));
    const auto cell = html.open("td");
    html.foreign(display_text(entry.reason));
}

void write_exceptions(report_html& html, const report_manifest& manifest, const QString& manifest_link)
{
    html.element("h3", QStringLiteral("Files that are neither copied nor hidden"));
    if (manifest.exceptions_count == 0) {
        html.element("p", QStringLiteral("None."), {{"class", QStringLiteral("muted")}});
        return;
    }
    if (manifest.exceptions.size() < manifest.exceptions_count) {
        const auto line = html.open("p");
        html.text(QStringLiteral("The first %1 of %2 are shown, faults first; all stand in ")
                      .arg(display_number(manifest.exceptions.size()), display_number(manifest.exceptions_count)));
        html.element("a", product_name(product::manifest), {{"href", manifest_link}});
        html.text(QStringLiteral("."));
    }
    const auto frame = html.open("div", {{"class", QStringLiteral("scroll")}});
    const auto table = html.open("table", {{"data-tool", QStringLiteral("yes")}});
    write_table_head(html, {{"Status"}, {"File, below the source"}, {"Size", true}, {"Reason"}});
    const auto body = html.open("tbody");
    for (const manifest_entry& entry : manifest.exceptions) {
        write_exception(html, entry);
    }
}

} // namespace

void write_verification(report_html& html, const report_data& data, const QString& directory)
{
    const auto section = html.open("section", {{"id", QStringLiteral("verification")}});
    html.element("h2", QStringLiteral("Verification"));
    if (!data.manifest) {
        html.element("p", QStringLiteral("There is no manifest of this result, so no file is proven to be copied."));
        return;
    }
    const QString manifest_link = relative_link(directory, data.result.path(product::manifest));
    {
        const auto line = html.open("p", {{"class", QStringLiteral("muted")}});
        html.text(QStringLiteral("Every file below the Mail directories, %1 in all, with its SHA-256 and that of its "
                                 "copy stands in ")
                      .arg(display_number(data.manifest->files())));
        html.element("a", product_name(product::manifest), {{"href", manifest_link}});
        html.text(data.manifest->written.toString(QStringLiteral("', written 'yyyy-MM-dd hh:mm:ss' UTC.'")));
    }
    write_totals(html, data.manifest->totals);
    write_exceptions(html, *data.manifest, manifest_link);
}

void write_log_failures(report_html& html, const report_data& data)
{
    const auto section = html.open("section", {{"id", QStringLiteral("failures")}});
    html.element("h2", QStringLiteral("Failures in the log"));
    if (data.failures == 0) {
        html.element("p", data.failures_known ? QStringLiteral("None.") : QStringLiteral("Not known."),
                     {{"class", QStringLiteral("muted")}});
        return;
    }
    if (data.failure_lines.size() < data.failures) {
        html.element("p", QStringLiteral("The first %1 of %2 lines are shown; all stand in the log.")
                              .arg(display_number(data.failure_lines.size()), display_number(data.failures)));
    }
    const auto list = html.open("ul", {{"class", QStringLiteral("log mono")}});
    for (const QString& line : data.failure_lines) {
        const auto item = html.open("li");
        html.foreign(display_text(line));
    }
}
