#include "host/cases/case_settings.h"

#include "host/cases/shared_files.h"
#include "host/cases/sources_csv.h"
#include "host/files/quiet_reading.h"
#include "host/result/source_guard.h"
#include "host/text/failure.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QScopeGuard>
#include <QSet>

namespace {

constexpr int format_of_cases = 1;

/// True for what the case says of itself; the rest is said of each source.
bool is_of_case(const case_field& field)
{
    return field.value != &case_data::evidence_number && field.value != &case_data::image_sha256;
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

/// Tries what a file system can do with a file of ours.
void require_names(const QString& directory, const QString& file)
{
    const QString second = file + QStringLiteral("-name");
    const QString link = file + QStringLiteral("-link");
    const QString renamed = file + QStringLiteral("-whole");
    claim_result result = link_exclusively(file, second);
    const char* what = "a second name for a file";
    if (result.outcome == claim::made) {
        what = "a symbolic link";
        result = make_link(QFileInfo(file).fileName(), link);
    }
    if (result.outcome == claim::made) {
        what = "renaming without replacing";
        result = rename_link_exclusively(link, renamed);
    }
    for (const QString& name : {second, link, renamed}) {
        QFile::remove(name);
    }
    if (result.outcome != claim::made) {
        refuse(QStringLiteral("cannot keep a case at %1: the file system refuses %2: %3")
                   .arg(directory, QLatin1String(what), result.error));
    }
}

} // namespace

void require_shared_files(const QString& directory)
{
    static QSet<quint64> tried;
    QString error;
    const QString file = write_private_file(directory, "?", error);
    if (file.isEmpty()) {
        refuse(error);
    }
    const auto remover = qScopeGuard([&file] { QFile::remove(file); });
    // Directories differ in who may write there; the rest one file system can do everywhere or nowhere.
    const entry_facts facts = quiet_stat(QFile::encodeName(file));
    if (facts.kind != entry_kind::file || !tried.contains(facts.device)) {
        require_names(directory, file);
        tried.insert(facts.device);
    }
}

void create_case(const case_paths& paths, const case_settings& settings)
{
    if (QFileInfo::exists(paths.case_file())) {
        refuse(QStringLiteral("%1 holds a case already").arg(paths.root()));
    }
    make_folder(paths.results());
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
