#include "host/files/property_list.h"

#include <QTest>

namespace {

/// Writes the binary form of a dictionary of strings: keys first, then values, then the dictionary as the top object.
QByteArray binary_list(const QList<std::pair<QByteArray, QByteArray>>& encoded)
{
    QByteArray data("bplist00");
    QByteArray offsets;
    const auto begin_object = [&] { offsets += char(data.size() >> 8), offsets += char(data.size() & 0xFF); };
    for (const auto& [key, value] : encoded) {
        begin_object(), data += key;
    }
    for (const auto& [key, value] : encoded) {
        begin_object(), data += value;
    }
    begin_object();
    const auto count = char(encoded.size());
    data += count < 15 ? QByteArray(1, char(0xD0 | count)) : QByteArray("\xDF\x10") + count;
    for (char index = 0; index < 2 * count; ++index) {
        data += index;
    }
    const auto table = char(data.size() & 0xFF);
    const auto table_high = char(data.size() >> 8);
    data += offsets + QByteArray(6, '\0') + '\x02' + '\x01' + QByteArray(7, '\0') + char(2 * count + 1) +
            QByteArray(7, '\0') + char(2 * count) + QByteArray(6, '\0') + table_high + table;
    return data;
}

QByteArray ascii(const QByteArray& text)
{
    return char(0x50 | text.size()) + text;
}

QByteArray xml(const QByteArray& content)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
           "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n<plist version=\"1.0\">" +
           content + "</plist>\n";
}

} // namespace

class tst_property_list : public QObject
{
    Q_OBJECT

private slots:
    void a_string_is_found_or_its_absence_explained_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QString>("value");
        QTest::addColumn<QString>("error");

        const auto found = [](const char* row, const QByteArray& data, const QString& value) {
            QTest::newRow(row) << data << value << QString();
        };
        found("xml", xml("<dict><key>a</key><integer>1</integer><key>Live</key><string>V10</string></dict>"), "V10");
        found("xml, empty", xml("<dict><key>Live</key><string/></dict>"), "");
        found("xml, escaped", xml("<dict><key>Live</key><string>&lt;V&#233;&gt;</string></dict>"),
              QStringLiteral("<V\u00e9>"));
        found("xml, not the nested one",
              xml("<dict><key>n</key><dict><key>Live</key><string>V1</string></dict>"
                  "<key>Live</key><string>V2</string></dict>"),
              "V2");
        found("binary", binary_list({{ascii("Else"), ascii("V1")}, {ascii("Live"), ascii("V10")}}), "V10");
        found("binary, utf-16", binary_list({{QByteArray("\x64\0L\0i\0v\0e", 9), QByteArray("\x62\0V\0\xe9", 5)}}),
              QStringLiteral("V\u00e9"));
        QList<std::pair<QByteArray, QByteArray>> many(19, {ascii("Else"), ascii("V1")});
        many += {ascii("Live"), QByteArray("\x5F\x10\x10") + "0123456789abcdef"};
        found("binary, counts of 15 and more", binary_list(many), "0123456789abcdef");

        const auto refused = [](const char* row, const QByteArray& data, const QString& error) {
            QTest::newRow(row) << data << QString() << error;
        };
        refused("xml, no key", xml("<dict><key>x</key><string>Live</string></dict>"),
                "the property list does not hold the key");
        refused("xml, no string", xml("<dict><key>Live</key><true/></dict>"), "the value is no string");
        refused("xml, no dictionary", xml("<array/>"), "the property list holds no dictionary");
        refused("xml, cut off", xml("<dict><key>Live</key><string>V1").chopped(9), "the property list is damaged");
        refused("xml, an entity of its own",
                "<!DOCTYPE plist [<!ENTITY a \"V10\">]><plist><dict><key>Live</key><string>&a;</string></dict></plist>",
                "is no property list");
        refused("no property list", "SQLite format 3", "is no property list");
        refused("empty", {}, "is no property list");
        refused("binary, no key", binary_list({{ascii("Else"), ascii("Live")}}),
                "the property list does not hold the key");
        refused("binary, no string", binary_list({{ascii("Live"), "\x09"}}), "the value is no string");
        refused("binary, value runs past the end",
                binary_list({{ascii("Live"), QByteArray("\x5F\x13\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF")}}),
                "the property list is damaged");
        refused("binary, cut off", binary_list({{ascii("Live"), ascii("V1")}}).left(20),
                "the property list is damaged");
    }

    void a_string_is_found_or_its_absence_explained()
    {
        QFETCH(QByteArray, data);
        const property_list_value result = property_list_string(data, QStringLiteral("Live"));
        QTEST(result.error, "error");
        QTEST(result.value, "value");
    }

    void damage_is_survived_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::newRow("xml") << xml("<dict><key>Live</key><string>V10</string></dict>");
        QTest::newRow("binary") << binary_list({{ascii("Else"), ascii("V1")}, {ascii("Live"), ascii("V10")}});
    }

    // Every byte is altered in turn and the data cut at every length: a value comes back or a reason, never both, and
    // the sanitizers see every read.
    void damage_is_survived()
    {
        QFETCH(QByteArray, data);
        const auto check = [](const QByteArray& damaged) {
            const property_list_value result = property_list_string(damaged, QStringLiteral("Live"));
            QVERIFY(result.error.isEmpty() || result.value.isEmpty());
            QVERIFY(result.value.size() <= damaged.size());
        };
        for (qsizetype position = 0; position < data.size(); ++position) {
            check(data.left(position));
            for (const char byte : {'\0', '\x01', '\x10', '\x7F', char(0x80), char(0xDF), char(0xFF)}) {
                QByteArray altered = data;
                altered[position] = byte;
                check(altered);
            }
        }
    }
};

QTEST_APPLESS_MAIN(tst_property_list)
#include "tst_property_list.moc"
