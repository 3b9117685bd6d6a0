#include "host/files/property_list.h"

#include <QStringDecoder>
#include <QXmlStreamReader>

#include <optional>

namespace {

property_list_value failure(const char* reason)
{
    return {{}, QString::fromLatin1(reason)};
}

constexpr const char* damaged = "the property list is damaged";
constexpr const char* no_dictionary = "the property list holds no dictionary";
constexpr const char* no_key = "the property list does not hold the key";
constexpr const char* no_string = "the value is no string";

property_list_value string_in_xml(const QByteArray& data, const QString& key)
{
    QXmlStreamReader xml(data);
    if (!xml.readNextStartElement() || xml.name() != QLatin1String("plist")) {
        return failure("is no property list");
    }
    if (!xml.readNextStartElement() || xml.name() != QLatin1String("dict")) {
        return failure(xml.hasError() ? damaged : no_dictionary);
    }
    while (xml.readNextStartElement()) {
        if (xml.name() != QLatin1String("key")) {
            xml.skipCurrentElement();
            continue;
        }
        if (xml.readElementText() != key) {
            continue;
        }
        if (!xml.readNextStartElement()) {
            return failure(damaged);
        }
        if (xml.name() != QLatin1String("string")) {
            return failure(no_string);
        }
        const QString value = xml.readElementText();
        return xml.hasError() ? failure(damaged) : property_list_value{value, {}};
    }
    return failure(xml.hasError() ? damaged : no_key);
}

/// A binary property list: objects, a table of their offsets, and a trailer that describes the table. Every number
/// comes from the data and is checked before it is used; nothing is followed deeper than the top dictionary's values.
class binary_property_list
{
public:
    explicit binary_property_list(const QByteArray& bytes) : data(bytes) {}

    property_list_value string(const QString& key) const;

private:
    /// The head of an object: its type, its count of items, and where they begin.
    struct object
    {
        int type = 0;
        quint64 count = 0;
        quint64 begin = 0;
    };

    std::optional<quint64> number_at(quint64 offset, quint64 width) const;
    std::optional<object> object_at(quint64 offset) const;
    std::optional<QString> string_of(const object& text) const;
    bool holds(quint64 begin, quint64 count, quint64 width) const
    {
        return begin <= size() && count <= (size() - begin) / width;
    }
    quint64 size() const { return quint64(data.size()); }

    QByteArray data;
};

constexpr quint64 trailer_size = 32;
constexpr int type_ascii = 0x5;
constexpr int type_utf16 = 0x6;
constexpr int type_dictionary = 0xD;

/// Reads a big-endian number of 1 to 8 bytes.
std::optional<quint64> binary_property_list::number_at(quint64 offset, quint64 width) const
{
    if (width < 1 || width > 8 || !holds(offset, 1, width)) {
        return std::nullopt;
    }
    quint64 number = 0;
    for (quint64 index = 0; index < width; ++index) {
        number = number << 8 | static_cast<unsigned char>(data[qsizetype(offset + index)]);
    }
    return number;
}

std::optional<binary_property_list::object> binary_property_list::object_at(quint64 offset) const
{
    const auto marker = number_at(offset, 1);
    if (!marker) {
        return std::nullopt;
    }
    object head{int(*marker >> 4), *marker & 0xF, offset + 1};
    if (head.count != 0xF) {
        return head;
    }
    // A count of 15 or more stands in an integer object of its own.
    const auto integer = number_at(offset + 1, 1);
    if (!integer || *integer >> 4 != 0x1 || (*integer & 0xF) > 3) {
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

std::optional<QString> binary_property_list::string_of(const object& text) const
{
    const quint64 width = text.type == type_utf16 ? 2 : 1;
    if ((text.type != type_ascii && text.type != type_utf16) || !holds(text.begin, text.count, width)) {
        return std::nullopt;
    }
    const QByteArrayView bytes(data.constData() + text.begin, qsizetype(text.count * width));
    if (text.type == type_ascii) {
        return QString::fromLatin1(bytes);
    }
    QStringDecoder decode(QStringConverter::Utf16BE);
    return QString(decode(bytes));
}

property_list_value binary_property_list::string(const QString& key) const
{
    if (size() < trailer_size) {
        return failure(damaged);
    }
    const quint64 trailer = size() - trailer_size;
    const quint64 offset_width = *number_at(trailer + 6, 1);
    const quint64 reference_width = *number_at(trailer + 7, 1);
    const quint64 object_count = *number_at(trailer + 8, 8);
    const quint64 top = *number_at(trailer + 16, 8);
    const quint64 table = *number_at(trailer + 24, 8);
    if (offset_width < 1 || reference_width < 1 || offset_width > 8 || reference_width > 8 ||
        !holds(table, object_count, offset_width)) {
        return failure(damaged);
    }

    const auto object_number = [&](std::optional<quint64> number) -> std::optional<object> {
        if (!number || *number >= object_count) {
            return std::nullopt;
        }
        return object_at(*number_at(table + *number * offset_width, offset_width));
    };
    const auto dictionary = object_number(top);
    if (!dictionary || dictionary->type != type_dictionary) {
        return failure(dictionary ? no_dictionary : damaged);
    }
    // The references to all keys come first, those to the values after them.
    if (!holds(dictionary->begin, dictionary->count, 2 * reference_width)) {
        return failure(damaged);
    }
    for (quint64 index = 0; index < dictionary->count; ++index) {
        const quint64 reference = dictionary->begin + index * reference_width;
        const auto name = object_number(number_at(reference, reference_width));
        // Comparing lengths first keeps many references to one huge key cheap.
        if (!name || name->count != quint64(key.size()) || string_of(*name) != key) {
            continue;
        }
        const auto value = object_number(number_at(reference + dictionary->count * reference_width, reference_width));
        if (!value) {
            return failure(damaged);
        }
        if (value->type != type_ascii && value->type != type_utf16) {
            return failure(no_string);
        }
        const auto text = string_of(*value);
        return text ? property_list_value{*text, {}} : failure(damaged);
    }
    return failure(no_key);
}

} // namespace

property_list_value property_list_string(const QByteArray& data, const QString& key)
{
    if (data.startsWith("bplist00")) {
        return binary_property_list(data).string(key);
    }
    return string_in_xml(data, key);
}
