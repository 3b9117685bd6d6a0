#include "host/case_collection/collected_report.h"

#include "host/case_collection/rows.h"
#include "host/files/durable_file.h"
#include "host/html/document_head.h"
#include "host/html/parts.h"
#include "host/html/style.h"
#include "host/report/account_table.h"
#include "host/result/result_paths.h"
#include "host/text/display_text.h"

#include <QDateTime>
#include <QSqlQuery>

namespace {

// What more there is stands in the table, which is named below it.
constexpr int most_values_across = 1000;

bool is_collected(const collected_case& collected, const overview_entry& entry)
{
    return has_result(entry.status.state) && !collected.problems.contains(entry.source.index);
}

void write_fact(report_html& html, const char* name, const QString& value)
{
    if (!value.isEmpty()) {
        html.element("dt", QLatin1String(name));
        const auto definition = html.open("dd");
        html.foreign(display_text(value));
    }
}

void write_tile(report_html& html, const char* label, const QString& figure, const char* kind = "")
{
    const auto tile = html.open("li", {{"class", QLatin1String(kind)}});
    html.element("span", QLatin1String(label), {{"class", QStringLiteral("label")}});
    html.element("span", figure, {{"class", QStringLiteral("figure")}});
}

void write_totals(report_html& html, const collected_case& collected, const collected_database& database)
{
    const case_overview& overview = collected.overview;
    qint64 taken = 0;
    for (const overview_entry& entry : overview.entries) {
        taken += is_collected(collected, entry) ? 1 : 0;
    }
    const auto list = html.open("ul", {{"class", QStringLiteral("tiles")}});
    write_tile(html, "Sources", display_number(overview.entries.size()));
    write_tile(html, "Collected", display_number(taken), "good");
    write_tile(html, "No mail", display_number(overview.count(source_state::no_mail)));
    const qint64 missing = overview.entries.size() - taken - overview.count(source_state::no_mail) -
                           overview.count(source_state::withdrawn);
    write_tile(html, "Missing or failed", display_number(missing), missing > 0 ? "bad" : "good");
    QSqlQuery accounts = database.query(QStringLiteral("SELECT count(*) FROM accounts"));
    write_tile(html, "Accounts", display_number(next_row(accounts) ? accounts.value(0).toLongLong() : 0));
    write_tile(html, "Files", display_number(overview.files));
    write_tile(html, "Size", display_bytes(overview.bytes));
}

void write_header(report_html& html, const collected_case& collected)
{
    const auto header = html.open("header");
    html.element("h1", QStringLiteral("Case of many sources"));
    html.element("p", QStringLiteral("What was extracted from each, and what is missing"),
                 {{"class", QStringLiteral("lead")}});
    const auto facts = html.open("dl", {{"class", QStringLiteral("facts")}});
    for (const case_field& field : case_fields) {
        write_fact(html, field.title, collected.data.about.*field.value);
    }
    write_fact(html, "Case directory", collected.paths.root());
    write_fact(html, "Collected", display_time(QDateTime::currentDateTimeUtc()));
}

void write_missing(report_html& html, const collected_case& collected, const QHash<int, misplaced_rows>& misplaced)
{
    const auto section = html.open("section", {{"id", QStringLiteral("missing")}});
    html.element("h2", QStringLiteral("Missing, failed and with failures"));
    bool is_any = false;
    for (const overview_entry& entry : collected.overview.entries) {
        const source_status& status = entry.status;
        if (const auto found = misplaced.constFind(entry.source.index); found != misplaced.constEnd()) {
            is_any = true;
            write_notice(html, found->lost > 0 ? "bad" : "warn",
                         label_of(entry.source) + QStringLiteral(": ") + display_text(found->text()));
        }
        const bool is_fine = status.state == source_state::whole || facts_of(status.state).kind == state_kind::done;
        if (is_fine && !collected.problems.contains(entry.source.index)) {
            continue;
        }
        is_any = true;
        const QString problem = collected.problems.value(entry.source.index, status.reason);
        const QString what =
            collected.problems.contains(entry.source.index) ? QStringLiteral("not collected") : name_of(status.state);
        const QString number = status.attempt.failures > 0
                                   ? QStringLiteral(" (%1)").arg(display_number(status.attempt.failures))
                                   : QString();
        write_notice(html, is_collected(collected, entry) ? "warn" : "bad",
                     label_of(entry.source) + QStringLiteral(", ") + display_text(entry.source.source) +
                         QStringLiteral(": ") + what + number +
                         (problem.isEmpty() ? QString() : QStringLiteral(": ") + display_text(problem)));
    }
    if (!is_any) {
        html.element("p", QStringLiteral("Nothing."));
    }
}

void write_source_row(report_html& html, const collected_case& collected, const overview_entry& entry)
{
    const attempt_record& record = entry.status.attempt;
    const bool is_taken = is_collected(collected, entry);
    const auto row = html.open("tr");
    html.element("td", entry.source.number(), {{"data-key", QString::number(entry.source.index)}});
    write_foreign_cell(html, entry.source.evidence_number);
    write_foreign_cell(html, entry.source.source);
    html.element("td", is_taken || !has_result(entry.status.state) ? name_of(entry.status.state)
                                                                   : QStringLiteral("not collected"));
    write_number(html, record.accounts, is_taken ? display_number(record.accounts) : QStringLiteral("-"));
    write_number(html, record.files, is_taken ? display_number(record.files) : QStringLiteral("-"));
    write_number(html, record.bytes, is_taken ? display_bytes(record.bytes) : QStringLiteral("-"));
    write_number(html, record.failures, is_taken ? display_number(record.failures) : QStringLiteral("-"));
    const auto cell = html.open("td");
    if (is_taken) {
        // The collected folder lies in the case directory.
        const QString report = entry.source.file(QStringLiteral("whole/") + relative_place(product::report));
        html.element("a", QStringLiteral("report"), {{"href", relative_link(collected.paths.collected(), report)}});
    }
}

void write_sources(report_html& html, const collected_case& collected)
{
    const auto section = html.open("section", {{"id", QStringLiteral("sources")}});
    html.element("h2", QStringLiteral("Sources"));
    const auto frame = html.open("div", {{"class", QStringLiteral("scroll")}});
    const auto table = html.open("table", {{"data-tool", QStringLiteral("yes")}});
    write_table_head(html, {{"Index"},
                            {"Evidence"},
                            {"Source"},
                            {"State"},
                            {"Accounts", true},
                            {"Files", true},
                            {"Size", true},
                            {"Failures", true},
                            {"Report"}});
    const auto body = html.open("tbody");
    for (const overview_entry& entry : collected.overview.entries) {
        write_source_row(html, collected, entry);
    }
}

void write_across(report_html& html, const collected_database& database)
{
    const auto section = html.open("section", {{"id", QStringLiteral("across")}});
    html.element("h2", QStringLiteral("Accounts on several sources"));
    QSqlQuery rows = database.query(
        QStringLiteral("SELECT kind, value, count(*), group_concat(source_index, ', ') FROM (SELECT * FROM "
                       "accounts_across_sources ORDER BY source_index) GROUP BY kind, value ORDER BY 3 DESC, 1, 2"));
    if (!next_row(rows)) {
        html.element("p", QStringLiteral("No address and no identifier is on more than one source."));
        return;
    }
    int shown = 0;
    bool is_more = false;
    {
        const auto frame = html.open("div", {{"class", QStringLiteral("scroll")}});
        const auto table = html.open("table", {{"data-tool", QStringLiteral("yes")}});
        write_table_head(html, {{"Address or identifier"}, {"Kind"}, {"Sources", true}, {"Their indexes"}});
        const auto body = html.open("tbody");
        for (bool is_row = true; is_row && !is_more; is_row = next_row(rows)) {
            is_more = shown++ == most_values_across;
            if (!is_more) {
                const auto row = html.open("tr");
                write_foreign_cell(html, rows.value(1).toString());
                html.element("td", rows.value(0).toString());
                write_number(html, rows.value(2).toLongLong(), display_number(rows.value(2).toLongLong()));
                html.element("td", rows.value(3).toString());
            }
        }
    }
    if (is_more) {
        html.element("p", QStringLiteral("Only the first %1 are shown; accounts_across_sources.csv has all of them.")
                              .arg(display_number(most_values_across)));
    }
}

} // namespace

void write_collected_report(const collected_case& collected, const collected_database& database,
                            const QString& directory)
{
    durable_file file(directory + QLatin1Char('/') + case_paths::collected_report_name());
    {
        report_html html(&file);
        html.doctype();
        const auto document = html.open("html", {{"lang", QStringLiteral("en")}});
        write_document_head(html, QStringLiteral("Case ") + display_text(collected.data.about.case_number));
        const auto body = html.open("body");
        write_header(html, collected);
        const auto main = html.open("main");
        write_totals(html, collected, database);
        for (const QString& warning : collected.warnings) {
            write_notice(html, "warn", display_text(warning));
        }
        write_missing(html, collected, database.misplaced());
        write_sources(html, collected);
        write_across(html, database);
        html.verbatim("script", report_script);
    }
    file.commit();
}
