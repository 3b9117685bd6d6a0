#include "host/report/chart.h"

#include "host/text/display_text.h"
#include "host/text/text_layout.h"

#include <algorithm>

namespace {

// Units of the picture's own coordinates.
constexpr qint64 picture_width = 1000;
constexpr qint64 row_height = 26;
constexpr qint64 bar_height = 14;
constexpr qint64 top = 30;
constexpr qint64 bar_width = 230;
constexpr qsizetype longest_label = 40;
constexpr qsizetype most_rows = 80;

/// One of the two figures that every row shows side by side.
struct panel
{
    const char* style_class;
    const char* title;
    qint64 left;
    qint64 file_amount::*figure;
};

constexpr std::array<panel, 2> panels = {{{"files", "Share of all files", 340, &file_amount::files},
                                          {"bytes", "Share of all bytes", 680, &file_amount::bytes}}};

struct chart_row
{
    QString label;
    report_amount amount;
    bool is_user = false;
};

QString account_label(const report_account& account)
{
    const QString name = account.account.isEmpty() ? QStringLiteral("(no name)") : account.account;
    const QString version = below_dated_folder(account.folder).section(QLatin1Char('/'), 0, 0);
    return version.isEmpty() ? name : name + QStringLiteral(" · ") + version;
}

QList<chart_row> chart_rows(const QList<report_user>& users)
{
    QList<chart_row> rows;
    for (const report_user& user : users) {
        rows.append({user.name, user.mail_tree, true});
        for (const report_account& account : user.accounts) {
            rows.append({account_label(account), account.amount, false});
        }
    }
    return rows;
}

void write_text(report_html& html, const char* style_class, qint64 x, qint64 y, const QString& content)
{
    html.element("text", content,
                 {{"class", QString::fromLatin1(style_class)}, {"x", QString::number(x)}, {"y", QString::number(y)}});
}

void write_bar(report_html& html, const panel& side, const chart_row& row, qint64 y, qint64 whole)
{
    const qint64 value = row.amount.*side.figure;
    const auto share = whole > 0 ? static_cast<double>(value) / static_cast<double>(whole) : 0.0;
    // Whatever is there at all is visible.
    const double width = value > 0 ? std::max(1.5, share * bar_width) : 0.0;
    const QString style = QString::fromLatin1(side.style_class) + (row.is_user ? QStringLiteral(" total") : QString());
    html.empty("rect", {{"class", style},
                        {"x", QString::number(side.left)},
                        {"y", QString::number(y - bar_height + 2)},
                        {"width", QString::number(width, 'f', 1)},
                        {"height", QString::number(bar_height)},
                        {"rx", QStringLiteral("2")}});
    write_text(html, "value", side.left + static_cast<qint64>(width) + 8, y,
               QString::number(share * 100.0, 'f', 1) + QStringLiteral(" %"));
}

void write_row(report_html& html, const chart_row& row, qint64 y, const std::array<qint64, panels.size()>& whole)
{
    const auto group = html.open("g");
    const QString label = display_text(row.label);
    html.element("title", label);
    write_text(html, row.is_user ? "user" : "account", row.is_user ? 0 : 16, y,
               shortened_in_middle(label, longest_label));
    for (std::size_t i = 0; i < panels.size(); ++i) {
        write_bar(html, panels[i], row, y, whole[i]);
    }
}

} // namespace

void write_report_chart(report_html& html, const QList<report_user>& users)
{
    const QList<chart_row> all = chart_rows(users);
    const QList<chart_row> rows = all.first(std::min(all.size(), most_rows));
    std::array<qint64, panels.size()> whole{};
    for (const report_user& user : users) {
        for (std::size_t i = 0; i < panels.size(); ++i) {
            whole[i] += user.mail_tree.*panels[i].figure;
        }
    }
    const qint64 height = top + row_height * rows.size();
    {
        const auto frame = html.open("div", {{"class", QStringLiteral("scroll")}});
        const auto picture =
            html.open("svg", {{"class", QStringLiteral("picture")},
                              {"role", QStringLiteral("img")},
                              {"viewBox", QStringLiteral("0 0 %1 %2").arg(picture_width).arg(height)}});
        html.element("title", QStringLiteral("Shares of users and accounts"));
        for (const panel& side : panels) {
            write_text(html, "head", side.left, 12, QString::fromLatin1(side.title));
            html.empty("line", {{"class", QStringLiteral("rule")},
                                {"x1", QString::number(side.left)},
                                {"x2", QString::number(side.left)},
                                {"y1", QStringLiteral("20")},
                                {"y2", QString::number(height)}});
        }
        for (qsizetype i = 0; i < rows.size(); ++i) {
            write_row(html, rows[i], top + row_height * i + 16, whole);
        }
    }
    if (all.size() > rows.size()) {
        html.element("p",
                     QStringLiteral("The first %1 of %2 rows are drawn; the table above has all figures.")
                         .arg(display_number(rows.size()), display_number(all.size())),
                     {{"class", QStringLiteral("muted")}});
    }
}
