#include "host/source/room_estimate.h"

#include "host/text/display_text.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <filesystem>
#include <limits>

namespace {

QString nearest_existing(const QString& path)
{
    QFileInfo info(QFileInfo(path).absoluteFilePath());
    while (!info.exists() && !info.isRoot()) {
        info.setFile(info.absolutePath());
    }
    return info.filePath();
}

} // namespace

room_estimate estimate_room(const copy_forecast& forecast, const QString& result, qint64 earlier)
{
    room_estimate estimate;
    estimate.mail_trees = forecast.room_of_trees;
    estimate.account_folders = forecast.room_of_accounts;
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
    return QStringLiteral("needed %6%1 (Mail trees %2, account folders once more %3%4), free %5")
        .arg(display_bytes(estimate.needed()), display_bytes(estimate.mail_trees),
             display_bytes(estimate.account_folders), earlier, free,
             estimate.is_least ? QStringLiteral("at least ") : QString());
}
