#include "host/accounts/keyed_archive.h"

#include "host/files/binary_property_list.h"

#include <QVariantList>
#include <QVariantMap>

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <vector>

namespace {

using kind = binary_property_list::kind;

// A real store's largest archive has some hundred objects, six levels deep.
constexpr int deepest = 32;
constexpr int most_values = 20'000;
constexpr qsizetype most_bytes = 4 << 20;
constexpr int most_keys_looked_at = 1'000'000;

constexpr double seconds_from_1970_to_2001 = 978'307'200;
// The years 1 to 9999, as far as times can be written.
constexpr double earliest_time = -62'135'596'800;
constexpr double latest_time = 253'402'300'799;

/// Ends the reading of one archive.
struct archive_error : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

[[noreturn]] void damaged()
{
    throw archive_error("the archive is damaged");
}

[[noreturn]] void too_much()
{
    throw archive_error("the archive holds more than is sensible");
}

template <typename type>
type or_damaged(const std::optional<type>& value)
{
    if (!value) {
        damaged();
    }
    return *value;
}

QDateTime archived_time(double seconds)
{
    const QDateTime time = time_since_2001(seconds);
    if (!time.isValid()) {
        throw archive_error("the archive holds a time outside the years 1 to 9999");
    }
    return time;
}

class archive_reader
{
public:
    explicit archive_reader(const binary_property_list& data) : list(data) {}

    QVariant read();

private:
    using object = binary_property_list::object;

    QVariant value(quint64 number);
    QVariant plain(const object& head);
    QVariantList items(const object& container);
    QVariantMap dictionary(const object& head);
    QVariant archived(const object& head);
    QVariant text(const object& head);
    std::optional<object> member(const object& dictionary, const char* key);
    QVariantList members_of(const object& head, const char* key);
    QString class_name(const object& head);

