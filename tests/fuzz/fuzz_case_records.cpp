#include "host/cases/case_paths.h"
#include "host/cases/source_fingerprint.h"
#include "host/cases/source_state.h"
#include "tests/fuzz/fuzz_target.h"

#include <QJsonDocument>

#include <limits>

namespace {

void read_records(const QJsonObject& object)
{
    QString error;
    const auto attempt = attempt_from_json(object, error);
    require(attempt.has_value() == error.isEmpty());
    if (attempt) {
        const QJsonObject once = attempt_to_json(*attempt);
        require(attempt_to_json(*attempt_from_json(once, error)) == once);
    }
    const source_fingerprint found = fingerprint_from_json(object);
    require(fingerprint_from_json(fingerprint_to_json(found)) == found);
    require(fingerprint_differences(found, found).isEmpty());
}

/// Names of directories lead back to what they were made of, and no other name passes for one.
void read_names(const QString& text)
{
    if (const auto generation = generation_of_attempt(text)) {
        require(!text.contains(QLatin1Char('/')) && !text.contains(QLatin1Char('\n')));
        require(generation_of_attempt(attempt_name(*generation, text)) == generation);
    }
    if (const auto index = index_of_source_directory(text)) {
        require(*index >= 0 && !text.contains(QLatin1Char('\n')));
    }
    for (const int index : {1, 9999, 10'000, std::numeric_limits<int>::max()}) {
        const QString name = source_directory_name(index, text);
        require(index_of_source_directory(name) == index && name.size() < 100 && !name.contains(QLatin1Char('/')));
    }
}

} // namespace

fuzz_plan plan()
{
    attempt_record record;
    record.state = source_state::whole;
    record.generation = 3;
    const source_fingerprint print{{{QStringLiteral("users"), QStringLiteral("ann"), true}}, {}};
    return {1024,
            {"state", "whole", "no mail", "exit_code", "generation", "facts", "name", "value", "distinguishing",
             "attempt-", "0001-", "9999999999", "9223372036854775807", "true", "null"},
            {lines_of(attempt_to_json(record)), lines_of(fingerprint_to_json(print)),
             QJsonDocument(attempt_to_json(record)).toJson(), "attempt-12-node3", "0001-EV_1"}};
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes = bytes_of(data, size);
    if (bytes.contains('=') || bytes.startsWith('{')) {
        read_records(object_of(bytes));
    } else {
        read_names(QString::fromUtf8(bytes));
    }
    return 0;
}
