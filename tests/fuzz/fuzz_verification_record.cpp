#include "host/result/verification_record.h"
#include "tests/fuzz/fuzz_target.h"

#include <QJsonDocument>

namespace {

QJsonObject written(const QJsonObject& object)
{
    return verification_to_json(verification_from_json(object));
}

} // namespace

fuzz_plan plan()
{
    verification_record record;
    record.verified = QDateTime::fromMSecsSinceEpoch(1'700'000'000'123, Qt::UTC);
    record.source = QStringLiteral("/mnt/mac");
    record.root_expected = true;
    record.copies = {12, 3456};
    return {2048,
            {"verified_utc", "2024-01-02T03:04:05.678Z", "outcome", "whole", "seal", "as_expected", "copies", "files",
             "bytes", "findings", "sources", "null", "true", "9223372036854775807", "1e300", "-0.5", "\\u0000"},
            {lines_of(verification_to_json(record)), QJsonDocument(verification_to_json(record)).toJson()}};
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const verification_record record = verification_from_json(object_of(bytes_of(data, size)));
    const qint64 findings[] = {record.seal_findings, record.copy_findings, record.source_findings,
                               record.recorded_faults};
    for (const qint64 number : findings) {
        require(number >= 0 && number <= record.findings() && (number == 0 || !record.whole));
    }
    // What was understood once is understood the same way again, from memory and from the file.
    const QJsonObject once = verification_to_json(record);
    require(written(once) == once);
    require(written(QJsonDocument::fromJson(QJsonDocument(once).toJson()).object()) == once);
    return 0;
}
