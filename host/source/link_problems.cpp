#include "host/source/link_problems.h"

#include "host/text/display_text.h"

QString link_problem_text(const link_problem& problem)
{
    const QString wrong = problem.kind == link_problem_kind::cycle ? QStringLiteral("which leads round in a circle")
                                                                   : QStringLiteral("which lies outside the source");
    return QStringLiteral("%1 -> %2, %3").arg(display_text(problem.path), display_text(problem.target), wrong);
}
