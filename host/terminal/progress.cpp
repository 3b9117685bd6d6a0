#include "host/terminal/progress.h"

#include "host/terminal/screen.h"
#include "host/text/display_text.h"
#include "host/text/text_layout.h"

#include <algorithm>
#include <cstdio>

#include <unistd.h>

namespace {

constexpr qint64 bar_interval_ms = 100;
constexpr qint64 line_interval_ms = 10'000;
// A forecast from the first moments only makes people laugh.
constexpr qint64 shortest_forecast_base_ms = 2'000;
constexpr int widest_bar = 24;
constexpr int narrowest_bar = 5;

void write_to_standard_error(const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stderr);
    std::fflush(stderr);
}

} // namespace

progress_style progress_style_for(bool quiet)
{
    if (quiet) {
        return progress_style::silent;
    }
    return isatty(STDERR_FILENO) != 0 ? progress_style::bar : progress_style::lines;
}

progress::progress(QString label_text, file_amount total_amount, progress_style shown_as)
    : label(std::move(label_text))
    , total(total_amount)
    , style(shown_as)
{
    since_start.start();
    since_shown.start();
}

progress::~progress()
{
    finish();
}

void progress::update(file_amount done_so_far)
{
    done = done_so_far;
    if (style == progress_style::silent) {
        return;
    }
    const bool as_bar = style == progress_style::bar;
    if (since_shown.elapsed() < (as_bar ? bar_interval_ms : line_interval_ms)) {
        return;
    }
    since_shown.restart();
    const QString text = status_text(as_bar ? static_cast<int>(message_columns(80)) - 1 : 0);
    write_to_standard_error(as_bar ? QLatin1Char('\r') + text + QStringLiteral("\x1b[K") : text + QLatin1Char('\n'));
}

void progress::finish()
{
    if (style == progress_style::bar) {
        write_to_standard_error(QStringLiteral("\r\x1b[K"));
    }
    style = progress_style::silent;
}

double progress::share_done() const
{
    // Bytes tell the time better than files, unless there are none.
    const double whole = static_cast<double>(total.bytes > 0 ? total.bytes : total.files);
    const double part = static_cast<double>(total.bytes > 0 ? done.bytes : done.files);
    return whole > 0 ? std::clamp(part / whole, 0.0, 1.0) : 0.0;
}

QString progress::status_text(int columns) const
{
    const qint64 elapsed_ms = std::max<qint64>(since_start.elapsed(), 1);
    const auto rate = static_cast<qint64>(static_cast<double>(done.bytes) * 1000 / static_cast<double>(elapsed_ms));
    const bool total_known = total.files > 0;
    const auto of_total = [total_known](const QString& part, const QString& whole) {
        return total_known ? part + QStringLiteral(" of ") + whole : part;
    };
    const QString bytes = of_total(display_bytes(done.bytes), display_bytes(total.bytes));
    const QString files = display_number(done.files);
    const auto text_with = [&](const QString& file_count) {
        return QStringLiteral("%1, %2 files, %3/s").arg(bytes, file_count, display_bytes(rate));
    };
    const QString text = text_with(of_total(files, display_number(total.files)));
    if (!total_known) {
        return label + QStringLiteral(": ") + text;
    }
    const double share = share_done();
    QString left;
    if (share > 0 && elapsed_ms >= shortest_forecast_base_ms) {
        const double left_ms = static_cast<double>(elapsed_ms) * (1 - share) / share;
        left = QStringLiteral(", %1 left").arg(duration_text(static_cast<qint64>(left_ms / 1000)));
    }
    const QString percent = QString::number(static_cast<int>(share * 100)) + QLatin1Char('%');
    const auto room_for_bar = [&](const QString& beside) {
        return std::min(widest_bar, columns - static_cast<int>(label.size() + percent.size() + beside.size()) - 5);
    };
    QString beside = text + left;
    if (room_for_bar(beside) < narrowest_bar) {
        // The share says it already.
        beside = text_with(files) + left;
    }
    const int bar_width = room_for_bar(beside);
    if (bar_width < narrowest_bar) {
        return QStringLiteral("%1 %2 %3").arg(label, percent, text + left).left(columns > 0 ? columns : -1);
    }
    const int filled = static_cast<int>(share * bar_width);
    return QStringLiteral("%1 [%2%3] %4 %5")
        .arg(label, QString(filled, QLatin1Char('#')), QString(bar_width - filled, QLatin1Char('.')), percent, beside);
}
