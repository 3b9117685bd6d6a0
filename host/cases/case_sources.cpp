#include "host/cases/case_sources.h"

#include "host/cases/shared_files.h"
#include "host/files/file_tree.h"
#include "host/files/quiet_reading.h"
#include "host/text/failure.h"

#include <QDir>
#include <QFile>

#include <map>

namespace {

QString registration_path(const QString& directory)
{
    return directory + QStringLiteral("/identity.json");
}

std::map<int, QString> directories_of_sources(const case_paths& paths)
{
    std::map<int, QString> directories;
    for (const QString& name : names_in(paths.results())) {
        const auto index = index_of_source_directory(name);
        if (!index) {
            continue;
        }
        const QString path = paths.results() + QLatin1Char('/') + name;
        const entry_facts facts = quiet_stat(QFile::encodeName(path), link_handling::follow);
        if (facts.kind == entry_kind::unknown) {
            refuse(QStringLiteral("cannot look at %1: %2").arg(path, facts.error));
        }
        if (facts.kind != entry_kind::directory) {
            continue;
        }
        if (const auto [other, is_new] = directories.emplace(*index, path); !is_new) {
            refuse(QStringLiteral("cannot use %1: %2 has the same index").arg(path, other->second));
        }
    }
    return directories;
}

std::optional<source_fingerprint> identity_in(const QJsonObject& registration)
{
    const QJsonValue identity = registration[QLatin1String("identity")];
    return identity.isObject() ? std::optional(fingerprint_from_json(identity.toObject())) : std::nullopt;
}

case_source withdrawn_source(int index, const QString& directory)
{
    case_source source{index, {}, {}, directory, true};
    const read_record_result record = read_record(registration_path(directory));
    if (record.object) {
        source.evidence_number = record.object->value(QLatin1String("evidence_number")).toString();
        source.source = record.object->value(QLatin1String("source")).toString();
    }
    return source;
}

} // namespace

case_sources load_case_sources(const case_paths& paths)
{
    std::map<int, QString> directories = directories_of_sources(paths);
    case_sources found;
    for (const source_row& row : read_sources(paths.sources_file()).rows) {
        if (!row.index) {
            found.not_added.append(row);
            continue;
        }
        const auto directory = directories.find(*row.index);
        const bool is_there = directory != directories.end();
        found.sources.append({*row.index, row.evidence_number, row.source, is_there ? directory->second : QString()});
        if (is_there) {
            directories.erase(directory);
        }
    }
    for (const auto& [index, directory] : directories) {
        found.sources.append(withdrawn_source(index, directory));
    }
    std::sort(found.sources.begin(), found.sources.end(),
              [](const case_source& one, const case_source& other) { return one.index < other.index; });
    return found;
}

registered_source read_registration(const QString& directory)
{
    const QString path = registration_path(directory);
    const read_record_result record = read_record(path);
    if (!record.object) {
        refuse(record.error.isEmpty() ? QStringLiteral("cannot read %1: no such file").arg(path)
                                      : QStringLiteral("cannot read %1").arg(record.error));
    }
    const QJsonObject& object = *record.object;
    return {object["evidence_number"].toString(), object["source"].toString(), object["path"].toString(),
            object["time_utc"].toString(), identity_in(object)};
}

int other_index_of(const case_paths& paths, int index, const registered_source& registration)
{
    for (const case_source& source : load_case_sources(paths).sources) {
        if (source.index == index || source.is_withdrawn || source.directory.isEmpty()) {
            continue;
        }
        const registered_source other = read_registration(source.directory);
        if (other.identity && (other.path == registration.path ||
                               (registration.identity && is_same_source(*other.identity, *registration.identity)))) {
            return source.index;
        }
    }
    return 0;
}

bool lies_in_results(const case_paths& paths, const QString& path)
{
    const QByteArray place = resolved_path(QFile::encodeName(path));
    const auto holds = [&place](const QString& directory) {
        const QByteArray outer = resolved_path(QFile::encodeName(directory));
        return !outer.isEmpty() && !place.isEmpty() && is_at_or_below(place, outer);
    };
    return holds(paths.results()) || holds(paths.collected());
}

void write_registration(const QString& directory, const registered_source& registration)
{
    QJsonObject object{{"evidence_number", registration.evidence_number},
                       {"source", registration.source},
                       {"path", registration.path},
                       {"time_utc", registration.time_utc}};
    object.insert(QStringLiteral("identity"),
                  registration.identity ? QJsonValue(fingerprint_to_json(*registration.identity)) : QJsonValue());
    write_record(registration_path(directory), object);
}
