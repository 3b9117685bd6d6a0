#include "host/accounts/account_properties.h"
#include "host/accounts/keyed_archive.h"
#include "tests/fuzz/fuzz_target.h"

#include <QVariantList>

namespace {

/// A binary property list of objects that a byte each refers to, the last one first read.
QByteArray list_of(const QByteArrayList& objects)
{
    QByteArray list("bplist00");
    QByteArray offsets;
    for (const QByteArray& object : objects) {
        offsets += char(list.size());
        list += object;
    }
    const auto last = char(objects.size());
    return list + offsets + QByteArray("\0\0\0\0\0\0\1\1\0\0\0\0\0\0\0", 15) + last + QByteArray(7, '\0') +
           char(last - 1) + QByteArray(7, '\0') + char(list.size());
}

qsizetype count_values(const QVariant& value)
{
    qsizetype count = 1;
    if (value.typeId() == QMetaType::QVariantList) {
        for (const QVariant& item : value.toList()) {
            count += count_values(item);
        }
    }
    if (value.typeId() == QMetaType::QVariantMap) {
        for (const QVariant& item : value.toMap()) {
            count += count_values(item);
        }
    }
    return count;
}

QByteArray ascii(const QByteArray& text)
{
    return (text.size() < 15 ? QByteArray(1, char(0x50 | text.size()))
                             : "\x5F\x10" + QByteArray(1, char(text.size()))) +
           text;
}

} // namespace

fuzz_plan plan()
{
    const QByteArray uid_1("\x80\1");
    const QByteArray uid_2("\x80\2");
    const QByteArray archive = list_of({ascii("$null"),
                                        QByteArray("\xD3\x05\x06\x07\x08\x09\x02", 7),
                                        uid_2,
                                        QByteArray("\xD1\x0A\x0B", 3),
                                        QByteArray("\xA4\0\1\3\x0C", 5),
                                        ascii("NS.keys"),
                                        ascii("NS.objects"),
                                        ascii("$class"),
                                        QByteArray("\xA1\x0D", 2),
                                        QByteArray("\xA1\x0D", 2),
                                        ascii("$classname"),
                                        ascii("NSDictionary"),
                                        ascii("Hostname"),
                                        QByteArray("\x80\x03"),
                                        ascii("root"),
                                        uid_1,
                                        QByteArray("\xD1\x0E\x0F", 3),
                                        ascii("$top"),
                                        ascii("$objects"),
                                        ascii("$archiver"),
                                        ascii("x"),
                                        QByteArray("\xD3\x11\x12\x13\x10\x04\x14", 7)});
    return {1024,
            {ascii("$class"), ascii("$classname"), ascii("NSArray"), ascii("NSDate"), ascii("NS.time"),
             ascii("NS.string"), ascii("NSURL"), ascii("Hostname"), ascii("EmailAliases"), ascii("mmeAuthToken"),
             "bplist00", uid_1, "\xD1", "\xA2", "\x33", "\x23", "\x13"},
            {archive, list_of({ascii("Hostname"), ascii("h"), QByteArray("\xD1\0\1", 3)})}};
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const archived_value archive = read_keyed_archive(bytes_of(data, size));
    require(archive.error.isEmpty() || !archive.value.isValid());
    // However the objects refer to each other, no more is made of them than is sensible.
    require(count_values(archive.value) <= 40'000);
    require(!archived_type(archive).isEmpty());

    QList<std::pair<QString, QString>> others;
    const QVariantMap shown = shown_mail_dictionary(archive.value, others);
    require(!shown.contains(QStringLiteral("mmeAuthToken")));
    for (const char* key : {"Hostname", "PortNumber", "EmailAliases", "EWSExternalURL"}) {
        shown_property(QLatin1String(key), archive.value);
    }
    return 0;
}
