#include "host/result/manifest_fields.h"

#include "host/text/utf8.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

namespace {

constexpr qint64 seconds_per_day = 86'400;
constexpr qint32 nanoseconds_per_second = 1'000'000'000;
// "2026-01-31T23:59:59.000000000Z"
constexpr qsizetype common_time_length = 30;
// A 64-bit number of seconds reaches so far.
constexpr qint64 latest_year = 292'277'026'596;

struct civil_date
{
    qint64 year;
    int month;
    int day;
};

qint64 floored_quotient(qint64 number, qint64 divisor)
{
    return number / divisor - (number % divisor < 0 ? 1 : 0);
}

// The calendar of <chrono> ends with the year 32767. Both ways count in eras of 400 years that begin with a March, so
// that the leap day is the last of its year.

/// Returns the date of a day that is counted from 1970-01-01.
civil_date date_of(qint64 days)
{
    constexpr qint64 days_per_era = 146'097;
    constexpr qint64 days_from_era_to_1970 = 719'468;
    const qint64 shifted = days + days_from_era_to_1970;
    const qint64 era = floored_quotient(shifted, days_per_era);
    const qint64 day_of_era = shifted - era * days_per_era;
    const qint64 year_of_era = (day_of_era - day_of_era / 1'460 + day_of_era / 36'524 - day_of_era / 146'096) / 365;
    const qint64 day_of_year = day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
    const qint64 month_from_march = (5 * day_of_year + 2) / 153;
    const auto month = static_cast<int>(month_from_march < 10 ? month_from_march + 3 : month_from_march - 9);
    return {year_of_era + era * 400 + (month <= 2 ? 1 : 0), month,
            static_cast<int>(day_of_year - (153 * month_from_march + 2) / 5 + 1)};
}

qint64 day_of(const civil_date& date)
{
    const qint64 year = date.year - (date.month <= 2 ? 1 : 0);
    const qint64 era = floored_quotient(year, 400);
    const qint64 year_of_era = year - era * 400;
    const qint64 month_from_march = date.month > 2 ? date.month - 3 : date.month + 9;
    const qint64 day_of_year = (153 * month_from_march + 2) / 5 + date.day - 1;
    return era * 146'097 + year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year - 719'468;
}

void put_digits(char* end, qint64 value, int count)
{
    for (; count > 0; --count, value /= 10) {
        *--end = char('0' + value % 10);
    }
}

/// Writes a time whose year has four digits. A manifest has four times a line, too many for printf.
void put_common_time(char* begin, const civil_date& date, int of_day, qint32 nanoseconds)
{
    std::memcpy(begin, "0000-00-00T00:00:00.000000000Z", common_time_length);
    put_digits(begin + 4, date.year, 4);
    put_digits(begin + 7, date.month, 2);
    put_digits(begin + 10, date.day, 2);
    put_digits(begin + 13, of_day / 3600, 2);
    put_digits(begin + 16, of_day / 60 % 60, 2);
    put_digits(begin + 19, of_day % 60, 2);
    put_digits(begin + 29, nanoseconds, 9);
}

/// Seconds split into the day and what of it has passed.
struct day_and_second
{
    qint64 day;
    int second;
};

day_and_second split_into_days(qint64 seconds)
{
    const qint64 day = floored_quotient(seconds, seconds_per_day);
    return {day, static_cast<int>((seconds % seconds_per_day + seconds_per_day) % seconds_per_day)};
}

bool is_common(const civil_date& date, qint32 nanoseconds)
{
    return date.year >= 0 && date.year <= 9999 && nanoseconds >= 0 && nanoseconds < nanoseconds_per_second;
}

/// Reads digits, whatever stands there; the way back shows whether they were some.
int number_at(QByteArrayView text, qsizetype begin, int count)
{
    int value = 0;
    for (qsizetype i = begin; i < begin + count; ++i) {
        value = value * 10 + (text[i] - '0') % 10;
    }
    return value;
}

/// Reads a time of the common length; nothing when that is not how it is written.
std::optional<file_time> common_time_from_text(QByteArrayView text)
{
    const civil_date date{number_at(text, 0, 4), number_at(text, 5, 2), number_at(text, 8, 2)};
    const qint64 of_day = number_at(text, 11, 2) * 3600 + number_at(text, 14, 2) * 60 + number_at(text, 17, 2);
    const file_time time{day_of(date) * seconds_per_day + of_day, number_at(text, 20, 9)};
    const auto [day, second] = split_into_days(time.seconds);
    const civil_date meant = date_of(day);
    if (!is_common(meant, time.nanoseconds)) {
        return std::nullopt;
    }
    std::array<char, common_time_length> written; // NOLINT: filled at once
    put_common_time(written.data(), meant, second, time.nanoseconds);
    return std::equal(written.begin(), written.end(), text.begin()) ? std::optional(time) : std::nullopt;
}

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

QByteArray percent_encoded_cell(const QByteArray& name)
{
    QByteArray text = percent_encoded_name(name);
    if (text.startsWith('=') || text.startsWith('+') || text.startsWith('-') || text.startsWith('@')) {
        QByteArray first;
        append_percent(first, text[0]);
        text.replace(0, 1, first);
    }
    return text;
}

QString manifest_text(const QByteArray& name)
{
    return text_from_utf8(percent_encoded_name(name));
}

std::optional<QByteArray> percent_decoded_name(QByteArrayView text)
{
    if (!text.contains('%')) {
        return text.toByteArray();
    }
    QByteArray name;
    name.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            name += text[i];
            continue;
        }
        const QByteArray digits = text.sliced(i + 1).first(std::min<qsizetype>(2, text.size() - i - 1)).toByteArray();
        const QByteArray byte = QByteArray::fromHex(digits);
        if (byte.size() != 1 || byte.toHex().toUpper() != digits) {
            return std::nullopt;
        }
        name += byte;
        i += 2;
    }
    return name;
}

