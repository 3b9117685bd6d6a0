#include "host/verify/recorded_source.h"

#include "host/files/file_tree.h"
#include "host/files/quiet_reading.h"
#include "host/result/manifest.h"
#include "host/source/source_users.h"
#include "host/terminal/command_failure.h"
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
    const qint64 step = manifest_reader(result.path(product::manifest)).count_rest() / most_samples + 1;
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

/// Why a source cannot be taken; empty when it can.
struct rejection
{
    QString reason;
    bool is_blocked = false; ///< it could not be looked at
};

rejection why_not(const result_paths& result, const std::optional<run_record>& run, const QByteArray& source)
{
    const directory_listing listing = quiet_list(source);
    if (!listing.error.isEmpty()) {
        return {listing.error, true};
    }
    if (!run) {
        return {};
    }
    const source_identity found = identify_source(source);
    const QString other = why_another_source(run->identity, found);
    return other.isEmpty() ? rejection{why_other_files(result, source)} : rejection{other, !found.blocked.isEmpty()};
}

[[noreturn]] void refuse_source(const QString& named, const QString& reason, bool is_blocked)
{
    const QString text = QStringLiteral("cannot verify against %1: %2").arg(named, reason);
    throw command_failure(is_blocked ? exit_code::with_failures : exit_code::could_not_run, text);
}

} // namespace

recorded_source choose_source(const result_paths& result, const std::optional<run_record>& run, const QString& named,
                              bool other_source)
{
    const auto alone = [](const QString& why, bool is_blocked) {
        return recorded_source{{}, why + QStringLiteral(": seal and copies alone are verified"), is_blocked};
    };
    const QString path = named.isEmpty() ? (run ? run->source : QString()) : QFileInfo(named).absoluteFilePath();
    if (path.isEmpty()) {
        return alone(QStringLiteral("no source is recorded"), false);
    }
    const QByteArray native = QFile::encodeName(path);
    const entry_facts facts = quiet_stat(native, link_handling::follow);
    const bool is_unknown = facts.kind == entry_kind::unknown;
    if (facts.kind != entry_kind::directory && !named.isEmpty()) {
        refuse_source(named, is_unknown ? facts.error : QStringLiteral("not a directory"), is_unknown);
    }
    if (facts.kind != entry_kind::directory) {
        return alone(is_unknown ? QStringLiteral("the source %1 could not be looked at (%2)").arg(path, facts.error)
                                : QStringLiteral("the source %1 is not there").arg(path),
                     is_unknown);
    }
    const rejection rejected = other_source ? rejection() : why_not(result, run, native);
    if (rejected.reason.isEmpty()) {
        return {path, {}};
    }
    if (rejected.is_blocked) {
        if (!named.isEmpty()) {
            refuse_source(named, rejected.reason, true);
        }
        return alone(QStringLiteral("the source %1 could not be looked at (%2)").arg(path, rejected.reason), true);
    }
    if (named.isEmpty()) {
        return alone(QStringLiteral("what lies at %1 is not the recorded source (%2)").arg(path, rejected.reason),
                     false);
    }
    refuse_source(
        named,
        QStringLiteral("it is not the recorded source: %1; --other-source verifies all the same").arg(rejected.reason),
        false);
}

recheck_request recheck_request_for(const result_paths& result, const recorded_source& source,
                                    const std::optional<run_record>& run)
{
    recheck_request request{result};
    if (source.path.isEmpty()) {
        return request;
    }
    request.source = QFile::encodeName(source.path);
    const bool is_of_all = !run || run->options.value(QLatin1String("users")).toArray().isEmpty();
    if (is_of_all) {
        const user_names found = find_users(*request.source);
        request.users = found.names;
        request.blocked = found.blocked ? found.blocked->text() : QString();
        return request;
    }
    for (const user_record& user : run->users) {
        request.users.push_back(QFile::encodeName(user.name));
    }
    return request;
}
