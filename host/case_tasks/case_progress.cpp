#include "host/case_tasks/case_progress.h"

#include "host/terminal/screen.h"
#include "host/text/display_text.h"
#include "host/text/text_layout.h"

#include <algorithm>
#include <cstdio>

namespace {

constexpr qint64 ms_between_bars = 500;
constexpr qint64 ms_between_lines = 10'000;
constexpr qsizetype most_shown = 8; // sources at work, a line each

void write_to_standard_error(const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    static_cast<void>(std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stderr));
    static_cast<void>(std::fflush(stderr));
}

} // namespace

case_progress::case_progress(qsizetype sources, progress_style shown_as) : total(sources), style(shown_as)
{
    since_shown.start();
}

case_progress::~case_progress()
{
    remove_drawn();
}

void case_progress::ended(const QString& label, const QString& text, qint64 took_ms)
{
    ++done;
    milliseconds += took_ms;
    if (total == 1) {
        // The command itself says it.
        remove_drawn();
        return;
    }
    show(QStringLiteral("%1 of %2  %3: %4").arg(done).arg(total).arg(label, text));
}

void case_progress::update(const std::function<QList<source_at_work>()>& at_work)
{
    if (style == progress_style::silent ||
        since_shown.elapsed() < (style == progress_style::bar ? ms_between_bars : ms_between_lines)) {
        return;
    }
    since_shown.start();
    const QList<source_at_work> sources = at_work();
    QStringList lines;
    for (const source_at_work& source : sources.mid(0, most_shown)) {
        lines.append(QStringLiteral("%1: %2").arg(source.label, source.progress.isEmpty() ? QStringLiteral("at work")
                                                                                          : source.progress));
    }
    if (sources.size() > most_shown) {
        lines.append(QStringLiteral("and %1 more at work").arg(sources.size() - most_shown));
    }
    lines.append(text_for_all(sources));
    if (style == progress_style::bar) {
        draw(lines);
    } else {
        std::for_each(lines.begin(), lines.end(), [this](const QString& line) { show(line); });
    }
}

QString case_progress::text_for_all(const QList<source_at_work>& at_work) const
{
    QString text = QStringLiteral("%1 of %2 sources done").arg(done).arg(total);
    if (done == 0 || at_work.isEmpty()) {
        return text;
    }
    // Each of those that are left takes as long as those that are done did, and as many are at work at a time as now.
    const qint64 mean_ms = milliseconds / done;
    qint64 left_ms = mean_ms * (total - done - at_work.size());
    for (const source_at_work& source : at_work) {
        left_ms += std::max<qint64>(mean_ms - source.milliseconds, 0);
    }
    return left_ms > 0 ? text + QStringLiteral(", %1 left").arg(duration_text(left_ms / at_work.size() / 1000)) : text;
}

void case_progress::show(const QString& line)
{
    if (style != progress_style::silent) {
        remove_drawn();
        write_to_standard_error(display_text(line) + QLatin1Char('\n'));
    }
}

void case_progress::draw(const QStringList& lines)
{
    remove_drawn();
    // A line that the terminal breaks would not go again.
    const qsizetype width = std::max<qsizetype>(message_columns(page_width) - 1, 1);
    for (const QString& line : lines) {
        write_to_standard_error(shortened_in_middle(display_text(line), width) + QLatin1Char('\n'));
    }
    drawn = lines.size();
}

void case_progress::remove_drawn()
{
    if (drawn > 0) {
        write_to_standard_error(QStringLiteral("\x1b[%1A\r\x1b[J").arg(drawn));
        drawn = 0;
    }
}

QString outcome_text(const task_outcome& outcome)
{
    const attempt_record& record = outcome.record;
    QString text = name_of(record.state);
    if (outcome.was_done) {
        text += QStringLiteral(", already done");
    }
    if (!record.reason.isEmpty()) {
        return text + QStringLiteral(": ") + record.reason;
    }
    if (has_result(record.state)) {
        text += QStringLiteral(", %1 files (%2), %3 accounts, %4")
                    .arg(display_number(record.files), display_bytes(record.bytes), display_number(record.accounts),
                         duration_text(record.milliseconds / 1000));
    }
    return text;
}
