#include "host/cases/case_settings.h"

#include "host/cases/sources_csv.h"
#include "host/result/source_guard.h"
#include "host/text/failure.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

constexpr int format_of_cases = 1;

/// True for what the case says of itself; the rest is said of each source.
bool is_of_case(const case_field& field)
{
    return field.value != &case_data::evidence_number && field.value != &case_data::image_sha256;
}

void make_directory(const QString& path)
{
    if (!QDir().mkpath(path)) {
        refuse(QStringLiteral("cannot create %1: %2").arg(path, reason_for_no_directory(path)));
    }
}

QJsonObject settings_to_json(const case_settings& settings)
{
    QJsonObject object{{"format", format_of_cases},
                       {"created_utc", settings.created_utc},
                       {"lease", QJsonObject{{"beat_seconds", static_cast<double>(settings.lease.beat_ms) / 1000},
                                             {"missed_beats", settings.lease.missed_beats}}}};
    for (const case_field& field : case_fields) {
        if (is_of_case(field)) {
            object.insert(QLatin1String(field.name), settings.about.*field.value);
        }
    }
    return object;
}

} // namespace

void require_shared_files(const QString& directory)
{
    QString error;
    const QString file = write_private_file(directory, "?", error);
    if (file.isEmpty()) {
        refuse(error);
    }
    const QString second = file + QStringLiteral("-link");
    const QString renamed = file + QStringLiteral("-whole");
    claim_result result = link_exclusively(file, second);
    const char* what = "a second name for a file";
    if (result.outcome == claim::made) {
        QFile::remove(second);
        what = "a symbolic link";
        result = make_link(QFileInfo(file).fileName(), second);
    }
    if (result.outcome == claim::made) {
        what = "renaming without replacing";
        result = rename_link_exclusively(second, renamed);
    }
    for (const QString& name : {file, second, renamed}) {
        QFile::remove(name);
    }
    if (result.outcome != claim::made) {
        refuse(QStringLiteral("cannot keep a case at %1: the file system refuses %2: %3")
                   .arg(directory, QLatin1String(what), result.error));
    }
}

void create_case(const case_paths& paths, const case_settings& settings)
{
    if (QFileInfo::exists(paths.case_file())) {
        refuse(QStringLiteral("%1 holds a case already").arg(paths.root()));
    }
    make_directory(paths.results());
    require_shared_files(paths.root());
    if (!QFileInfo::exists(paths.sources_file())) {
        write_sources(paths.sources_file(), empty_sources());
    }
    case_settings complete = settings;
    complete.created_utc = QDateTime::currentDateTimeUtc().toString(Qt::ISODate);
    write_record(paths.case_file(), settings_to_json(complete));
}

case_settings read_case(const case_paths& paths)
{
    const read_record_result record = read_record(paths.case_file());
    if (!record.object) {
        refuse(record.error.isEmpty()
                   ? QStringLiteral("%1 is no case: it has no case.json; `mail-extract case new` makes one")
                         .arg(paths.root())
                   : QStringLiteral("cannot read the case %1").arg(record.error));
    }
    if (record.object->value(QLatin1String("format")).toInt() != format_of_cases) {
        refuse(QStringLiteral("cannot read the case %1: not written by this version (format %2)")
                   .arg(paths.case_file(), record.object->value(QLatin1String("format")).toVariant().toString()));
    }
    case_settings settings;
    settings.about = case_from_json(*record.object);
    settings.created_utc = record.object->value(QLatin1String("created_utc")).toString();
    const QJsonObject lease = record.object->value(QLatin1String("lease")).toObject();
    const double beat = lease["beat_seconds"].toDouble(static_cast<double>(settings.lease.beat_ms) / 1000);
    const int missed = lease["missed_beats"].toInt(settings.lease.missed_beats);
    if (!is_usable_beat(beat) || missed < 2) {
        refuse(QStringLiteral("cannot read the case %1: lease: beats come every 0.05 to 3600 seconds, at least 2 may "
                              "be missed")
                   .arg(paths.case_file()));
    }
    settings.lease = {static_cast<int>(beat * 1000), missed};
    return settings;
}
