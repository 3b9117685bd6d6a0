#pragma once

#include <QByteArray>
#include <QString>

#include <vector>

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

/// Finds the links that leave the source, and the link cycles, among those that a run over these Mail directories
/// would follow: below each Mail directory (hidden entries are never followed), on the way from `source_root` to it,
/// and on the way to the account store beside it. `source_root` and the Mail directories
/// (SOURCE/Users/NAME/Library/Mail) may be given with links in them and need not exist. Each link is named once, in
/// the order met. Links that lead nowhere are no problem, since no copy follows them.
std::vector<link_problem> find_link_problems(const QByteArray& source_root,
                                             const std::vector<QByteArray>& mail_directories);

/// Returns the problem as one line: the link, its target, and what is wrong with it.
QString link_problem_text(const link_problem& problem);
