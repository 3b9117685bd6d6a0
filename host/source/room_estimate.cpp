#include "host/source/room_estimate.h"

#include "host/text/display_text.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <filesystem>
#include <limits>
#include <numeric>

namespace {

// Manifest, sums, seal, log, report, database of messages.
constexpr qint64 bytes_of_records = 400'000;
constexpr qint64 bytes_of_records_a_file = 2000;

QString nearest_existing(const QString& path)
{
    QFileInfo info(QFileInfo(path).absoluteFilePath());
    while (!info.exists() && !info.isRoot()) {
        info.setFile(info.absolutePath());
    }
    return info.filePath();
}

/// What lies in scratch at one time of what each user's work puts there.
qint64 at_one_time(const std::vector<qint64>& rooms, copying_way way)
{
    if (way == copying_way::as_suite) {
        return std::accumulate(rooms.begin(), rooms.end(), qint64(0));
    }
    const auto largest = std::max_element(rooms.begin(), rooms.end());
    return largest == rooms.end() ? 0 : *largest;
}

} // namespace

room_estimate estimate_room(const copy_forecast& forecast, const QString& result, copying_way way, qint64 earlier)
{
    room_estimate estimate;
    estimate.mail_trees = forecast.room_of_trees;
    estimate.account_folders_one_by_one = at_one_time(forecast.rooms_of_accounts, copying_way::one_by_one);
    estimate.account_folders = way == copying_way::in_bulk ? 0 : at_one_time(forecast.rooms_of_accounts, way);
    estimate.working_copies = at_one_time(forecast.rooms_of_stores, way);
    estimate.kept_files = forecast.room_of_kept_files;
    estimate.records = bytes_of_records;
    for (const file_amount& tree : forecast.trees) {
        estimate.records += tree.files * bytes_of_records_a_file;
    }
    estimate.earlier = earlier;
    estimate.is_least = !forecast.unread.empty();
    estimate.measured_at = nearest_existing(result);
    std::error_code error;
    const auto space = std::filesystem::space(QFile::encodeName(estimate.measured_at).toStdString(), error);
    if (error) {
        estimate.error = QString::fromLocal8Bit(error.message().c_str());
    } else {
        estimate.free = qint64(std::min<std::uintmax_t>(space.available, std::numeric_limits<qint64>::max()));
    }
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
    const qint64 beside = estimate.working_copies + estimate.kept_files + estimate.records;
    return QStringLiteral("needed %7%1 (Mail trees %2%3, other %4%5), free %6")
        .arg(display_bytes(estimate.needed()), display_bytes(estimate.mail_trees), accounts, display_bytes(beside),
             earlier, free, estimate.is_least ? QStringLiteral("at least ") : QString());
}
