#include "host/run/earlier_results.h"

#include "host/files/durable_file.h"
#include "host/files/file_tree.h"
#include "host/files/sqlite_companions.h"
#include "host/result/dated_folders.h"
#include "host/text/display_text.h"
#include "host/text/failure.h"

#include <QDir>
#include <QFile>
#include <QSet>

#include <array>
#include <filesystem>
#include <system_error>

namespace {

void remove_all(const QString& path)
{
    if (const QString reason = remove_tree(QFile::encodeName(path)); !reason.isEmpty()) {
        refuse(QStringLiteral("cannot remove %1 of an earlier run: %2").arg(path, reason));
    }
}

/// True for what stays of the program's own folder: the record, which is this run's by now, the lock, which this run
/// holds, and the log, which it writes.
bool stays(const QString& name)
{
    return name == product_name(product::run_record) || name == product_name(product::lock) ||
           name == product_name(product::log);
}

/// Adds what lies below a directory. What cannot be counted counts as no room, which a run needs the more.
void add_up(const QByteArray& directory, copy_walk::amount& found)
{
    walk_tree(directory, [&found](const tree_entry& entry) {
        if (entry.facts.kind == entry_kind::file) {
            found += copy_walk::amount_of_file(entry.facts.size);
        } else if (entry.facts.kind == entry_kind::directory) {
            found += copy_walk::amount_of_directory();
        }
        return true;
    });
}

} // namespace

copy_walk::amount earlier_amount(const result_paths& result, const extraction_settings& settings)
{
    QSet<QByteArray> users_of_run;
    for (const source_user& user : settings.users) {
        users_of_run.insert(QFile::encodeName(user.name));
    }
    copy_walk::amount found;
    for (const auto& [user, folders] : find_dated_folders(result)) {
        for (const dated_folder& folder : folders) {
            const bool is_continued = folder.date == QDate::currentDate() && users_of_run.contains(user);
            if (settings.clear || is_continued) {
                add_up(child_path(result.native_root(), folder.path), found);
            }
        }
    }
    if (settings.clear) {
        add_up(QFile::encodeName(result.products()), found);
    }
    return found;
}

qint64 count_earlier_copies(const result_paths& result)
{
    qint64 count = 0;
    for (const auto& [user, folders] : find_dated_folders(result)) {
        count += static_cast<qint64>(folders.size());
    }
    return count;
}

void remove_earlier_copies(const result_paths& result)
{
    for (const auto& [user, folders] : find_dated_folders(result)) {
        for (const dated_folder& folder : folders) {
            remove_all(result.below(QFile::decodeName(folder.path)));
        }
    }
}

void remove_stray_products(const result_paths& result)
{
    for (const product which : {product::manifest, product::sums, product::report, product::mail_database,
                                product::index_only_list, product::disk_only_list}) {
        remove_all(result.path(which));
    }
    const QDir folder(result.products());
    const QString unfinished = QLatin1Char('*') + QLatin1String(unfinished_ending) + QLatin1Char('*');
    for (const QString& name : folder.entryList({unfinished}, QDir::Files | QDir::Hidden | QDir::System)) {
        remove_all(folder.filePath(name));
    }
}

void remove_earlier_database(const result_paths& result)
{
    remove_all(result.database());
    for (const char* companion : sqlite_companions) {
        remove_all(result.database() + QLatin1String(companion));
    }
}

void empty_scratch(const result_paths& result)
{
    remove_all(result.scratch());
}

QString clear_left_scratch(const result_paths& result)
{
    const QByteArray scratch = QFile::encodeName(result.scratch());
    const entry_facts facts = quiet_stat(scratch);
    if (facts.kind == entry_kind::absent) {
        return {};
    }
    QString reason = facts.error.isEmpty() ? kind_text(facts.kind) : facts.error;
    if (facts.kind == entry_kind::directory) {
        std::error_code error;
        std::filesystem::remove_all(scratch.toStdString(), error);
        if (!error) {
            return {};
        }
        reason = QString::fromLocal8Bit(error.message().c_str());
    }
    QByteArray first;
    walk_tree(scratch, [&first](const tree_entry& entry) {
        first = entry.relative_path;
        return entry.facts.kind == entry_kind::directory;
    });
    return QStringLiteral("working copies stay in %1 (%2): %3").arg(result.scratch(), display_text(first), reason);
}

void remove_earlier_products(const result_paths& result)
{
    const QDir folder(result.products());
    for (const QString& name :
         folder.entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot)) {
        if (!stays(name)) {
            remove_all(folder.filePath(name));
        }
    }
}
