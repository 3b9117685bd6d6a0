#include "host/self_test/statements.h"

#include "host/text/display_text.h"
#include "host/text/failure.h"

#include <algorithm>

namespace {

constexpr qsizetype told_complaints = 3;

} // namespace

void examination::expect(bool holds, const QString& complaint)
{
    ++looked_at;
    if (!holds) {
        complaints.append(display_text(complaint));
    }
}

void statement_list::judge(const QString& text, const std::function<void(examination&)>& look)
{
    examination found;
    try {
        look(found);
    } catch (const failure& stopped) {
        found.complaints.append(display_text(stopped.message()));
    }
    if (found.looked_at == 0 && found.complaints.isEmpty()) {
        found.complaints.append(QStringLiteral("there was nothing to look at"));
    }
    if (found.complaints.isEmpty()) {
        statements.append(
            {text, statement_outcome::pass, QStringLiteral("%1 comparisons").arg(display_number(found.looked_at))});
        return;
    }
    QString detail = found.complaints.mid(0, told_complaints).join(QStringLiteral("; "));
    if (found.complaints.size() > told_complaints) {
        detail += QStringLiteral("; and %1 more").arg(found.complaints.size() - told_complaints);
    }
    statements.append({text, statement_outcome::fail, detail});
}

void statement_list::leave_out(const QString& text, const QString& reason)
{
    statements.append({text, statement_outcome::not_tried, reason});
}

qsizetype statement_list::count(statement_outcome outcome) const
{
    return std::count_if(statements.begin(), statements.end(),
                         [outcome](const statement& one) { return one.outcome == outcome; });
}
