#pragma once

#include <QByteArray>
#include <QString>
#include <QStringView>

/// A point in time as file systems keep it: seconds since 1970 in UTC, and nanoseconds within the second.
struct sample_time
{
    qint64 seconds = 0;
    qint32 nanoseconds = 0;
};

/// Repeatable random values. Each topic has a sequence of its own, so that growing one part of a sample leaves the
/// rest as it is; the values are the same on every platform.
class sample_random
{
public:
    sample_random(quint32 seed, QStringView topic);

    quint64 next();
    /// A value from 0 to bound - 1; bound is positive.
    int below(int bound);
    /// An upper-case identifier without braces, such as "8F3A0C52-...".
    QString uuid();
    QByteArray bytes(qsizetype size);
    /// A time from the first year's beginning to the last year's end; every second one is a whole second.
    sample_time time_between(int first_year, int last_year);

    template <typename list>
    const auto& pick(const list& values)
    {
        return values[static_cast<typename list::size_type>(below(static_cast<int>(values.size())))];
    }

private:
    quint64 state;
};
