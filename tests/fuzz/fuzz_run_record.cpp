#include "host/result/run_record.h"
#include "tests/fuzz/fuzz_target.h"

#include <QJsonDocument>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QJsonDocument document = QJsonDocument::fromJson(bytes_of(data, size));
    if (!document.isObject()) {
        return 0;
    }
    // What was understood once is understood the same way again.
    const QJsonObject record = run_record_to_json(run_record_from_json(document.object()));
    require(run_record_to_json(run_record_from_json(record)) == record);
    return 0;
}
