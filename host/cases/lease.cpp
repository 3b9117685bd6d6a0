#include "host/cases/lease.h"

#include "host/cases/generations.h"
#include "host/text/failure.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSysInfo>
#include <QThread>
#include <QUuid>

#include <algorithm>

namespace {

constexpr const char* lease_name = "/lease";
constexpr qint64 ns_in_ms = 1'000'000;

// A lease may be moved away for a moment by a task that then sees it is not the one it judged.
constexpr int looks_before_lost = 5;
constexpr unsigned long ms_between_looks = 40;

// So often is looked again where others come between, or are just making the lease.
constexpr int most_turns = 1000;
constexpr unsigned long ms_between_turns = 10;

// Making a lease is a few calls: whose claim is open for longer has died or was stopped.
constexpr qint64 longest_making_ns = 3'000 * ns_in_ms;

// Bounds for what a lease says of itself: it may be damaged.
constexpr int shortest_beat_ms = 20;
constexpr int longest_beat_ms = 3'600'000;
constexpr int most_missed_beats = 1000;

QByteArray lease_text(const generation_claim& claim, const lease_times& times)
{
    static const QString boot = QString::fromLatin1(QSysInfo::bootUniqueId());
    // The last key tells two leases of one process apart.
    return QJsonDocument(QJsonObject{{"generation", claim.number()},
                                     {"node", node_of_this_process()},
                                     {"process", QCoreApplication::applicationPid()},
                                     {"boot", boot},
                                     {"job", job_of_this_process()},
                                     {"beat_ms", times.beat_ms},
                                     {"missed_beats", times.missed_beats},
                                     {"taken_utc", QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs)},
                                     {"key", claim.key()}})
        .toJson();
}

/// Fills in what the text of a lease tells; returns its times, the usual ones where it cannot be understood.
lease_times understand(lease_view& view, const QString& path)
{
    QJsonParseError problem;
    const QJsonObject object = QJsonDocument::fromJson(view.content, &problem).object();
    if (!object.contains(QLatin1String("generation"))) {
        view.error = QStringLiteral("%1: damaged, it names no holder").arg(path);
        return {};
    }
    view.holder = {std::clamp<qint64>(object["generation"].toInteger(), 0, most_generations), object["node"].toString(),
                   object["process"].toInteger(), object["boot"].toString(), object["job"].toString()};
    const lease_times usual;
    return {std::clamp(object["beat_ms"].toInt(usual.beat_ms), shortest_beat_ms, longest_beat_ms),
            std::clamp(object["missed_beats"].toInt(usual.missed_beats), 1, most_missed_beats)};
}

const QString moved_prefix = QStringLiteral(".old-");

QString move_seen_lease(const QString& directory, const QByteArray& content, std::optional<qint64> written_ns);

/// Puts back a lease that was moved by mistake. Whoever gave it up meanwhile has not found it, but took back its claim
/// before.
void put_back(const QString& directory, const QString& moved, const QByteArray& content)
{
    const QString path = directory + QLatin1String(lease_name);
    link_exclusively(moved, path);
    QFile::remove(moved);
    const QJsonObject object = QJsonDocument::fromJson(content).object();
    const QString key = object["key"].toString();
    QString unknown;
    if (!key.isEmpty() && is_claimed(directory, object["generation"].toInteger(), key, unknown) == false) {
        if (const QString again = move_seen_lease(directory, content, std::nullopt); !again.isEmpty()) {
            QFile::remove(again);
        }
    }
}

/// Moves the lease to a name of our own if it is still the one that was seen: between a look and a removal it may
/// become another's. Returns that name; empty when it was not, or was gone.
QString move_seen_lease(const QString& directory, const QByteArray& content, std::optional<qint64> written_ns)
{
    const QString path = directory + QLatin1String(lease_name);
    const auto is_seen_one = [&](const stamped_file& file) {
        return file.content == content && (!written_ns || *written_ns == file.written_ns);
    };
    forget_remembered_names(directory);
    // Another's that lies there already need not be moved for that.
    if (!is_seen_one(read_stamped(path))) {
        return {};
    }
    const QString moved =
        directory + QLatin1Char('/') + moved_prefix + QUuid::createUuid().toString(QUuid::WithoutBraces);
    if (rename_replacing(path, moved).outcome != claim::made) {
        return {};
    }
    const stamped_file file = read_stamped(moved);
    if (is_seen_one(file)) {
        return moved;
    }
    put_back(directory, moved, file.content);
    return {};
}

/// True when another task is just making a lease of the highest claim.
bool is_being_made(const QString& directory, const highest_claim& highest)
{
    QString no_time;
    const auto now = highest.is_open ? time_of_file_server(directory, no_time) : std::nullopt;
    return now && std::abs(*now - highest.written_ns) < longest_making_ns;
}

} // namespace

QString node_of_this_process()
{
    const QString node = qEnvironmentVariable("SLURMD_NODENAME");
    return node.isEmpty() ? QSysInfo::machineHostName() : node;
}

QString job_of_this_process()
{
    for (const char* name : {"SLURM_JOB_ID", "JOB_ID", "PBS_JOBID", "LSB_JOBID", "KUBERNETES_POD_NAME"}) {
        if (const QString job = qEnvironmentVariable(name); !job.isEmpty()) {
            return job;
        }
    }
    return {};
}

QString holder_text(const lease_view& view)
{
    return view.error.isEmpty() ? QStringLiteral("process %1 on %2").arg(view.holder.process).arg(view.holder.node)
                                : QStringLiteral("another process (%1)").arg(view.error);
}

