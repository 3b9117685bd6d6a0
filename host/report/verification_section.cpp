#include "host/report/verification_section.h"

#include "host/html/parts.h"
#include "host/report/account_table.h"
#include "host/text/display_text.h"

#include <QHash>

#include <map>
#include <utility>

namespace {

constexpr qsizetype fewest_to_fold = 4;

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

/// A line of the log without the time in brackets that it begins with.
QString without_time(const QString& line)
{
    return line.startsWith(QLatin1Char('[')) ? line.mid(line.indexOf(QLatin1Char(']')) + 1) : line;
}

QString status_class(std::size_t status)
{
    return QStringLiteral("status ") + QLatin1String(entry_status_names[status]);
}

void write_totals(report_html& html, const std::array<qint64, entry_status_names.size()>& totals)
{
    const auto frame = html.open("div", {{"class", QStringLiteral("scroll")}});
    const auto table = html.open("table", {{"class", QStringLiteral("whole")}});
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

void write_exception_table(report_html& html, const QList<manifest_entry>& entries)
{
    const auto frame = html.open("div", {{"class", QStringLiteral("scroll")}});
    const auto table = html.open("table", {{"data-tool", QStringLiteral("yes")}});
    write_table_head(html, {{"Status"}, {"File, below the source"}, {"Size", true}, {"Reason"}});
    const auto body = html.open("tbody");
    for (const manifest_entry& entry : entries) {
        write_exception(html, entry);
    }
}

struct folded_exceptions
{
    QList<manifest_entry> single;       ///< in their order
    QList<QList<manifest_entry>> equal; ///< of one status and reason each, in the order of the first
};

/// Puts those together of which there are more than a few with the same status and reason.
folded_exceptions folded(const QList<manifest_entry>& entries)
{
    std::map<std::pair<entry_status, QByteArray>, qsizetype> counts;
    for (const manifest_entry& entry : entries) {
        ++counts[{entry.status, entry.reason}];
    }
    std::map<std::pair<entry_status, QByteArray>, qsizetype> places;
    folded_exceptions found;
    for (const manifest_entry& entry : entries) {
        const std::pair<entry_status, QByteArray> key{entry.status, entry.reason};
        if (counts[key] < fewest_to_fold) {
            found.single.append(entry);
            continue;
        }
        const auto place = places.find(key);
        if (place == places.end()) {
            places.emplace(key, found.equal.size());
            found.equal.append(QList<manifest_entry>{entry});
        } else {
            found.equal[place->second].append(entry);
        }
    }
    return found;
}

void write_exceptions(report_html& html, const report_manifest& manifest, const QString& manifest_link)
{
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
    const auto findings = html.open("div", {{"data-filter", QStringLiteral("yes")}});
    const auto [single, equal] = folded(manifest.exceptions);
    if (!single.isEmpty()) {
        write_exception_table(html, single);
    }
    for (const QList<manifest_entry>& group : equal) {
        const auto part = html.open("details", {{"class", QStringLiteral("findings")}});
        {
            const auto line = html.open("summary");
            html.element("span", QLatin1String(entry_status_name(group[0].status)),
                         {{"class", status_class(static_cast<std::size_t>(group[0].status))}});
            html.text(QStringLiteral(": %1 files shown").arg(display_number(group.size())));
            if (!group[0].reason.isEmpty()) {
                html.text(QStringLiteral(", "));
                html.foreign(display_text(group[0].reason));
            }
        }
        write_exception_table(html, group);
    }
}

} // namespace

void write_verification(report_html& html, const report_data& data, const QString& directory)
{
    const auto section = html.open("section", {{"id", QStringLiteral("verification")}});
    html.element("h2", QStringLiteral("What became of every file"));
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
}

void write_manifest_exceptions(report_html& html, const report_data& data, const QString& directory)
{
    if (!data.manifest) {
        return;
    }
    const auto section = html.open("section", {{"id", QStringLiteral("exceptions")}});
    html.element("h2", QStringLiteral("Files that are neither copied nor kept"));
    write_exceptions(html, *data.manifest, relative_link(directory, data.result.path(product::manifest)));
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
    // Lines that say the same at another time are one, with the first time.
    QStringList different;
    QHash<QString, qint64> counts;
    for (const QString& line : data.failure_lines) {
        if (++counts[without_time(line)] == 1) {
            different.append(line);
        }
    }
    const auto list = html.open("ul", {{"class", QStringLiteral("log mono")}});
    for (const QString& line : different) {
        const auto item = html.open("li");
        if (const qint64 count = counts.value(without_time(line)); count > 1) {
            html.element("strong", QStringLiteral("%1 times: ").arg(display_number(count)));
        }
        html.foreign(display_text(line));
    }
}
