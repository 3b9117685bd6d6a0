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
// Long enough that one large file does not make the time left jump, short enough to follow the disk.
constexpr qint64 rate_base_ms = 15'000;
constexpr qint64 moment_interval_ms = 500;
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
    moments.append(moment());
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
    keep_moment();
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

void progress::keep_moment()
{
    const qint64 now = since_start.elapsed();
    if (now - moments.last().ms < moment_interval_ms) {
        return;
    }
    moments.append({now, done});
    while (moments.size() > 2 && now - moments.at(1).ms >= rate_base_ms) {
        moments.removeFirst();
    }
}

double progress::share_of(const file_amount& part) const
{
    // Bytes tell the time better than files, unless there are none.
    const bool by_bytes = total.bytes > 0;
    const double whole = static_cast<double>(by_bytes ? total.bytes : total.files);
    return whole > 0 ? std::clamp(static_cast<double>(by_bytes ? part.bytes : part.files) / whole, 0.0, 1.0) : 0.0;
}

double progress::per_second(qint64 amount) const
{
    const qint64 base_ms = std::max<qint64>(since_start.elapsed() - moments.first().ms, 1);
    return static_cast<double>(amount) * 1000 / static_cast<double>(base_ms);
}

/// Returns what is still to come at the rate of the last seconds, with a comma before it; nothing when nothing moves.
QString progress::time_left() const
{
    const qint64 base_ms = since_start.elapsed() - moments.first().ms;
    const double lately = share_of(done) - share_of(moments.first().done);
    if (base_ms < shortest_forecast_base_ms || lately <= 0) {
        return {};
    }
    const double left_ms = static_cast<double>(base_ms) * (1 - share_of(done)) / lately;
    return QStringLiteral(", %1 left").arg(duration_text(static_cast<qint64>(left_ms / 1000)));
}

QString progress::status_text(int columns) const
{
    const bool total_known = total.files > 0;
    const auto of_total = [total_known](const QString& part, const QString& whole) {
        return total_known ? part + QStringLiteral(" of ") + whole : part;
    };
    const QString files = display_number(done.files);
    const QString files_of_total = of_total(files, display_number(total.files));
    const auto text_with = [&](const QString& file_count) {
        if (total.bytes == 0 && done.bytes == 0) {
            const auto rate = static_cast<qint64>(per_second(done.files - moments.first().done.files));
            return QStringLiteral("%1 files, %2/s").arg(file_count, display_number(rate));
        }
        const auto rate = static_cast<qint64>(per_second(done.bytes - moments.first().done.bytes));
        const QString bytes = of_total(display_bytes(done.bytes), display_bytes(total.bytes));
        return QStringLiteral("%1, %2 files, %3/s").arg(bytes, file_count, display_bytes(rate));
    };
    const QString text = text_with(files_of_total);
    if (!total_known) {
        return label + QStringLiteral(": ") + text;
    }
    const double share = share_of(done);
    const QString left = time_left();
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
