#include "host/verify/verification_text.h"

#include "host/text/display_text.h"

namespace {

/// Names the first of many lines and counts the rest.
void append_named(QStringList& lines, const QStringList& named, qint64 count)
{
    lines += named;
    if (count > named.size()) {
        lines += QStringLiteral("... and %1 more").arg(display_number(count - named.size()));
    }
}

} // namespace

QStringList verification_complaints(const verification_result& result)
{
    QStringList lines;
    QStringList named;
    for (const manifest_entry& entry : result.failures) {
        named += QStringLiteral("%1: %2: %3")
                     .arg(manifest_text(entry.path), QLatin1String(entry_status_name(entry.status)),
                          manifest_text(entry.reason));
    }
    append_named(lines, named, result.failure_count);
    named.clear();
    for (const QByteArray& copy : result.surplus) {
        named += manifest_text(copy) + QStringLiteral(": lies among the copies and is none that counts");
    }
    append_named(lines, named, result.surplus_count);
    if (result.time_refused_count > 0) {
        lines += QStringLiteral("%1: %2 (so with %3 copies)")
                     .arg(manifest_text(result.time_refused.copy), manifest_text(result.time_refused.reason),
                          display_number(result.time_refused_count));
    }
    return lines;
}

QString verification_summary_text(const verification_summary& summary)
{
    QStringList parts;
    for (std::size_t i = 0; i < summary.totals.size(); ++i) {
        if (summary.totals[i] > 0) {
            parts +=
                QStringLiteral("%1 %2").arg(display_number(summary.totals[i]), QLatin1String(entry_status_names[i]));
        }
    }
    return QStringLiteral("verified %1 files (%2): %3")
        .arg(display_number(summary.files), display_bytes(summary.bytes),
             parts.isEmpty() ? QStringLiteral("nothing to copy") : parts.join(QStringLiteral(", ")));
}
