#include "host/files/binary_property_list.h"

#include <QStringDecoder>

#include <array>
#include <bit>
#include <limits>

namespace {

constexpr quint64 trailer_size = 32;

using kind = binary_property_list::kind;

// By the upper four bits of an object's first byte.
constexpr std::array<kind, 16> kinds{kind::singleton, kind::integer,    kind::real,    kind::date,
                                     kind::data,      kind::ascii,      kind::utf16,   kind::unknown,
                                     kind::uid,       kind::unknown,    kind::array,   kind::unknown,
                                     kind::set,       kind::dictionary, kind::unknown, kind::unknown};

bool has_items(kind type)
{
    return type == kind::data || type == kind::ascii || type == kind::utf16 || type == kind::array ||
           type == kind::set || type == kind::dictionary;
}

} // namespace

std::optional<binary_property_list> binary_property_list::open(const QByteArray& data)
{
    const auto size = quint64(data.size());
    if (!data.startsWith("bplist00") || size < trailer_size) {
        return std::nullopt;
    }
    binary_property_list list(data);
    const quint64 trailer = size - trailer_size;
    list.offset_width = *list.number_at(trailer + 6, 1);
    list.reference_width = *list.number_at(trailer + 7, 1);
    list.object_count = *list.number_at(trailer + 8, 8);
    list.top_object = *list.number_at(trailer + 16, 8);
    list.table = *list.number_at(trailer + 24, 8);
    const auto is_width = [](quint64 width) { return width >= 1 && width <= 8; };
    if (!is_width(list.offset_width) || !is_width(list.reference_width) ||
        !list.holds(list.table, list.object_count, list.offset_width)) {
        return std::nullopt;
    }
    return list;
}

/// Reads a big-endian number of 1 to 8 bytes.
std::optional<quint64> binary_property_list::number_at(quint64 offset, quint64 width) const
{
    if (width < 1 || width > 8 || !holds(offset, 1, width)) {
        return std::nullopt;
    }
    quint64 number = 0;
    for (quint64 index = 0; index < width; ++index) {
        number = number << 8 | static_cast<unsigned char>(content[qsizetype(offset + index)]);
    }
    return number;
}

std::optional<binary_property_list::object> binary_property_list::head_at(quint64 offset) const
{
    const auto marker = number_at(offset, 1);
    if (!marker) {
        return std::nullopt;
    }
    object head{kinds[*marker >> 4], *marker & 0xF, offset + 1};
    if (head.type == kind::integer || head.type == kind::real || head.type == kind::date) {
        head.count = head.count > 4 ? 0 : quint64(1) << head.count;
        return head;
    }
    if (head.type == kind::uid) {
        ++head.count;
        return head;
    }
    if (!has_items(head.type) || head.count != 0xF) {
        return head;
    }
    // A count of 15 or more stands in an integer object of its own.
    const auto integer = number_at(offset + 1, 1);
    if (!integer || kinds[*integer >> 4] != kind::integer || (*integer & 0xF) > 3) {
        return std::nullopt;
    }
    const quint64 width = quint64(1) << (*integer & 0xF);
    const auto count = number_at(offset + 2, width);
    if (!count) {
        return std::nullopt;
    }
    head.count = *count;
    head.begin = offset + 2 + width;
    return head;
}

std::optional<binary_property_list::object> binary_property_list::at(quint64 number) const
{
    if (number >= object_count) {
        return std::nullopt;
    }
    const auto head = head_at(*number_at(table + number * offset_width, offset_width));
    if (!head || head->type == kind::singleton) {
        return head;
    }
    quint64 width = 1;
    if (head->type == kind::utf16) {
        width = 2;
    } else if (head->type == kind::array || head->type == kind::set) {
        width = reference_width;
    } else if (head->type == kind::dictionary) {
        width = 2 * reference_width;
    }
    return holds(head->begin, head->count, width) ? head : std::nullopt;
}

std::optional<quint64> binary_property_list::reference(const object& container, quint64 n) const
{
    const quint64 all = container.type == kind::dictionary ? 2 * container.count : container.count;
    if (n >= all) {
        return std::nullopt;
    }
    return number_at(container.begin + n * reference_width, reference_width);
}

std::optional<QString> binary_property_list::string(const object& text) const
{
    if (text.type != kind::ascii && text.type != kind::utf16) {
        return std::nullopt;
    }
    const quint64 width = text.type == kind::utf16 ? 2 : 1;
    const QByteArrayView units(content.constData() + text.begin, qsizetype(text.count * width));
    if (text.type == kind::ascii) {
        return QString::fromLatin1(units);
    }
    QStringDecoder decode(QStringConverter::Utf16BE, QStringConverter::Flag::ConvertInitialBom);
    return QString(decode(units));
}

std::optional<QByteArrayView> binary_property_list::bytes(const object& data) const
{
    if (data.type != kind::data) {
        return std::nullopt;
    }
    return QByteArrayView(content.constData() + data.begin, qsizetype(data.count));
}

std::optional<qint64> binary_property_list::integer(const object& number) const
{
    if (number.type != kind::integer) {
        return std::nullopt;
    }
    // Sixteen bytes hold what is too large for eight signed ones.
    const bool is_long = number.count == 16;
    const auto value = number_at(number.begin + (is_long ? 8 : 0), is_long ? 8 : number.count);
    if (!value ||
        (is_long && (*number_at(number.begin, 8) != 0 || *value > quint64(std::numeric_limits<qint64>::max())))) {
        return std::nullopt;
    }
    return static_cast<qint64>(*value);
}

std::optional<double> binary_property_list::real(const object& number) const
{
    if (number.type != kind::real && number.type != kind::date) {
        return std::nullopt;
    }
    const auto bits = number_at(number.begin, number.count);
    if (!bits || (number.count != 4 && number.count != 8)) {
        return std::nullopt;
    }
    return number.count == 4 ? double{std::bit_cast<float>(quint32(*bits))} : std::bit_cast<double>(*bits);
}

std::optional<quint64> binary_property_list::uid(const object& number) const
{
    return number.type == kind::uid ? number_at(number.begin, number.count) : std::nullopt;
}
