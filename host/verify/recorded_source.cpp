#include "host/verify/recorded_source.h"

#include "host/files/file_tree.h"
#include "host/result/manifest.h"
#include "host/source/source_users.h"
#include "host/text/failure.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>

namespace {

// So many recorded files are looked for before the source is believed to be the recorded one.
constexpr qint64 most_samples = 1000;

/// Says so when most of the recorded files are not in the source; empty otherwise, and when nothing can be told.
QString why_other_files(const result_paths& result, const QByteArray& source)
try {
    manifest_reader counter(result.path(product::manifest));
    qint64 entries = 0;
    while (counter.next()) {
        ++entries;
    }
    const qint64 step = entries / most_samples + 1;
    qint64 samples = 0;
    qint64 absent = 0;
    manifest_reader reader(result.path(product::manifest));
    for (qint64 number = 0; const auto entry = reader.next(); ++number) {
        if (number % step == 0) {
            ++samples;
            absent += quiet_stat(child_path(source, entry->path)).kind == entry_kind::absent ? 1 : 0;
        }
    }
    return absent * 2 > samples ? QStringLiteral("of %1 recorded files looked for, %2 are not there")
                                      .arg(QString::number(samples), QString::number(absent))
                                : QString();
} catch (const failure&) {
    // What is wrong with the manifest is told when it is verified.
    return {};
}

QString why_another(const result_paths& result, const run_record& run, const QByteArray& source)
{
    const QString other = why_another_source(run.identity, identify_source(source));
    return other.isEmpty() ? why_other_files(result, source) : other;
}

} // namespace

recorded_source choose_source(const result_paths& result, const std::optional<run_record>& run, const QString& named,
                              bool other_source)
{
    const QString path = named.isEmpty() ? (run ? run->source : QString()) : QFileInfo(named).absoluteFilePath();
    const bool is_there = !path.isEmpty() && QFileInfo(path).isDir();
    if (!is_there && !named.isEmpty()) {
        refuse(QStringLiteral("cannot verify against %1: not a directory").arg(named));
    }
    if (!is_there) {
        return {{},
                path.isEmpty()
                    ? QStringLiteral("no source is recorded: seal and copies alone are verified")
                    : QStringLiteral("the source %1 is not there: seal and copies alone are verified").arg(path)};
    }
    const QString other = run && !other_source ? why_another(result, *run, QFile::encodeName(path)) : QString();
    if (other.isEmpty()) {
        return {path, {}};
    }
    if (named.isEmpty()) {
        return {{},
                QStringLiteral("what lies at %1 is not the recorded source (%2): seal and copies alone are verified")
                    .arg(path, other)};
    }
    refuse(QStringLiteral("cannot verify against %1: it is not the recorded source: %2; --other-source verifies all "
                          "the same")
               .arg(named, other));
}

recheck_request recheck_request_for(const result_paths& result, const recorded_source& source,
                                    const std::optional<run_record>& run)
{
    recheck_request request{result, {}, {}};
    if (source.path.isEmpty()) {
        return request;
    }
    request.source = QFile::encodeName(source.path);
    const bool is_of_all = !run || run->options.value(QLatin1String("users")).toArray().isEmpty();
    if (is_of_all) {
        request.users = find_users(*request.source).names;
        return request;
    }
    for (const user_record& user : run->users) {
        request.users.push_back(QFile::encodeName(user.name));
    }
    return request;
}
