#include "host/result/row_folders.h"

#include "host/files/quiet_reading.h"
#include "support/shared_texts.h"

#include <QFile>

#include <cstdlib>

namespace {

entry_kind kind_at(const QString& path)
{
    return quiet_stat(QFile::encodeName(path)).kind;
}

} // namespace

row_folders::row_folders(const result_paths& looked_at) : result(looked_at), folders(find_dated_folders(looked_at)) {}

std::optional<QString> row_folders::place_of(const QString& row_folder, const QString& user) const
{
    const QString named = folder_in_result(row_folder);
    // What cannot be looked at is not taken for absent.
    const entry_kind kind = named.isEmpty() ? entry_kind::absent : kind_at(result.below(named));
    if (kind == entry_kind::directory || kind == entry_kind::unknown) {
        return row_folder;
    }
    const QString dated = named.isEmpty() ? QString() : below_own_dated_folder(row_folder, user);
    const auto of_user = folders.find(QFile::encodeName(user));
    const auto day_size = qsizetype(shared_texts::date_format.size());
    const QDate day = QDate::fromString(dated.left(day_size), shared_texts::date_format);
    std::optional<QString> nearest;
    if (!day.isValid() || of_user == folders.end()) {
        return nearest;
    }
    qint64 distance = 0;
    for (const dated_folder& folder : of_user->second) {
        const QString place = QFile::decodeName(folder.path) + dated.mid(day_size);
        const qint64 days = std::abs(folder.date.daysTo(day));
        if ((!nearest || days < distance) && kind_at(result.below(place)) == entry_kind::directory) {
            nearest = QLatin1Char('/') + place;
            distance = days;
        }
    }
    return nearest;
}
