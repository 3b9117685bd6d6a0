#include "bench/bench_measurement.h"

#include "plugin/apple_mail_extractor.h"
#include "support/shared_texts.h"

#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QList>

#include <sys/resource.h>

#include <utility>

namespace {

QString mail_directory(const QString& source)
{
    return source + QStringLiteral("/Users/ann/Library/Mail");
}

double list_mail_directory(const QString& source)
{
    QElapsedTimer timer;
    timer.start();
    QDirIterator entries(mail_directory(source), QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        entries.next();
    }
    return elapsed_seconds(timer);
}

void prepare(apple_mail_extractor& extractor, const QString& source, const QString& result)
{
    struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_source_info info;
    info.source_root_path = source + QLatin1Char('/');
    info.os_scheme_internal = QStringLiteral("macOS");
    info.system_account_QList.append({QStringLiteral("ann"), {}});

    extractor.pub_set_engine_type(0);
    extractor.pub_set_essentials();
    extractor.pub_set_source_count(1);
    extractor.pub_set_source_info(info);
    extractor.pub_set_essential_for_kavro_desk_extraction({QStringLiteral("accounts")}, {});
    extractor.pub_set_result_directory(result);
    extractor.pub_create_db_tables();
    extractor.pub_find_source_file();
}

/// The copies to make of one directory's files.
struct folder_copies
{
    QString target;
    QList<std::pair<QString, QString>> files;
};

void collect_folders(const QString& source, const QString& target, QList<folder_copies>& folders)
{
    const QLatin1Char slash('/');
    const QDir directory(source);
    folder_copies folder{target, {}};
    for (const QString& name : directory.entryList(QDir::Files, QDir::Unsorted)) {
        folder.files.append({source + slash + name, target + slash + name});
    }
    folders.append(folder);
    for (const QString& name : directory.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Unsorted)) {
        collect_folders(source + slash + name, target + slash + name, folders);
    }
}

} // namespace

void extract_in_turns(const QString& source, int files, const QString& result, bench_turns& turns)
{
    apple_mail_extractor extractor;
    prepare(extractor, source, result);
    qint64 counted = 0;
    QObject::connect(&extractor, &apple_mail_extractor::signal_copy_progress_of_plugin_overall, &extractor,
                     [&](qint64 copied, qint64) {
                         turns.add(copied - counted);
                         counted = copied;
                     });
    turns.resume();
    extractor.pub_extract_artifacts();
    extractor.pub_remove_temporary_asthetics();
    if (counted != files) {
        qFatal("the extraction of %s copied %lld files, not %d", qPrintable(source), counted, files);
    }
}

double walk_ratio(const QString& source, int files, const QString& result)
{
    apple_mail_extractor extractor;
    prepare(extractor, source, result);
    double listing = 0;
    double walk = 0;
    QElapsedTimer timer;
    QObject::connect(&extractor, &apple_mail_extractor::signal_copy_progress_of_plugin_overall, &extractor,
                     [&](qint64 copied, qint64) {
                         if (copied == files) {
                             // The first listing brings into memory what the walk then finds there as well.
                             list_mail_directory(source);
                             listing = list_mail_directory(source);
                             timer.start();
                         }
                     });
    QObject::connect(&extractor, &apple_mail_extractor::signal_tab_processed_of_plugin_overall, &extractor,
                     [&] { walk = elapsed_seconds(timer); });
    extractor.pub_extract_artifacts();
    extractor.pub_remove_temporary_asthetics();
    return walk / listing;
}

void copy_in_turns(const QString& source, const QString& result, bench_turns& turns)
{
    // As deep as the extraction's own copies: the length of a path is part of every call's price.
    const QString target = QStringLiteral("%1/%2/%3")
                               .arg(result, shared_texts::plugin_directory,
                                    shared_texts::dated_folder(shared_texts::artifact_folder, QStringLiteral("ann"),
                                                               QStringLiteral("01-01-2026")));
    QList<folder_copies> folders;
    collect_folders(mail_directory(source), target, folders);
    for (const folder_copies& folder : folders) {
        // Made in the extraction's order, because a file lies on the disk where its directory does.
        QDir().mkpath(folder.target);
        turns.resume();
        for (const auto& [from, to] : folder.files) {
            QFile::copy(from, to);
        }
        turns.add(folder.files.size());
    }
}

double extract(const QString& source, const QString& result)
{
    apple_mail_extractor extractor;
    prepare(extractor, source, result);
    QElapsedTimer timer;
    timer.start();
    extractor.pub_extract_artifacts();
    const double seconds = elapsed_seconds(timer);
    extractor.pub_remove_temporary_asthetics();
    return seconds;
}

double peak_memory_mb()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
#ifdef Q_OS_MACOS
    constexpr double unit = 1;
#else
    constexpr double unit = 1024;
#endif
    return static_cast<double>(usage.ru_maxrss) * unit / 1e6;
}
