#include "sample/sample_plist.h"

#include <QDateTime>
#include <QList>
#include <QtEndian>

#include <algorithm>
#include <bit>

namespace {

// Property lists count from the start of 2001.
constexpr qint64 plist_epoch_seconds = 978'307'200;

QByteArray big_endian(quint64 value, int width)
{
    QByteArray bytes(8, Qt::Uninitialized);
    qToBigEndian(value, bytes.data());
    return bytes.right(width);
}

int width_for(quint64 value)
{
    return value < 0x100 ? 1 : value < 0x10000 ? 2 : value < 0x100000000ULL ? 4 : 8;
}

QByteArray integer_object(qint64 value)
{
    const int width = value < 0 ? 8 : width_for(static_cast<quint64>(value));
    return char(0x10 + std::countr_zero(static_cast<unsigned>(width))) + big_endian(static_cast<quint64>(value), width);
}

QByteArray sized_marker(int kind, qsizetype size)
{
    if (size < 15) {
        return QByteArray(1, static_cast<char>(kind << 4 | static_cast<int>(size)));
    }
    return char(kind << 4 | 15) + integer_object(size);
}

QByteArray string_object(const QString& text)
{
    const bool ascii = std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() < 0x80; });
    if (ascii) {
        return sized_marker(5, text.size()) + text.toLatin1();
    }
    QByteArray units;
    for (const QChar unit : text) {
        units += big_endian(unit.unicode(), 2);
    }
    return sized_marker(6, text.size()) + units;
}

class binary_encoder
{
public:
    QByteArray encode(const QVariant& value)
    {
        add(value);
        const int reference_width = width_for(static_cast<quint64>(objects.size()));
        QByteArray result("bplist00");
        QList<quint64> offsets;
        for (const object& item : std::as_const(objects)) {
            offsets.append(static_cast<quint64>(result.size()));
            result += item.head;
            for (const qsizetype reference : item.references) {
                result += big_endian(static_cast<quint64>(reference), reference_width);
            }
        }
        const quint64 table = static_cast<quint64>(result.size());
        const int offset_width = width_for(table);
        for (const quint64 offset : std::as_const(offsets)) {
            result += big_endian(offset, offset_width);
        }
        return result + QByteArray(6, '\0') + char(offset_width) + char(reference_width) +
               big_endian(static_cast<quint64>(objects.size()), 8) + big_endian(0, 8) + big_endian(table, 8);
    }

private:
    struct object
    {
        QByteArray head;
        QList<qsizetype> references;
    };

    qsizetype add(const QVariant& value)
    {
        const qsizetype index = objects.size();
        objects.append(object{});
        object made = make(value);
        objects[index] = std::move(made);
        return index;
    }

    object make(const QVariant& value)
    {
        switch (value.typeId()) {
        case QMetaType::QVariantMap: {
            const QVariantMap map = value.toMap();
            object made{sized_marker(13, map.size()), {}};
            for (auto entry = map.begin(); entry != map.end(); ++entry) {
                made.references.append(add(entry.key()));
            }
            for (const QVariant& entry : map) {
                made.references.append(add(entry));
            }
            return made;
        }
        case QMetaType::QVariantList: {
            const QVariantList list = value.toList();
            object made{sized_marker(10, list.size()), {}};
            for (const QVariant& entry : list) {
                made.references.append(add(entry));
            }
            return made;
        }
        case QMetaType::Bool:
            return {QByteArray(1, value.toBool() ? '\x09' : '\x08'), {}};
        case QMetaType::Int:
        case QMetaType::LongLong:
            return {integer_object(value.toLongLong()), {}};
        case QMetaType::UInt:
            return {'\x83' + big_endian(value.toUInt(), 4), {}};
        case QMetaType::Double:
            return {'\x23' + big_endian(std::bit_cast<quint64>(value.toDouble()), 8), {}};
        case QMetaType::QByteArray:
            return {sized_marker(4, value.toByteArray().size()) + value.toByteArray(), {}};
        case QMetaType::QDateTime: {
            const auto seconds = static_cast<double>(value.toDateTime().toSecsSinceEpoch() - plist_epoch_seconds);
            return {'\x33' + big_endian(std::bit_cast<quint64>(seconds), 8), {}};
        }
        default:
            return {string_object(value.toString()), {}};
        }
    }

    QList<object> objects;
};

