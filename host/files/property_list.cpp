#include "host/files/property_list.h"

#include "host/files/binary_property_list.h"

#include <QXmlStreamReader>

namespace {

property_list_value failure(const char* reason)
{
    return {{}, QString::fromLatin1(reason)};
}

constexpr const char* damaged = "the property list is damaged";
constexpr const char* no_dictionary = "the property list holds no dictionary";
constexpr const char* no_key = "the property list does not hold the key";
constexpr const char* no_string = "the value is no string";

/// Goes to the first element. Entities of a list's own are refused: a few bytes of them fill any memory, and no list
/// that a Mac writes has one.
bool go_to_first_element(QXmlStreamReader& xml)
{
    while (xml.readNext() != QXmlStreamReader::StartElement) {
        if (xml.atEnd() || (xml.isDTD() && xml.text().contains(QLatin1String("<!ENTITY")))) {
            return false;
        }
    }
    return true;
}

property_list_value string_in_xml(const QByteArray& data, const QString& key)
{
    QXmlStreamReader xml(data);
    if (!go_to_first_element(xml) || xml.name() != QLatin1String("plist")) {
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

property_list_value string_in_binary(const QByteArray& data, const QString& key)
{
    const auto list = binary_property_list::open(data);
    const auto dictionary = list ? list->at(list->top()) : std::nullopt;
    if (!dictionary) {
        return failure(damaged);
    }
    if (dictionary->type != binary_property_list::kind::dictionary) {
        return failure(no_dictionary);
    }
    for (quint64 index = 0; index < dictionary->count; ++index) {
        const auto name = list->at(*list->reference(*dictionary, index));
        // Comparing lengths first keeps many references to one huge key cheap.
        if (!name || name->count != quint64(key.size()) || list->string(*name) != key) {
            continue;
        }
        const auto value = list->at(*list->reference(*dictionary, dictionary->count + index));
        if (!value) {
            return failure(damaged);
        }
        const auto text = list->string(*value);
        return text ? property_list_value{*text, {}} : failure(no_string);
    }
    return failure(no_key);
}

} // namespace

property_list_value property_list_string(const QByteArray& data, const QString& key)
{
    if (data.startsWith("bplist00")) {
        return string_in_binary(data, key);
    }
    return string_in_xml(data, key);
}
