#include "host/completeness/store_sums.h"

#include "host/text/display_text.h"

QStringList sums_that_do_not_close(const store_completeness& store, const counted_apart& counted)
{
    QStringList lines;
    const auto require = [&lines](bool holds, const QString& what) {
        if (!holds) {
            lines.append(what);
        }
    };
    for (const mailbox_line& line : store.mailboxes) {
        require(line.figures.closes(), QStringLiteral("the classes of %1, %2 do not add up")
                                           .arg(display_text(line.account), display_text(line.mailbox)));
    }
    const auto require_same = [&require](const char* what, qint64 sum, qint64 other) {
        require(sum == other,
                QStringLiteral("%1: %2 in the mailboxes, %3 counted").arg(QLatin1String(what)).arg(sum).arg(other));
    };
    require_same("messages on disk", store.totals.on_disk + store.pairs, counted.files);
    require_same("messages in the index", store.totals.indexed, store.index.rows);
    require_same("messages in the index alone", store.totals.index_only, counted.told_index_only);
    require(!counted.has_index || store.index.rows_stated == store.index.rows,
            QStringLiteral("the index counts %1 messages, %2 could be read")
                .arg(store.index.rows_stated ? QString::number(*store.index.rows_stated)
                                             : QStringLiteral("no known number of"))
                .arg(store.index.rows));
    return lines;
}
