#include "host/source/room_estimate.h"

#include "host/text/display_text.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <numeric>

#include <sys/statvfs.h>

namespace {

// Manifest, sums, seal, log, report, database of messages.
constexpr qint64 bytes_of_records = 400'000;
constexpr qint64 bytes_of_records_a_file = 2000;
constexpr qint64 entries_of_records = 40; // with the folders that they and the working copies lie in

// No part of an estimate is told to be more, so that hostile sizes and links add up to a number all the same.
constexpr qint64 most_of_a_part = std::numeric_limits<qint64>::max() / 16;

qint64 sum(qint64 one, qint64 other)
{
    return std::min(most_of_a_part, std::min(most_of_a_part, one) + std::min(most_of_a_part, other));
}

QString nearest_existing(const QString& path)
{
    QFileInfo info(QFileInfo(path).absoluteFilePath());
    while (!info.exists() && !info.isRoot()) {
        info.setFile(info.absolutePath());
    }
    return info.filePath();
}

void measure(room_estimate& estimate)
{
    struct statvfs space = {};
    if (::statvfs(QFile::encodeName(estimate.measured_at).constData(), &space) != 0) {
        estimate.error = system_error_text(errno);
        return;
    }
    constexpr quint64 most = std::numeric_limits<qint64>::max();
    const quint64 unit = std::max<quint64>(1, space.f_frsize);
    estimate.free = qint64(std::min<quint64>(space.f_bavail, most / unit) * unit);
    // File systems that keep no table of files tell of none.
    estimate.free_entries = qint64(space.f_files == 0 ? most : std::min<quint64>(space.f_favail, most));
}

/// What lies in scratch at one time of what each user's work puts there.
qint64 at_one_time(const std::vector<qint64>& rooms, copying_way way)
{
    if (way == copying_way::as_suite) {
        return std::accumulate(rooms.begin(), rooms.end(), qint64(0), sum);
    }
    const auto largest = std::max_element(rooms.begin(), rooms.end());
    return largest == rooms.end() ? 0 : sum(*largest, 0);
}

} // namespace

room_estimate estimate_room(const copy_forecast& forecast, const QString& result, copying_way way,
                            const copy_walk::amount& earlier)
{
    room_estimate estimate;
    estimate.mail_trees = sum(forecast.room_of_trees, 0);
    estimate.account_folders_one_by_one = at_one_time(forecast.rooms_of_accounts, copying_way::one_by_one);
    estimate.account_folders = way == copying_way::in_bulk ? 0 : at_one_time(forecast.rooms_of_accounts, way);
    estimate.working_copies = at_one_time(forecast.rooms_of_stores, way);
    estimate.kept_files = sum(forecast.kept.room, 0);
    qint64 files = forecast.kept.files;
    for (const file_amount& tree : forecast.trees) {
        files = sum(files, tree.files);
    }
    std::vector<qint64> in_scratch;
    for (const file_amount& copies : forecast.scratch_copies) {
        in_scratch.push_back(way == copying_way::in_bulk ? 0 : copies.files);
    }
    estimate.records =
        bytes_of_records + std::min(files, most_of_a_part / bytes_of_records_a_file) * bytes_of_records_a_file;
    estimate.entries = entries_of_records + files + sum(forecast.kept.directories, at_one_time(in_scratch, way));
    estimate.earlier = earlier.room;
    estimate.earlier_entries = earlier.files + earlier.directories;
    estimate.is_least = !forecast.unread.empty();
    estimate.measured_at = nearest_existing(result);
    measure(estimate);
    return estimate;
}

QString room_amounts(const room_estimate& estimate)
{
    const QString earlier = estimate.earlier == 0
                                ? QString()
                                : QStringLiteral(", earlier copies %1 less").arg(display_bytes(estimate.earlier));
    const QString free =
        estimate.error.isEmpty() ? display_bytes(estimate.free) : QStringLiteral("unknown (%1)").arg(estimate.error);
    const QString accounts =
        estimate.account_folders == 0
            ? QString()
            : QStringLiteral(", account folders once more %1").arg(display_bytes(estimate.account_folders));
    const QString entries = estimate.is_out_of_entries() && estimate.error.isEmpty()
                                ? QStringLiteral("; files and directories: needed %1, free %2")
                                      .arg(display_number(estimate.entries - estimate.earlier_entries),
                                           display_number(estimate.free_entries))
                                : QString();
    const qint64 beside = estimate.working_copies + estimate.kept_files + estimate.records;
    return QStringLiteral("needed %7%1 (Mail trees %2%3, other %4%5), free %6")
               .arg(display_bytes(estimate.needed()), display_bytes(estimate.mail_trees), accounts,
                    display_bytes(beside), earlier, free, estimate.is_least ? QStringLiteral("at least ") : QString()) +
           entries;
}