QByteArray time_to_text(const file_time& time)
{
    const auto [day, of_day] = split_into_days(time.seconds);
    const civil_date date = date_of(day);
    if (is_common(date, time.nanoseconds)) {
        QByteArray common(common_time_length, Qt::Uninitialized);
        put_common_time(common.data(), date, of_day, time.nanoseconds);
        return common;
    }
    std::array<char, 64> text{};
    const int length = std::snprintf(text.data(), text.size(), "%+07lld", static_cast<long long>(date.year));
    const int rest = std::snprintf(text.data() + length, text.size() - static_cast<std::size_t>(length),
                                   "-%02d-%02dT%02d:%02d:%02d.%09dZ", date.month, date.day, of_day / 3600,
                                   of_day / 60 % 60, of_day % 60, time.nanoseconds);
    return {text.data(), length + rest};
}

std::optional<file_time> time_from_text(QByteArrayView text)
{
    if (text.size() == common_time_length) {
        if (const auto common = common_time_from_text(text)) {
            return common;
        }
    }
    long long year = 0;
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
    int nanosecond = 0;
    // More digits than these no time has, and a number that overflows may read as anything.
    constexpr qsizetype longest_text = 48;
    if (text.size() > longest_text ||
        std::sscanf(text.toByteArray().constData(), "%14lld-%2d-%2dT%2d:%2d:%2d.%9dZ", &year, &month, &day, &hour,
                    &minute, &second, &nanosecond) != 7 ||
        month < 1 || month > 12 || day < 1 || nanosecond < 0 || year > latest_year || year < -latest_year) {
        return std::nullopt;
    }
    const auto seconds = static_cast<quint64>(day_of({year, month, day})) * static_cast<quint64>(seconds_per_day) +
                         static_cast<quint64>(hour * 3600 + minute * 60 + second);
    const file_time time{static_cast<qint64>(seconds), nanosecond};
    // The scan is lenient about blanks and signs, and a day may not be in its month; the way back shows either.
    return time_to_text(time) == text ? std::optional(time) : std::nullopt;
}
