#include "bench/bench_measurement.h"

#include "plugin/apple_mail_extractor.h"

#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QList>

#include <sys/resource.h>

#include <utility>

namespace {

double seconds(const QElapsedTimer& timer)
{
    return static_cast<double>(timer.nsecsElapsed()) / 1e9;
}

QString mail_directory(const QString& source)
{
    return source + QStringLiteral("/Users/ann/Library/Mail");
}

} // namespace

extraction_times measure_extraction(const QString& source, const QString& result)
{
    struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_source_info info;
    info.source_root_path = source + QLatin1Char('/');
    info.os_scheme_internal = QStringLiteral("macOS");
    info.system_account_QList.append({QStringLiteral("ann"), {}});

    apple_mail_extractor extractor;
    extractor.pub_set_engine_type(0);
    extractor.pub_set_essentials();
    extractor.pub_set_source_count(1);
    extractor.pub_set_source_info(info);
    extractor.pub_set_essential_for_kavro_desk_extraction({QStringLiteral("accounts")}, {});
    extractor.pub_set_result_directory(result);
    extractor.pub_create_db_tables();
    extractor.pub_find_source_file();

    extraction_times times;
    QElapsedTimer timer;
    QObject::connect(&extractor, &apple_mail_extractor::signal_copy_progress_of_plugin_overall, &extractor,
                     [&] { times.whole_copy = seconds(timer); });
    QObject::connect(&extractor, &apple_mail_extractor::signal_tab_processed_of_plugin_overall, &extractor,
                     [&] { times.walk = seconds(timer) - times.whole_copy; });
    timer.start();
    extractor.pub_extract_artifacts();
    times.run = seconds(timer);
    extractor.pub_remove_temporary_asthetics();
    return times;
}

double measure_bare_copy(const QString& source, const QString& result)
{
    const QString root = mail_directory(source);
    // As deep as the extraction's own copies: the length of a path is part of every call's price.
    const QString target =
        result + QStringLiteral("/Artifacts_Result/Apple_Mail_Extractor/Apple_Mail_Extractor_ann_01-01-2026");
    QList<std::pair<QString, QString>> copies;
    QDirIterator entries(root, QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        const QString path = entries.next();
        if (entries.fileName() == QLatin1String(".") || entries.fileName() == QLatin1String("..")) {
            continue;
        }
        const QString copy = target + path.mid(root.size());
        if (entries.fileInfo().isDir()) {
            QDir().mkpath(copy);
        } else {
            copies.append({path, copy});
        }
    }
    QElapsedTimer timer;
    timer.start();
    for (const auto& [from, to] : copies) {
        QFile::copy(from, to);
    }
    return seconds(timer);
}

double measure_bare_listing(const QString& source)
{
    QElapsedTimer timer;
    timer.start();
    QDirIterator entries(mail_directory(source), QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        entries.next();
    }
    return seconds(timer);
}

double peak_memory_mib()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
#ifdef Q_OS_MACOS
    return static_cast<double>(usage.ru_maxrss) / (1024.0 * 1024.0);
#else
    return static_cast<double>(usage.ru_maxrss) / 1024.0;
#endif
}
