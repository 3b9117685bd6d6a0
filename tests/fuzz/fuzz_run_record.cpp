#include "host/result/run_record.h"
#include "tests/fuzz/fuzz_target.h"

#include <QJsonDocument>

fuzz_plan plan()
{
    run_record record;
    record.program_name = QStringLiteral("mail-extract");
    record.users = {{QStringLiteral("ann"), 1, 2, 3, 4}};
    record.command_line = QStringList{QStringLiteral("run")};
    record.verification = verification_summary{};
    return {4096,
            {"program",       "plugin",       "status",
             "finished",      "exit_code",    "host",
             "case",          "started_utc",  "source_identity",
             "homes",         "inode",        "18446744073709551615",
             "users",         "accounts",     "log",
             "failure_lines", "verification", "totals",
             "null",          "true",         "2024-01-02T03:04:05Z",
             "1e300"},
            {lines_of(run_record_to_json(record)), QJsonDocument(run_record_to_json(record)).toJson()}};
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // What was understood once is understood the same way again.
    const QJsonObject record = run_record_to_json(run_record_from_json(object_of(bytes_of(data, size))));
    require(run_record_to_json(run_record_from_json(record)) == record);
    return 0;
}
