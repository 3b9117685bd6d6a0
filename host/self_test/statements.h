#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <array>
#include <functional>

enum class statement_outcome : unsigned char
{
    pass,
    fail,
    not_tried
};

/// The words for them, by outcome.
inline constexpr std::array<const char*, 3> statement_outcome_names = {"pass", "fail", "not tried"};

/// One statement on the program and what came of it.
struct statement
{
    QString text;
    statement_outcome outcome = statement_outcome::not_tried;
    QString detail; ///< how much was looked at, the first things that were wrong, or why it was not tried
};

/// What is looked at for one statement.
class examination
{
public:
    /// Notes one thing that was looked at and, when it does not hold, what is wrong.
    void expect(bool holds, const QString& complaint);

    qint64 looked_at = 0;
    QStringList complaints;
};

/// The statements in their order.
class statement_list
{
public:
    /// Judges a statement by what `look` finds: it fails with the first complaint, when `look` throws a failure, and
    /// when nothing was looked at.
    void judge(const QString& text, const std::function<void(examination& found)>& look);
    void leave_out(const QString& text, const QString& reason);

    const QList<statement>& all() const { return statements; }
    qsizetype count(statement_outcome outcome) const;

private:
    QList<statement> statements;
};
