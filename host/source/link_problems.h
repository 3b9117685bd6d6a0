#pragma once

#include <QByteArray>
#include <QString>

enum class link_problem_kind
{
    leaves_source,
    cycle
};

/// A symbolic link that a copy would follow to where it must not go.
struct link_problem
{
    QByteArray path;   ///< the link, as the copy reaches it
    QByteArray target; ///< where it leads, resolved as this machine does it
    link_problem_kind kind = link_problem_kind::leaves_source;
};

/// Returns the problem as one line: the link, its target, and what is wrong with it.
QString link_problem_text(const link_problem& problem);
