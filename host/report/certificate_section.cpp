#include "host/report/certificate_section.h"

#include "host/html/parts.h"
#include "host/report/account_table.h"
#include "host/result/result_paths.h"
#include "host/text/display_text.h"
#include "host/text/failure.h"

#include <map>

namespace {

// Longer lists stand in the database; the certificate stays a page.
constexpr qsizetype most_accounts = 25;
constexpr qsizetype most_remarks = 15;

/// Figures that tell of something absent, with what each means.
struct absent_figure
{
    qint64 completeness_figures::*value;
    const char* meaning;
};
constexpr std::array absent_figures{
    absent_figure{&completeness_figures::index_only,
                  "messages that Mail's index lists and that are not kept on this Mac: sender, subject and dates are "
                  "known, the content is not"},
    absent_figure{&completeness_figures::attachments_absent,
                  "attachments that messages name and that are neither in them nor beside them"},
    absent_figure{&completeness_figures::unreadable, "message files that are not readable as a message"},
};

/// What no comparison can tell, whatever its figures.
constexpr std::array unknowable{
    "Messages that were removed from files and index alike leave no trace in either.",
    "Why a message is in one place only: loaded on demand, moved, restored or removed by hand look alike.",
    "Whether the server holds more. The index tells of the server's messages as of its last contact.",
    "The bytes as they were sent: Mail stores messages with line ends of its own, and their sizes are the server's.",
};

/// Sums by account over mailboxes that are no labels, in the order of stores.
std::map<std::pair<qsizetype, QString>, completeness_figures> by_account(const completeness_certificate& certificate)
{
    std::map<std::pair<qsizetype, QString>, completeness_figures> sums;
    for (qsizetype store = 0; store < certificate.stores.size(); ++store) {
        for (const mailbox_certificate& mailbox : certificate.stores[store].mailboxes) {
            if (!mailbox.is_label) {
                sums[{store, mailbox.account}] += mailbox.figures;
            }
        }
    }
    return sums;
}

void write_list(report_html& html, const QStringList& lines)
{
    const auto list = html.open("ul");
    for (const QString& line : lines) {
        const auto item = html.open("li");
        html.foreign(display_text(line));
    }
}

void write_copied(report_html& html, const report_data& data, const completeness_certificate& certificate)
{
    html.element("h3", QStringLiteral("What was copied"));
    QStringList lines;
    if (data.manifest) {
        lines.append(QStringLiteral("%1 of %2 files below the Mail directories, each copy proven by its SHA-256.")
                         .arg(display_number(data.manifest->count(entry_status::copied)),
                              display_number(data.manifest->files())));
    } else {
        lines.append(QStringLiteral("There is no manifest of this result, so no file is proven to be copied."));
    }
    const completeness_figures& totals = certificate.totals;
    lines.append(QStringLiteral("%1 messages are on the source: %2 of them stand in Mail's index as well, %3 are no "
                                "longer shown by Mail, %4 are not readable as a message.")
                     .arg(display_number(totals.on_disk), display_number(totals.both), display_number(totals.disk_only),
                          display_number(totals.unreadable)));
    lines.append(QStringLiteral("The index lists %1 messages, %2 of them marked deleted.")
                     .arg(display_number(totals.indexed), display_number(totals.deleted)));
    write_list(html, lines);
}

void write_accounts(report_html& html, const completeness_certificate& certificate)
{
    const auto sums = by_account(certificate);
    const auto filtered = html.open("div", {{"data-filter", QStringLiteral("yes")}});
    const auto frame = html.open("div", {{"class", QStringLiteral("scroll")}});
    const auto table =
        html.open("table", {{"class", QStringLiteral("completeness")}, {"data-tool", QStringLiteral("yes")}});
    write_table_head(html, {{"User"},
                            {"Mail"},
                            {"Account"},
                            {"On disk", true},
                            {"In the index", true},
                            {"Both", true},
                            {"Disk only", true, "no longer shown by Mail"},
                            {"Index only", true, "not kept on this Mac"},
                            {"Unreadable", true},
                            {"Attachments absent", true}});
    const auto body = html.open("tbody");
    qsizetype shown = 0;
    for (const auto& [key, figures] : sums) {
        if (++shown > most_accounts) {
            break;
        }
        const store_certificate& store = certificate.stores[key.first];
        const auto row = html.open("tr");
        for (const QString& text : {store.user, store.mail_version, key.second}) {
            write_foreign_cell(html, text);
        }
        for (const auto member :
             {&completeness_figures::on_disk, &completeness_figures::indexed, &completeness_figures::both,
              &completeness_figures::disk_only, &completeness_figures::index_only, &completeness_figures::unreadable,
              &completeness_figures::attachments_absent}) {
            write_number(html, figures.*member, display_number(figures.*member));
        }
    }
    if (qsizetype(sums.size()) > most_accounts) {
        const auto row = html.open("tr");
        html.element("td",
                     QStringLiteral("and %1 accounts more").arg(display_number(qint64(sums.size()) - most_accounts)),
                     {{"colspan", QStringLiteral("10")}});
    }
}

void write_absent(report_html& html, const completeness_certificate& certificate, const QString& index_only_link,
                  const QString& disk_only_link)
{
    html.element("h3", QStringLiteral("What is absent"));
    QStringList lines;
    for (const auto& [value, meaning] : absent_figures) {
        lines.append(display_number(certificate.totals.*value) + QLatin1Char(' ') + QLatin1String(meaning));
    }
    write_list(html, lines);
    const auto line = html.open("p", {{"class", QStringLiteral("muted")}});
    html.text(QStringLiteral("Each message that the index alone has stands in "));
    html.element("a", product_name(product::index_only_list), {{"href", index_only_link}});
    html.text(QStringLiteral(", each file that it has not in "));
    html.element("a", product_name(product::disk_only_list), {{"href", disk_only_link}});
    html.text(QStringLiteral(", every mailbox in %1.").arg(product_name(product::mail_database)));
}

void write_unknown(report_html& html, const completeness_certificate& certificate)
{
    html.element("h3", QStringLiteral("What cannot be known"));
    const QStringList remarks = completeness_remarks(certificate);
    QStringList lines = remarks.mid(0, most_remarks);
    if (remarks.size() > most_remarks) {
        lines.append(QStringLiteral("%1 more remarks stand in %2.")
                         .arg(display_number(remarks.size() - most_remarks), product_name(product::mail_database)));
    }
    for (const char* text : unknowable) {
        lines.append(QLatin1String(text));
    }
    write_list(html, lines);
}

} // namespace

report_certificate load_certificate(const result_paths& result)
{
    try {
        return {read_completeness(result), {}};
    } catch (const failure& unread) {
        return {std::nullopt, unread.message()};
    }
}

void write_certificate(report_html& html, const report_data& data, const report_certificate& certificate,
                       const QString& directory)
{
    const auto section = html.open("section", {{"id", QStringLiteral("certificate")}});
    html.element("h2", QStringLiteral("Completeness"));
    if (!certificate.found) {
        const auto line = html.open("p");
        html.foreign(QStringLiteral("Files and index were not compared: ") + display_text(certificate.problem));
        return;
    }
    write_notice(html, certificate.found->closes ? "good" : "bad",
                 certificate.found->closes
                     ? QStringLiteral("Every message is counted once, and every sum closes.")
                     : QStringLiteral("The sums do not close: the figures below are not to be relied on."));
    write_copied(html, data, *certificate.found);
    write_accounts(html, *certificate.found);
    write_absent(html, *certificate.found, relative_link(directory, data.result.path(product::index_only_list)),
                 relative_link(directory, data.result.path(product::disk_only_list)));
    write_unknown(html, *certificate.found);
}
