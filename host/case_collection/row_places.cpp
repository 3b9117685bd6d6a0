#include "host/case_collection/row_places.h"

#include "host/case_collection/rows.h"
#include "host/result/row_folders.h"
#include "host/text/display_text.h"

#include <QStringList>

misplaced_rows find_misplaced_rows(const result_paths& result, QSqlQuery rows,
                                   const std::function<void(const misplaced_row&)>& take)
{
    const row_folders folders(result);
    misplaced_rows found;
    while (next_row(rows)) {
        misplaced_row row{rows.value(0), rows.value(1).toString(), rows.value(2).toString(), {}, false};
        row.place = folders.place_of(row.named, row.user).value_or(QString());
        // For an account without a file no folder was made.
        row.is_lost = row.place.isEmpty() && rows.value(3).toLongLong() > 0;
        if (row.is_lost && found.lost++ == 0) {
            found.first_lost = row.named;
        } else if (!row.place.isEmpty() && row.place != row.named && found.moved++ == 0) {
            found.first_moved = QStringLiteral("%1, which is %2").arg(row.named, row.place);
        }
        if (row.is_lost || (!row.place.isEmpty() && row.place != row.named)) {
            take(row);
        }
    }
    return found;
}

QString misplaced_rows::text() const
{
    QStringList parts;
    if (lost > 0) {
        parts.append(QStringLiteral("%1 accounts name a folder that is not in the result, the first of them %2")
                         .arg(display_number(lost), first_lost));
    }
    if (moved > 0) {
        parts.append(QStringLiteral("%1 accounts name a folder of another day than the one that holds their copies, "
                                    "the first of them %2")
                         .arg(display_number(moved), first_moved));
    }
    return parts.join(QStringLiteral("; "));
}
