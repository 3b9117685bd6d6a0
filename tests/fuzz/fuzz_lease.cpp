#include "host/cases/source_state.h"
#include "tests/fuzz/fuzz_target.h"

#include <QFile>
#include <QJsonDocument>

namespace {

/// Puts a file in the place of the earlier one; none for no content.
void put(const QString& name, const QByteArray& content)
{
    if (content.isEmpty()) {
        QFile::remove(scratch_directory() + QLatin1Char('/') + name);
        return;
    }
    const scratch_file file(name);
    file.write(content.contains('=') ? QJsonDocument(object_of(content)).toJson(QJsonDocument::Compact) : content);
}

} // namespace

fuzz_plan plan()
{
    const QByteArray lease = "generation=7\nnode=n1\nprocess=12\nbeat_ms=15000\nmissed_beats=4";
    const QByteArray state = "state=cancelled\ngeneration=7\nattempt=attempt-7-n1\nreason=x\nexit_code=0";
    return {512,
            {"generation", "node", "beat_ms", "missed_beats", "state", "running", "whole", "no mail", "partial",
             "9223372036854775807", "-1", "1e300", QByteArray(1, '\0')},
            {lease + '\0' + state, '\0' + state, lease, R"({"generation": 7})"}};
}

/// The lease of a source, and behind a zero byte its state.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray input = bytes_of(data, size);
    const qsizetype middle = input.indexOf('\0');
    const QByteArray lease = input.left(middle);
    put(QStringLiteral("lease"), lease);
    put(QStringLiteral("state.json"), middle < 0 ? QByteArray() : input.mid(middle + 1));

    const source_status status = look_at_source({1, {}, {}, scratch_directory(), false});
    require(status.lease.exists == !lease.isEmpty() && status.lease.is_fresh == status.lease.exists);
    // A generation can be counted on from, and the next attempt's name be read back.
    const qint64 next = status.lease.holder.generation + 1;
    require(next > 0 && generation_of_attempt(attempt_name(next, QStringLiteral("n1"))) == next);
    require(!status.has_whole && !has_result(status.state) && status.state != source_state::no_mail);
    require(status.state != source_state::failed || middle >= 0);
    return 0;
}
