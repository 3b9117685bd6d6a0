#include "host/report/chart.h"

#include "host/text/display_text.h"
#include "host/text/text_layout.h"

#include <QMap>

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

// Units of the picture's own coordinates.
constexpr qint64 picture_width = 1000;
constexpr qint64 row_height = 26;
constexpr qint64 top = 30;
constexpr qint64 label_width = 250;
constexpr qint64 widest_column = 90;
constexpr qsizetype longest_label = 32;
constexpr qsizetype most_rows = 80;
constexpr int most_years = 14;

/// The columns: years, of which what lies before the first shares one.
struct year_range
{
    int first = 0; ///< stands for all earlier ones, too
    int last = 0;
    bool has_earlier = false;

    int count() const { return last - first + 1; }
    int column_of(int year) const { return std::clamp(year, first, last) - first; }
};

QMap<int, qint64> years_of_all(const QList<report_user>& users)
{
    QMap<int, qint64> years;
    for (const report_user& user : users) {
        for (auto year = user.files_by_year.begin(); year != user.files_by_year.end(); ++year) {
            years[year.key()] += year.value();
        }
    }
    return years;
}

year_range range_of(const QMap<int, qint64>& years)
{
    const int last = years.lastKey();
    const int first = std::max(years.firstKey(), last - most_years + 1);
    return {first, last, years.firstKey() < first};
}

QList<qint64> columns_of(const QMap<int, qint64>& years, const year_range& range)
{
    QList<qint64> columns(range.count(), 0);
    for (auto year = years.begin(); year != years.end(); ++year) {
        columns[range.column_of(year.key())] += year.value();
    }
    return columns;
}

void write_text(report_html& html, const char* style_class, qint64 x, qint64 y, const QString& content)
{
    html.element("text", content,
                 {{"class", QString::fromLatin1(style_class)}, {"x", QString::number(x)}, {"y", QString::number(y)}});
}

/// The more files, the darker; each step takes ten times as many, so that few beside very many are seen.
QString darkness(qint64 files, qint64 most)
{
    const double share = std::log(1.0 + static_cast<double>(files)) / std::log(1.0 + static_cast<double>(most));
    return QString::number(0.12 + 0.88 * share, 'f', 2);
}

void write_row(report_html& html, const QString& name, const QList<qint64>& columns, qint64 y, qint64 most,
               qint64 column_width)
{
    const auto group = html.open("g");
    const QString label = display_text(name);
    write_text(html, "user", 0, y, shortened_in_middle(label, longest_label));
    for (qsizetype column = 0; column < columns.size(); ++column) {
        if (columns[column] == 0) {
            continue;
        }
        const qint64 x = label_width + column * column_width;
        html.empty("rect", {{"class", QStringLiteral("files")},
                            {"x", QString::number(x)},
                            {"y", QString::number(y - 16)},
                            {"width", QString::number(column_width - 3)},
                            {"height", QStringLiteral("5")},
                            {"opacity", darkness(columns[column], most)}});
        write_text(html, "value", x, y + 2, display_number(columns[column]));
    }
}

} // namespace

void write_report_chart(report_html& html, const QList<report_user>& users)
{
    const QMap<int, qint64> all = years_of_all(users);
    if (all.isEmpty()) {
        html.element("p", QStringLiteral("Not known: there is no manifest with times."));
        return;
    }
    const year_range range = range_of(all);
    const QList<report_user> rows = users.first(std::min(users.size(), most_rows));
    const qint64 column_width = std::min(widest_column, (picture_width - label_width) / range.count());
    qint64 most = 1;
    for (const report_user& user : rows) {
        const QList<qint64> columns = columns_of(user.files_by_year, range);
        most = std::max(most, *std::max_element(columns.begin(), columns.end()));
    }
    const auto frame = html.open("div", {{"class", QStringLiteral("scroll")}});
    {
        const qint64 height = top + row_height * rows.size();
        const auto picture =
            html.open("svg", {{"class", QStringLiteral("picture")},
                              {"role", QStringLiteral("img")},
                              {"viewBox", QStringLiteral("0 0 %1 %2").arg(picture_width).arg(height)}});
        html.element("title", QStringLiteral("Files by the year of their last change"));
        for (int year = range.first; year <= range.last; ++year) {
            const bool is_more = year == range.first && range.has_earlier;
            write_text(html, "head", label_width + (year - range.first) * column_width, 12,
                       is_more ? QStringLiteral("≤%1").arg(year) : QString::number(year));
        }
        for (qsizetype i = 0; i < rows.size(); ++i) {
            write_row(html, rows[i].name, columns_of(rows[i].files_by_year, range), top + row_height * i + 16, most,
                      column_width);
        }
    }
    if (users.size() > rows.size()) {
        html.element(
            "p",
            QStringLiteral("The first %1 of %2 users are drawn; %3 has the time of every file.")
                .arg(display_number(rows.size()), display_number(users.size()), product_name(product::manifest)),
            {{"class", QStringLiteral("muted")}});
    }
}
