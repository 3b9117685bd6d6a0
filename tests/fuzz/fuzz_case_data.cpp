#include "host/cases/case_settings.h"
#include "host/run/case_file.h"
#include "host/text/failure.h"
#include "tests/fuzz/fuzz_target.h"

#include <QJsonDocument>

namespace {

void read_settings()
{
    try {
        const case_settings settings = read_case(case_paths(scratch_directory()));
        require(settings.lease.beat_ms >= 50 && settings.lease.missed_beats >= 2);
        require(settings.lease.patience_ms() >= 100);
    } catch (const failure& refusal) {
        require(refusal.message().contains(QStringLiteral("case.json")));
    }
}

void read_data(const QString& path)
{
    run_options options;
    options.case_file = path;
    options.about.examiner = QStringLiteral("E. X.");
    try {
        require(case_data_of(options).examiner == options.about.examiner);
    } catch (const failure& refusal) {
        require(refusal.message().contains(path));
    }
}

} // namespace

fuzz_plan plan()
{
    return {1024,
            {"format", "created_utc", "lease", "beat_seconds", "missed_beats", "case_number", "evidence_number",
             "examiner", "organisation", "notes", "image_sha256", "0.05", "3600", "1e9", "null", "\\ud800"},
            {"format=1\nlease.beat_seconds=15\nlease.missed_beats=4\ncase_number=C\nnotes=n",
             "case_number=C\nexaminer=x\norganisation=o\nimage_sha256=00", R"({"case_number": "C"})"}};
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const scratch_file file(QStringLiteral("case.json"));
    const QByteArray bytes = bytes_of(data, size);
    file.write(bytes.contains('=') ? QJsonDocument(object_of(bytes)).toJson(QJsonDocument::Compact) : bytes);
    read_settings();
    read_data(file.path());
    return 0;
}