/// Lays values out as a keyed archive: a list of objects that refer to each other by UID.
class keyed_archiver
{
public:
    QByteArray archive(const QVariant& value)
    {
        const uint root = add(value);
        return to_binary_plist(QVariantMap{{QStringLiteral("$archiver"), QStringLiteral("NSKeyedArchiver")},
                                           {QStringLiteral("$version"), 100'000},
                                           {QStringLiteral("$top"), QVariantMap{{QStringLiteral("root"), root}}},
                                           {QStringLiteral("$objects"), objects}});
    }

private:
    uint add(const QVariant& value)
    {
        const auto index = static_cast<uint>(objects.size());
        objects.append(value);
        if (value.typeId() == QMetaType::QVariantMap) {
            const QVariantMap map = value.toMap();
            QVariantList keys;
            QVariantList values;
            for (auto entry = map.begin(); entry != map.end(); ++entry) {
                keys.append(add(entry.key()));
                values.append(add(entry.value()));
            }
            objects[index] = QVariantMap{{QStringLiteral("NS.keys"), keys},
                                         {QStringLiteral("NS.objects"), values},
                                         {QStringLiteral("$class"), class_of("NSDictionary")}};
        } else if (value.typeId() == QMetaType::QVariantList) {
            QVariantList items;
            for (const QVariant& item : value.toList()) {
                items.append(add(item));
            }
            objects[index] =
                QVariantMap{{QStringLiteral("NS.objects"), items}, {QStringLiteral("$class"), class_of("NSArray")}};
        } else if (value.typeId() == QMetaType::QDateTime) {
            const auto seconds = static_cast<double>(value.toDateTime().toSecsSinceEpoch() - plist_epoch_seconds);
            objects[index] =
                QVariantMap{{QStringLiteral("NS.time"), seconds}, {QStringLiteral("$class"), class_of("NSDate")}};
        }
        return index;
    }

    uint class_of(const char* name)
    {
        const QString text = QString::fromLatin1(name);
        if (!classes.contains(text)) {
            classes.insert(text, static_cast<uint>(objects.size()));
            objects.append(QVariantMap{{QStringLiteral("$classname"), text},
                                       {QStringLiteral("$classes"), QVariantList{text, QStringLiteral("NSObject")}}});
        }
        return classes.value(text);
    }

    QVariantList objects{QStringLiteral("$null")};
    QMap<QString, uint> classes;
};

QString xml_element(const char* name, const QString& content, const QString& indent)
{
    return QStringLiteral("%1<%2>%3</%2>\n").arg(indent, QLatin1StringView(name), content);
}

QString xml_value(const QVariant& value, const QString& indent)
{
    const QString inner = indent + u'\t';
    switch (value.typeId()) {
    case QMetaType::QVariantMap: {
        const QVariantMap map = value.toMap();
        QString body;
        for (auto entry = map.begin(); entry != map.end(); ++entry) {
            body += xml_element("key", entry.key().toHtmlEscaped(), inner) + xml_value(entry.value(), inner);
        }
        return indent + QStringLiteral("<dict>\n") + body + indent + QStringLiteral("</dict>\n");
    }
    case QMetaType::QVariantList: {
        QString body;
        for (const QVariant& entry : value.toList()) {
            body += xml_value(entry, inner);
        }
        return indent + QStringLiteral("<array>\n") + body + indent + QStringLiteral("</array>\n");
    }
    case QMetaType::Bool:
        return indent + (value.toBool() ? QStringLiteral("<true/>\n") : QStringLiteral("<false/>\n"));
    case QMetaType::Int:
    case QMetaType::LongLong:
        return xml_element("integer", value.toString(), indent);
    case QMetaType::Double:
        return xml_element("real", QString::number(value.toDouble(), 'g', 17), indent);
    case QMetaType::QByteArray:
        return xml_element("data", QString::fromLatin1(value.toByteArray().toBase64()), indent);
    case QMetaType::QDateTime:
        return xml_element("date", value.toDateTime().toUTC().toString(Qt::ISODate), indent);
    default:
        return xml_element("string", value.toString().toHtmlEscaped(), indent);
    }
}

} // namespace

QByteArray to_xml_plist(const QVariant& value)
{
    return QByteArrayLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                             "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                             "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                             "<plist version=\"1.0\">\n") +
           xml_value(value, QString()).toUtf8() + "</plist>\n";
}

QByteArray to_binary_plist(const QVariant& value)
{
    return binary_encoder().encode(value);
}

QByteArray to_keyed_archive(const QVariant& value)
{
    return keyed_archiver().archive(value);
}
