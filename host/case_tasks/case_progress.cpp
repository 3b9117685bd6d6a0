#include "host/case_tasks/case_progress.h"

#include "host/text/display_text.h"
#include "host/text/text_layout.h"

#include <cstdio>

namespace {

constexpr qint64 ms_between_bars = 500;
constexpr qint64 ms_between_lines = 10'000;
constexpr qsizetype most_labels = 4;

void write_to_standard_error(const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    static_cast<void>(std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stderr));
    static_cast<void>(std::fflush(stderr));
}

} // namespace

case_progress::case_progress(qsizetype sources, progress_style shown_as) : total(sources), style(shown_as)
{
    since_start.start();
    since_shown.start();
}

case_progress::~case_progress()
{
    remove_line_for_all();
}

void case_progress::begun(const QString& label)
{
    running.append(label);
}

void case_progress::ended(const QString& label, const QString& text)
{
    ++done;
    running.removeOne(label);
    if (total == 1) {
        // The command itself says it.
        return;
    }
    show(QStringLiteral("%1 of %2  %3: %4").arg(done).arg(total).arg(label, text));
}

void case_progress::update()
{
    if (style == progress_style::silent ||
        since_shown.elapsed() < (style == progress_style::bar ? ms_between_bars : ms_between_lines)) {
        return;
    }
    since_shown.start();
    if (style == progress_style::bar) {
        remove_line_for_all();
        write_to_standard_error(text_for_all());
    } else {
        show(text_for_all());
    }
}

QString case_progress::text_for_all() const
{
    QString text = QStringLiteral("%1 of %2 sources done").arg(done).arg(total);
    if (!running.isEmpty()) {
        text += QStringLiteral(", at work on %1").arg(running.mid(0, most_labels).join(QStringLiteral(", ")));
        text +=
            running.size() > most_labels ? QStringLiteral(" and %1 more").arg(running.size() - most_labels) : QString();
    }
    if (done > 0 && done < total) {
        const qint64 left_ms = since_start.elapsed() / done * (total - done);
        text += QStringLiteral(", %1 left").arg(duration_text(left_ms / 1000));
    }
    return text;
}

void case_progress::show(const QString& line)
{
    if (style != progress_style::silent) {
        remove_line_for_all();
        write_to_standard_error(display_text(line) + QLatin1Char('\n'));
    }
}

void case_progress::remove_line_for_all()
{
    if (style == progress_style::bar) {
        write_to_standard_error(QStringLiteral("\r\x1b[K"));
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