lease_view look_at_lease(const QString& directory)
{
    const QString path = directory + QLatin1String(lease_name);
    const stamped_file file = read_stamped(path);
    lease_view view;
    view.exists = file.exists;
    view.error = file.error;
    if (!file.exists || !file.error.isEmpty()) {
        return view;
    }
    view.is_readable = true;
    view.content = file.content;
    view.written_ns = file.written_ns;
    const lease_times times = understand(view, path);
    QString no_time;
    const auto now = time_of_file_server(directory, no_time);
    if (!now) {
        view.is_fresh = true;
        view.error = no_time;
        return view;
    }
    view.age_ms = (*now - file.written_ns) / ns_in_ms;
    // A time far ahead is no sign of life either: the server's clock was set back, or somebody set the time.
    view.is_fresh = std::abs(view.age_ms) < times.patience_ms();
    return view;
}

lease::lease(lease&& other) noexcept
    : directory(std::exchange(other.directory, {}))
    , content(std::move(other.content))
    , key(std::move(other.key))
    , times(other.times)
    , number(other.number)
{
}

lease& lease::operator=(lease&& other) noexcept
{
    if (this != &other) {
        release();
        directory = std::exchange(other.directory, {});
        content = std::move(other.content);
        key = std::move(other.key);
        times = other.times;
        number = other.number;
    }
    return *this;
}

std::optional<lease> lease::take(const QString& directory, const lease_times& times, qint64 lowest_generation,
                                 lease_view& holder)
{
    for (int turn = 0; turn < most_turns; ++turn) {
        if (turn > 0) {
            QThread::msleep(ms_between_turns);
        }
        holder = look_at_lease(directory);
        if (holder.exists && !holder.is_readable) {
            refuse(QStringLiteral("cannot read the lease %1").arg(holder.error));
        }
        if (holder.is_fresh) {
            return std::nullopt;
        }
        // After the lease: who saw it go sees by whom.
        const highest_claim highest = look_at_claims(directory);
        if (is_being_made(directory, highest)) {
            continue;
        }
        // Of those who saw the same, one alone gets the number.
        const auto claim = generation_claim::make(
            directory, std::max({lowest_generation, holder.holder.generation + 1, highest.number + 1}));
        auto taken = claim ? make(directory, times, *claim, holder) : std::nullopt;
        if (!taken) {
            continue;
        }
        const QList<qint64> numbers = claimed_numbers(directory);
        // Whoever claimed a higher number since may have held the lease already, before this one was made.
        if (numbers.isEmpty() || numbers.last() <= taken->generation()) {
            // The lower ones say nothing any more.
            for (auto number = numbers.begin(); number != numbers.end() && *number < taken->generation(); ++number) {
                forget_generation(directory, *number);
            }
            return taken;
        }
        // Before the lease is given back, so that nobody who has moved it aside puts it back for good.
        forget_generation(directory, taken->generation());
    }
    holder = look_at_lease(directory);
    return std::nullopt;
}

std::optional<lease> lease::make(const QString& directory, const lease_times& times, const generation_claim& claim,
                                 const lease_view& seen)
{
    lease made;
    made.number = claim.number();
    made.key = claim.key();
    made.times = times;
    made.content = lease_text(claim, times);
    QString moved;
    if (seen.exists) {
        moved = move_seen_lease(directory, seen.content, seen.written_ns);
        if (moved.isEmpty()) {
            return std::nullopt;
        }
    }
    QString error;
    const QString file = write_private_file(directory, made.content, error);
    if (file.isEmpty()) {
        refuse(error);
    }
    const QString path = directory + QLatin1String(lease_name);
    const claim_result linked = link_exclusively(file, path);
    QFile::remove(file);
    if (!moved.isEmpty()) {
        QFile::remove(moved);
    }
    if (linked.outcome == claim::exists) {
        return std::nullopt;
    }
    if (linked.outcome != claim::made) {
        refuse(QStringLiteral("cannot make the lease %1: %2").arg(path, linked.error));
    }
    made.directory = directory;
    return made;
}

QString lease::path() const
{
    return directory + QLatin1String(lease_name);
}

bool lease::beat() const
{
    if (directory.isEmpty()) {
        return false;
    }
    // A file server that does not answer for a while is no loss: whoever takes over says so in the lease.
    QString ignored;
    return stamp_again(path(), content, ignored) || look_again(ignored).value_or(true);
}

bool lease::is_held() const
{
    QString problem;
    const auto found = look_again(problem);
    if (!found) {
        refuse(QStringLiteral("cannot find out whether another task has taken over: %1").arg(problem));
    }
    return *found;
}

std::optional<bool> lease::look_again(QString& problem) const
{
    if (directory.isEmpty()) {
        return false;
    }
    for (int look = 0; look < looks_before_lost; ++look) {
        const stamped_file file = read_stamped(path());
        problem = file.error;
        if (file.exists && problem.isEmpty()) {
            // One that was put back after another had held the lease is held no more.
            const auto found = file.content == content ? is_claimed(directory, number, key, problem) : false;
            if (found) {
                return found;
            }
        }
        QThread::msleep(ms_between_looks);
    }
    return problem.isEmpty() ? std::optional(false) : std::nullopt;
}

void lease::release()
{
    if (!directory.isEmpty()) {
        if (const QString moved = move_seen_lease(directory, content, std::nullopt); !moved.isEmpty()) {
            QFile::remove(moved);
        }
        directory.clear();
    }
}
