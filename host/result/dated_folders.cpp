#include "host/result/dated_folders.h"

#include "host/files/file_tree.h"
#include "host/text/failure.h"
#include "support/shared_texts.h"

#include <QFile>
#include <QLocale>

#include <algorithm>
#include <cerrno>

namespace {

const QByteArray folder_prefix = QByteArray(shared_texts::artifact_folder.data()) + '_';

} // namespace

std::map<QByteArray, std::vector<dated_folder>> find_dated_folders(const result_paths& result)
{
    std::map<QByteArray, std::vector<dated_folder>> folders;
    const directory_listing listing = quiet_list(child_path(result.native_root(), relative_copies()));
    if (!listing.error.isEmpty() && listing.error_number != ENOENT) {
        refuse(QStringLiteral("cannot list %1: %2").arg(result.copies(), listing.error));
    }
    for (const named_entry& entry : listing.entries) {
        const qsizetype user_length = entry.name.size() - folder_prefix.size() - 1 - shared_texts::date_format.size();
        if (user_length < 1 || !entry.name.startsWith(folder_prefix)) {
            continue;
        }
        if (entry.facts.kind == entry_kind::unknown) {
            refuse(QStringLiteral("cannot look at %1: %2")
                       .arg(QFile::decodeName(child_path(QFile::encodeName(result.copies()), entry.name)),
                            entry.facts.error));
        }
        if (entry.facts.kind != entry_kind::directory) {
            continue;
        }
        const QString date_text = QString::fromLatin1(entry.name.last(shared_texts::date_format.size()));
        const QDate date = QDate::fromString(date_text, shared_texts::date_format);
        if (date.isValid() && entry.name[entry.name.size() - shared_texts::date_format.size() - 1] == '_') {
            folders[entry.name.mid(folder_prefix.size(), user_length)].push_back(
                {date, child_path(relative_copies(), entry.name)});
        }
    }
    for (auto& [user, of_user] : folders) {
        std::sort(of_user.begin(), of_user.end(),
                  [](const dated_folder& left, const dated_folder& right) { return left.date > right.date; });
    }
    return folders;
}

QByteArray dated_folder_path(const QByteArray& user, QDate date)
{
    const QString day = QLocale::c().toString(date, shared_texts::date_format);
    return child_path(relative_copies(), folder_prefix + user + '_' + day.toLatin1());
}

QString below_own_dated_folder(const QString& row_folder, const QString& user)
{
    const QString below = below_copies(row_folder);
    const QString own = QString::fromLatin1(folder_prefix) + user + QLatin1Char('_');
    return below != row_folder && below.startsWith(own) ? below.mid(own.size()) : QString();
}