    const binary_property_list& list;
    object archived_objects;         ///< "$objects"; of no known kind in a plain property list
    std::vector<quint64> being_read; ///< from the top to where the reading is now
    int values = 0;
    int keys_looked_at = 0;
    qsizetype bytes = 0;
};

std::optional<archive_reader::object> archive_reader::member(const object& dictionary, const char* key)
{
    const QLatin1String wanted(key);
    for (quint64 index = 0; index < dictionary.count && dictionary.type == kind::dictionary; ++index) {
        if (++keys_looked_at > most_keys_looked_at) {
            too_much();
        }
        const auto name = list.at(or_damaged(list.reference(dictionary, index)));
        if (name && name->count == quint64(wanted.size()) && list.string(*name) == wanted) {
            return list.at(or_damaged(list.reference(dictionary, dictionary.count + index)));
        }
    }
    return std::nullopt;
}

QVariant archive_reader::read()
{
    const object top = or_damaged(list.at(list.top()));
    const auto objects = member(top, "$objects");
    if (!member(top, "$archiver") || !objects || objects->type != kind::array) {
        return value(list.top());
    }
    archived_objects = *objects;
    const auto root = member(or_damaged(member(top, "$top")), "root");
    return plain(or_damaged(root));
}

QVariant archive_reader::value(quint64 number)
{
    if (++values > most_values || being_read.size() >= deepest) {
        too_much();
    }
    if (std::find(being_read.begin(), being_read.end(), number) != being_read.end()) {
        throw archive_error("the archive holds an object that contains itself");
    }
    being_read.push_back(number);
    QVariant read = plain(or_damaged(list.at(number)));
    being_read.pop_back();
    return read;
}

QVariant archive_reader::plain(const object& head)
{
    switch (head.type) {
    case kind::singleton:
        return head.count == 0 ? QVariant() : QVariant(head.count == 9);
    case kind::integer:
        return or_damaged(list.integer(head));
    case kind::real:
        return or_damaged(list.real(head));
    case kind::date:
        return archived_time(or_damaged(list.real(head)));
    case kind::data:
        bytes += or_damaged(list.bytes(head)).size();
        break;
    case kind::ascii:
    case kind::utf16:
        return text(head);
    case kind::array:
    case kind::set:
        return items(head);
    case kind::dictionary:
        return archived_objects.type == kind::array && member(head, "$class") ? archived(head)
                                                                              : QVariant(dictionary(head));
    case kind::uid:
        return value(or_damaged(list.reference(archived_objects, or_damaged(list.uid(head)))));
    case kind::unknown:
        damaged();
    }
    if (bytes > most_bytes) {
        too_much();
    }
    return or_damaged(list.bytes(head)).toByteArray();
}

QVariant archive_reader::text(const object& head)
{
    bytes += qsizetype(std::min<quint64>(head.count, most_bytes)) * 2;
    if (bytes > most_bytes) {
        too_much();
    }
    const QString read = or_damaged(list.string(head));
    return archived_objects.type == kind::array && read == QLatin1String("$null") ? QVariant() : QVariant(read);
}

QVariantList archive_reader::items(const object& container)
{
    QVariantList found;
    for (quint64 index = 0; index < container.count; ++index) {
        found.append(value(or_damaged(list.reference(container, index))));
    }
    return found;
}

QVariantMap archive_reader::dictionary(const object& head)
{
    QVariantMap found;
    for (quint64 index = 0; index < head.count; ++index) {
        const QString key = value(or_damaged(list.reference(head, index))).toString();
        found.insert(key, value(or_damaged(list.reference(head, head.count + index))));
    }
    return found;
}

QVariantList archive_reader::members_of(const object& head, const char* key)
{
    const object container = or_damaged(member(head, key));
    if (container.type != kind::array) {
        damaged();
    }
    return items(container);
}

QString archive_reader::class_name(const object& head)
{
    const auto reference = list.uid(or_damaged(member(head, "$class")));
    const auto description = list.at(or_damaged(list.reference(archived_objects, or_damaged(reference))));
    const object name = or_damaged(member(or_damaged(description), "$classname"));
    return name.count > 200 ? QString() : or_damaged(list.string(name));
}

/// Reads an object of a class: those that hold plain values become these.
QVariant archive_reader::archived(const object& head)
{
    const QString name = class_name(head);
    const QString kind_name = QString(name).replace(QLatin1String("Mutable"), QLatin1String());
    if (kind_name == QLatin1String("NSDictionary")) {
        const QVariantList keys = members_of(head, "NS.keys");
        const QVariantList contents = members_of(head, "NS.objects");
        if (keys.size() != contents.size()) {
            damaged();
        }
        QVariantMap found;
        for (qsizetype index = 0; index < keys.size(); ++index) {
            found.insert(keys[index].toString(), contents[index]);
        }
        return found;
    }
    if (kind_name == QLatin1String("NSArray") || kind_name == QLatin1String("NSSet") ||
        kind_name == QLatin1String("NSOrderedSet")) {
        return members_of(head, "NS.objects");
    }
    if (kind_name == QLatin1String("NSDate")) {
        return archived_time(or_damaged(list.real(or_damaged(member(head, "NS.time")))));
    }
    for (const auto& [wrapper, content] : {std::pair{"NSString", "NS.string"}, std::pair{"NSData", "NS.data"},
                                           std::pair{"NSData", "NS.bytes"}, std::pair{"NSURL", "NS.relative"}}) {
        const auto held = kind_name == QLatin1String(wrapper) ? member(head, content) : std::nullopt;
        if (held) {
            return plain(*held);
        }
    }
    QVariantMap found = dictionary(head);
    found.insert(QStringLiteral("$class"), name);
    return found;
}

} // namespace

archived_value read_keyed_archive(const QByteArray& data)
{
    const auto list = binary_property_list::open(data);
    if (!list) {
        return {{}, QStringLiteral("is no binary property list")};
    }
    try {
        return {archive_reader(*list).read(), {}};
    } catch (const archive_error& error) {
        return {{}, QString::fromLatin1(error.what())};
    }
}

QString archived_type(const archived_value& archive)
{
    if (!archive.error.isEmpty()) {
        return QStringLiteral("not readable");
    }
    switch (archive.value.typeId()) {
    case QMetaType::Bool:
        return QStringLiteral("yes or no");
    case QMetaType::LongLong:
    case QMetaType::Double:
        return QStringLiteral("number");
    case QMetaType::QString:
        return QStringLiteral("text");
    case QMetaType::QByteArray:
        return QStringLiteral("data");
    case QMetaType::QDateTime:
        return QStringLiteral("time");
    case QMetaType::QVariantList:
        return QStringLiteral("list");
    case QMetaType::QVariantMap:
        return QStringLiteral("dictionary");
    default:
        return QStringLiteral("nothing");
    }
}

QDateTime time_since_2001(double seconds)
{
    const double since_1970 = seconds + seconds_from_1970_to_2001;
    if (!(since_1970 >= earliest_time && since_1970 <= latest_time)) {
        return {};
    }
    return QDateTime::fromMSecsSinceEpoch(qint64(std::floor(since_1970 * 1000)), Qt::UTC);
}
