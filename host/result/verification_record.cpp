#include "host/result/verification_record.h"

#include "host/files/durable_file.h"
#include "host/files/quiet_reading.h"
#include "host/text/failure.h"

#include <QFile>
#include <QJsonDocument>

#include <algorithm>
#include <cerrno>

namespace {

constexpr qint64 largest_record = 1 << 20;
constexpr qint64 most_findings = qint64(1) << 50;

QJsonValue text_or_null(const QString& text)
{
    return text.isEmpty() ? QJsonValue() : QJsonValue(text);
}

QJsonObject amount_to_json(const file_amount& amount, qint64 findings)
{
    return {{"files", amount.files}, {"bytes", amount.bytes}, {"findings", findings}};
}

/// A number that no verification counts stands for as many as there can be, so that no sum of them comes to nothing.
qint64 findings_from_json(const QJsonValue& value)
{
    const qint64 findings = value.toInteger();
    return findings < 0 || findings > most_findings ? most_findings : findings;
}

file_amount amount_from_json(const QJsonObject& object)
{
    return {object["files"].toInteger(), object["bytes"].toInteger()};
}

verification_record read_record(const QString& path)
{
    verification_record unreadable;
    const quiet_data content = quiet_read(QFile::encodeName(path), largest_record);
    if (!content.error.isEmpty()) {
        unreadable.problem = QStringLiteral("cannot read %1: %2").arg(path, content.error);
        return unreadable;
    }
    const QJsonObject object = QJsonDocument::fromJson(content.data).object();
    verification_record record = verification_from_json(object);
    if (!record.verified.isValid()) {
        unreadable.problem = QStringLiteral("%1: this is no record of a verification").arg(path);
        return unreadable;
    }
    return record;
}

} // namespace

QJsonObject verification_to_json(const verification_record& record)
{
    return {
        {"verified_utc", record.verified.toUTC().toString(Qt::ISODateWithMs)},
        {"program_version", record.program_version},
        {"operator", record.login_name},
        {"outcome", record.whole ? QStringLiteral("whole") : QStringLiteral("not whole")},
        {"source", text_or_null(record.source)},
        {"source_note", text_or_null(record.source_note)},
        {"seal", QJsonObject{{"present", record.sealed},
                             {"root_hash", text_or_null(record.root_hash)},
                             {"as_expected", record.root_expected ? QJsonValue(*record.root_expected) : QJsonValue()},
                             {"files", record.sealed_files},
                             {"findings", record.seal_findings}}},
        {"copies", amount_to_json(record.copies, record.copy_findings)},
        {"sources",
         record.source.isEmpty() ? QJsonValue() : QJsonValue(amount_to_json(record.sources, record.source_findings))},
        {"recorded_faults", record.recorded_faults},
        {"problem", text_or_null(record.problem)},
    };
}

verification_record verification_from_json(const QJsonObject& object)
{
    const QJsonObject seal = object["seal"].toObject();
    verification_record record;
    record.verified = QDateTime::fromString(object["verified_utc"].toString(), Qt::ISODateWithMs);
    record.program_version = object["program_version"].toString();
    record.login_name = object["operator"].toString();
    record.source = object["source"].toString();
    record.source_note = object["source_note"].toString();
    record.sealed = seal["present"].toBool();
    record.root_hash = seal["root_hash"].toString();
    if (seal["as_expected"].isBool()) {
        record.root_expected = seal["as_expected"].toBool();
    }
    record.sealed_files = seal["files"].toInteger();
    record.seal_findings = findings_from_json(seal["findings"]);
    record.copies = amount_from_json(object["copies"].toObject());
    record.copy_findings = findings_from_json(object["copies"].toObject()["findings"]);
    record.sources = amount_from_json(object["sources"].toObject());
    record.source_findings = findings_from_json(object["sources"].toObject()["findings"]);
    record.recorded_faults = findings_from_json(object["recorded_faults"]);
    record.problem = object["problem"].toString();
    // A record that contradicts itself is not taken at its word.
    record.whole = object["outcome"].toString() == QLatin1String("whole") && record.findings() == 0 &&
                   record.problem.isEmpty() && record.root_expected.value_or(true);
    return record;
}

QString free_verification_place(const result_paths& result, const QDateTime& verified)
{
    const QString base = result.verifications() + QLatin1Char('/') +
                         verified.toUTC().toString(QStringLiteral("yyyy-MM-dd'T'HH-mm-ss.zzz'Z'"));
    const auto is_taken = [](const QString& place) {
        bool found = false;
        for (const char* ending : {".json", ".csv"}) {
            const QString path = place + QLatin1String(ending);
            const entry_facts facts = quiet_stat(QFile::encodeName(path));
            if (facts.kind == entry_kind::unknown) {
                refuse(QStringLiteral("cannot record the verification: %1: %2").arg(path, facts.error));
            }
            found = found || facts.kind != entry_kind::absent;
        }
        return found;
    };
    QString place = base;
    constexpr int most_tries = 1000;
    for (int number = 2; is_taken(place); ++number) {
        if (number > most_tries) {
            refuse(QStringLiteral("cannot record the verification: no free name in %1").arg(result.verifications()));
        }
        place = base + QLatin1Char('-') + QString::number(number);
    }
    return place;
}

void write_verification_record(const QString& place, const verification_record& record)
{
    write_durably(place + QStringLiteral(".json"), QJsonDocument(verification_to_json(record)).toJson());
}

QList<verification_record> read_verification_records(const result_paths& result)
{
    QList<verification_record> records;
    const QString folder = result.verifications();
    const kinds_listing listing = quiet_kinds(QFile::encodeName(folder));
    if (!listing.error.isEmpty() && listing.error_number != ENOENT) {
        verification_record unreadable;
        unreadable.problem = QStringLiteral("cannot list %1: %2").arg(folder, listing.error);
        records.append(unreadable);
    }
    QStringList names;
    for (const named_kind& entry : listing.entries) {
        if (entry.kind != entry_kind::directory && entry.name.endsWith(".json") && !entry.name.startsWith('.')) {
            names.append(QFile::decodeName(entry.name));
        }
    }
    names.sort();
    for (const QString& name : names) {
        records.append(read_record(folder + QLatin1Char('/') + name));
    }
    std::stable_sort(records.begin(), records.end(),
                     [](const verification_record& left, const verification_record& right) {
                         return left.verified < right.verified;
                     });
    return records;
}
