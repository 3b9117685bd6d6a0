#include "host/result/manifest_fields.h"

#include "host/text/utf8.h"

#include <array>
#include <chrono>
#include <cstdio>

namespace {

constexpr qint64 nanoseconds_per_second = 1'000'000'000;

void append_percent(QByteArray& text, char byte)
{
    constexpr const char* digits = "0123456789ABCDEF";
    const auto value = static_cast<unsigned char>(byte);
    text += '%';
    text += digits[value >> 4];
    text += digits[value & 0x0f];
}

bool is_plain_ascii(char byte)
{
    const auto value = static_cast<unsigned char>(byte);
    return value >= 0x20 && value < 0x7f && byte != '%';
}

} // namespace

QByteArray percent_encoded_name(const QByteArray& name)
{
    qsizetype plain = 0;
    while (plain < name.size() && is_plain_ascii(name[plain])) {
        ++plain;
    }
    if (plain == name.size()) {
        return name;
    }
    QByteArray text = name.first(plain);
    for (qsizetype i = plain; i < name.size();) {
        const qsizetype length = utf8_character_length(name, i);
        const bool control = length == 1   ? !is_plain_ascii(name[i])
                             : length == 2 ? name[i] == '\xc2' && static_cast<unsigned char>(name[i + 1]) < 0xa0
                                           : length == 0;
        const qsizetype step = length == 0 ? 1 : length;
        for (qsizetype k = i; k < i + step; ++k) {
            if (control) {
                append_percent(text, name[k]);
            } else {
                text += name[k];
            }
        }
        i += step;
    }
    return text;
}

QString manifest_text(const QByteArray& name)
{
    return QString::fromUtf8(percent_encoded_name(name));
}

std::optional<QByteArray> percent_decoded_name(const QByteArray& text)
{
    if (!text.contains('%')) {
        return text;
    }
    QByteArray name;
    name.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            name += text[i];
            continue;
        }
        const QByteArray digits = text.mid(i + 1, 2);
        const QByteArray byte = QByteArray::fromHex(digits);
        if (byte.size() != 1 || byte.toHex().toUpper() != digits) {
            return std::nullopt;
        }
        name += byte;
        i += 2;
    }
    return name;
}

QByteArray time_to_text(qint64 nanoseconds)
{
    using namespace std::chrono;
    qint64 seconds_since_1970 = nanoseconds / nanoseconds_per_second;
    qint64 fraction = nanoseconds % nanoseconds_per_second;
    if (fraction < 0) {
        fraction += nanoseconds_per_second;
        --seconds_since_1970;
    }
    const sys_seconds time{seconds{seconds_since_1970}};
    const sys_days day = floor<days>(time);
    const year_month_day date{day};
    const hh_mm_ss clock{time - day};
    std::array<char, 64> text{};
    const int length =
        std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02d.%09dZ", static_cast<int>(date.year()),
                      static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                      static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                      static_cast<int>(clock.seconds().count()), static_cast<int>(fraction));
    return {text.data(), length};
}

std::optional<qint64> time_from_text(const QByteArray& text)
{
    using namespace std::chrono;
    int year_number = 0;
    unsigned month_number = 0;
    unsigned day_number = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
    int fraction = 0;
    if (std::sscanf(text.constData(), "%4d-%2u-%2uT%2d:%2d:%2d.%9dZ", &year_number, &month_number, &day_number, &hour,
                    &minute, &second, &fraction) != 7) {
        return std::nullopt;
    }
    const year_month_day date{year{year_number}, month{month_number}, day{day_number}};
    if (!date.ok()) {
        return std::nullopt;
    }
    const auto whole = sys_days{date}.time_since_epoch() + hours{hour} + minutes{minute} + seconds{second};
    const auto whole_seconds = static_cast<quint64>(duration_cast<seconds>(whole).count());
    const auto nanoseconds = static_cast<qint64>(whole_seconds * static_cast<quint64>(nanoseconds_per_second) +
                                                 static_cast<quint64>(fraction));
    // The scan is lenient about blanks and signs, and the product may be too large; the way back shows either.
    return time_to_text(nanoseconds) == text ? std::optional(nanoseconds) : std::nullopt;
}
