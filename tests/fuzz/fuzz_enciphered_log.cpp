#include "host/log/enciphered_log.h"
#include "tests/fuzz/fuzz_target.h"

#include <QBuffer>

namespace {

const QByteArray& whole_line()
{
    static const QByteArray line = encryptor_string().encryptToByteArray(QByteArray("a line")).toBase64() + "<[{()}]>";
    return line;
}

/// Reads a log to its end and returns how many of its records hold.
qint64 sound_records(QByteArray log)
{
    QBuffer device(&log);
    device.open(QIODevice::ReadOnly);
    enciphered_log reader(device);
    enciphered_log::record found;
    qint64 sound = 0;
    for (qint64 number = 1; reader.next(found); ++number) {
        require(found.number == number && number <= log.size());
        require(found.problem.isEmpty() || found.text.isEmpty());
        sound += found.problem.isEmpty() ? 1 : 0;
    }
    return sound;
}

} // namespace

fuzz_plan plan()
{
    return {512, {"<[{()}]>", whole_line(), "AwI", "AwA", "AwE", "="}, {whole_line() + "AAAA<[{()}]>" + whole_line()}};
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray input = bytes_of(data, size);
    const qint64 sound = sound_records(input);
    // A whole record before it does not suffer from what follows.
    require(sound_records(whole_line() + input) == sound + 1);
    return 0;
}
