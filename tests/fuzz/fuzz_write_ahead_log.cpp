#include "host/evidence/write_ahead_log.h"
#include "tests/fuzz/fuzz_target.h"

#include <QFile>
#include <QtEndian>

#include <algorithm>
#include <array>

namespace {

constexpr qsizetype page_size = 512;
constexpr qsizetype frame_size = 24 + page_size;
constexpr qsizetype header_size = 32;

QByteArray big_endian(quint32 number)
{
    QByteArray bytes(4, '\0');
    qToBigEndian(number, bytes.data());
    return bytes;
}

/// The running sum of a log whose magic number says big-endian.
struct running_sum
{
    quint32 first = 0;
    quint32 second = 0;

    QByteArray after(const QByteArray& bytes)
    {
        for (qsizetype i = 0; i < bytes.size(); i += 8) {
            first += qFromBigEndian<quint32>(bytes.constData() + i) + second;
            second += qFromBigEndian<quint32>(bytes.constData() + i + 4) + first;
        }
        return big_endian(first) + big_endian(second);
    }
};

/// A log as SQLite writes it: each page of the content is a change of its own.
QByteArray sound_log(const QByteArray& content)
{
    running_sum sum;
    const QByteArray salts("saltsalt");
    QByteArray log = big_endian(0x377f0683) + big_endian(3007000) + big_endian(page_size) + big_endian(7) + salts;
    log += sum.after(log);
    for (qsizetype at = 0; at < content.size(); at += page_size) {
        const QByteArray head = big_endian(quint32(1 + at)) + big_endian(9);
        const QByteArray page = content.mid(at, page_size).leftJustified(page_size, '.');
        log += head + salts + sum.after(head + page) + page;
    }
    return log;
}

QString passed_over(const QByteArray& log, const QByteArray& index)
{
    static const scratch_file file(QStringLiteral("log"));
    file.write(log);
    return passed_over_in_log(QFile::encodeName(file.path()), index, [] { return false; });
}

} // namespace

fuzz_plan plan()
{
    return {1600, {"\x37\x7f\x06\x82", "\x37\x7f\x06\x83"}, {sound_log("page"), sound_log(QByteArray(1000, 'p'))}};
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray input = bytes_of(data, size);
    const QString problem = passed_over(input, input.left(log_index_head_size));
    require(!input.isEmpty() || problem.isEmpty());
    require(input.isEmpty() || input.size() >= header_size || !problem.isEmpty());

    // Where something is changed or missing, it is said; where nothing is, nothing is said.
    const QByteArray content = input.mid(4);
    const QByteArray log = sound_log(content);
    require(passed_over(log, {}).isEmpty());
    if (input.size() > 4) {
        const qsizetype at = (quint8(input[0]) * 256 + quint8(input[1])) % log.size();
        QByteArray changed = log;
        changed[at] = char(changed[at] ^ (quint8(input[2]) | 1));
        require(!passed_over(changed, {}).isEmpty());
        const bool ends_with_frame = at == 0 || (at >= header_size && (at - header_size) % frame_size == 0);
        require(passed_over(log.first(at), {}).isEmpty() == ends_with_frame);
    }
    return 0;
}
