#pragma once

#include "host/cases/shared_files.h"

#include <QString>

#include <optional>

/// How often a task gives a sign of life, and after how many missed ones another may take over.
struct lease_times
{
    int beat_ms = 15'000;
    int missed_beats = 4;

    qint64 patience_ms() const { return static_cast<qint64>(beat_ms) * missed_beats; }
};

/// True for seconds that signs of life may be apart.
inline bool is_usable_beat(double seconds)
{
    return seconds >= 0.05 && seconds <= 3600;
}

/// What a task says of itself in its lease.
struct lease_holder
{
    qint64 generation = 0; ///< higher with every task that held this lease
    QString node;
    qint64 process = 0;
    QString boot; ///< tells one start of the node from the next
    QString job;  ///< of the scheduler; empty without one
};

/// A lease as another process sees it.
struct lease_view
{
    bool exists = false;
    bool is_readable = false;
    lease_holder holder;   ///< empty where the file cannot be understood
    qint64 age_ms = 0;     ///< since the last sign of life, by the file server's clock; negative when it lies ahead
    qint64 written_ns = 0; ///< time of the last sign of life by that clock, since 1970
    bool is_fresh = false; ///< its holder counts as alive
    QByteArray content;
    QString error; ///< one line with the path when it cannot be read, understood or judged
};

/// Returns who has a lease: "process 17 on node3", or what is wrong with it.
QString holder_text(const lease_view& view);

/// Looks at the lease in a directory. Times are judged by the clock of the machine that holds the directory, never by
/// that of this one.
lease_view look_at_lease(const QString& directory);

/// Returns the node that this process runs on, as the scheduler calls it.
QString node_of_this_process();
/// Returns the scheduler's number of the job that this process is part of; empty without one.
QString job_of_this_process();

class generation_claim;

/// The right to work in a directory, held by one process at a time. It is given up when this goes out of scope.
class lease
{
public:
    lease() = default;
    lease(lease&& other) noexcept;
    lease& operator=(lease&& other) noexcept;
    ~lease() { release(); }

    /// Takes the lease of a directory with a generation of at least `lowest_generation`, unless another holds it, whom
    /// `holder` then tells. Throws a failure when that cannot be found out.
    static std::optional<lease> take(const QString& directory, const lease_times& times, qint64 lowest_generation,
                                     lease_view& holder);

    /// Gives a sign of life. False when the lease is lost: another has taken over.
    bool beat() const;
    /// Reads the lease again. True only when the file says so; throws a failure when it cannot be read.
    bool is_held() const;
    /// Gives the lease back; nothing happens when it is lost.
    void release();

    qint64 generation() const { return number; }
    int beat_ms() const { return times.beat_ms; }

private:
    /// Makes the lease of a claimed number where the one that was seen lies, or none; nothing when that changed
    /// meanwhile.
    static std::optional<lease> make(const QString& directory, const lease_times& times, const generation_claim& claim,
                                     const lease_view& seen);
    QString path() const;
    /// True when the file says that this process holds it, false when it says otherwise or is gone; nothing, with one
    /// line in `problem`, when it cannot be read.
    std::optional<bool> look_again(QString& problem) const;

    QString directory; ///< empty when nothing is held
    QByteArray content;
    QString key; ///< of the claim of its number
    lease_times times;
    qint64 number = 0;
};
