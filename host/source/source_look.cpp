#include "host/source/source_look.h"

#include "host/files/file_tree.h"
#include "host/files/quiet_reading.h"
#include "host/text/display_text.h"

#include <cerrno>

QString blocked_look::text() const
{
    return QStringLiteral("%1: %2").arg(path.isEmpty() ? QStringLiteral("the source itself") : display_text(path),
                                        reason);
}

directory_look look_for_directory(const QByteArray& source, const QByteArray& path)
{
    for (qsizetype end = 0; end >= 0;) {
        const qsizetype begin = end;
        end = path.indexOf('/', begin + 1);
        const QByteArray step = end < 0 ? path : path.left(end);
        const entry_facts facts = quiet_stat(child_path(source, step), link_handling::follow);
        if (facts.kind == entry_kind::unknown) {
            // The permission that is missing is that of the directory above.
            const bool is_unsearchable = facts.error_number == EACCES;
            return {presence::unknown,
                    blocked_look{is_unsearchable ? path.left(begin) : step, facts.error, facts.error_number}};
        }
        if (facts.kind == entry_kind::absent) {
            return {};
        }
        if (facts.kind != entry_kind::directory) {
            // A Mac has nothing but a directory there: whoever put it there may have something to hide.
            const QString reason = QStringLiteral("is no directory: ") + kind_text(facts.kind);
            return {presence::unknown, blocked_look{step, reason, 0}};
        }
    }
    return {presence::present, std::nullopt};
}
