#include "support/plugin_static_function.h"

#include <QDir>
#include <QLocale>
#include <QTemporaryDir>
#include <QTest>

#include <ctime>

using plugin = plugin_static_function;

namespace {

struct conversion_case
{
    QString (*convert)(QString);
    const char* operation;
    const char* input;
    const char* expected;
};

#define OF(operation) &plugin::operation, #operation

constexpr conversion_case conversion_cases[] = {
    {OF(convert_apple_time_to_epoch), " 700000000.123 ", "1678307200"},
    {OF(convert_apple_time_to_epoch), " 0 ", ""},
    {OF(convert_apple_time_to_epoch), "unknown", "978307200"},
    {OF(convert_apple_time_to_epoch), "2147483647", "3125790847"},
    {OF(convert_apple_time_to_epoch), "2147483648", "978307200"},
    {OF(convert_google_time_to_epoch), "13350000000000000", "1705526400"},
    {OF(convert_google_time_to_epoch), "1705526400", "1705526400"},
    {OF(convert_google_time_to_epoch), "0", ""},
    {OF(convert_google_time_to_epoch), "18446744073707551616", "-11644473602"},
    {OF(convert_human_readable_to_epoch_1), " Mar 5, 2024, 2:07:09 PM UTC ", "1709647629"},
    {OF(convert_human_readable_to_epoch_1), "Mar 5, 2024, 12:07:09 AM UTC", "1709597229"},
    {OF(convert_human_readable_to_epoch_1), "Mar 31, 2024, 2:30:00 AM UTC", "1711852200"},
    {OF(convert_human_readable_to_epoch_1), "Dec 31, 1969, 11:59:58 PM UTC", "-2"},
    {OF(convert_human_readable_to_epoch_1), "yesterday PM UTC", "0"},

    // What follows the last sign of the cut text is the zone, and that is the day of a date cut at its fraction.
    {OF(convert_human_readable_to_epoch_2), "2024-03-05 14:07:09.123 +0530", "1709629629"},
    {OF(convert_human_readable_to_epoch_2), "2024-03-05 14:07:09.123 -0530", "1709665629"},
    {OF(convert_human_readable_to_epoch_2), "2024-03-05 14:07:09Z", "1709665629"},
    {OF(convert_human_readable_to_epoch_2), "2024-03-05 14:07:09 +0530", "-18180"},
    {OF(convert_human_readable_to_epoch_2), "20240305 140709.1+", ""},
    {OF(convert_human_readable_to_epoch_2), "0.5", ""},
    {OF(convert_human_readable_to_epoch_2), "7", ""},
    {OF(convert_human_readable_to_epoch_3), "Tue, 05 Mar 2024 14:07:09 +0100", "1709647629"},
    {OF(convert_human_readable_to_epoch_3), "05 Mar 2024 14:07:09 GMT", "1709647629"},
    {OF(convert_human_readable_to_epoch_3), "Tue, 05 Mar 2024 14:07:09", "0"},
    {OF(convert_human_readable_to_epoch_3), "So, 05 Mai 2024 14:07:09 +0200", "0"},
    {OF(convert_human_readable_to_epoch_3), "0", ""},
    {OF(convert_T_Z_time_to_epoch), "2024-03-05T14:07:09Z", "1709647629"},
    {OF(convert_T_Z_time_to_epoch), "2024-03-05 14-07-09 +0100", "1709647629"},
    {OF(convert_T_Z_time_to_epoch), "2024-03-05T14:07:09.123456-01:00", "1709647629"},
    {OF(convert_T_Z_time_to_epoch), "2024-03-05T14:07:09.5", "1709647629"},
    {OF(convert_T_Z_time_to_epoch), "2024-03-31T02:30:00Z", "1711852200"},
    {OF(convert_T_Z_time_to_epoch), "20240305T140709Z", "1709647629"},
    {OF(convert_T_Z_time_to_epoch), "20240305 140709", "1709647629"},
    {OF(convert_T_Z_time_to_epoch), "20240305", "1709596800"},
    {OF(convert_T_Z_time_to_epoch), "2024-03-05", ""},
    {OF(convert_T_Z_time_to_epoch), "2024-03-05T14:07", ""},
    {OF(convert_timestamp_to_human_readable_in_UTC), " 1709647629.9 ", "05-Mar-2024 14:07:09"},
    {OF(convert_timestamp_to_human_readable_in_UTC), "-1", "31-Dec-1969 23:59:59"},
    {OF(convert_timestamp_to_human_readable_in_UTC), "0", ""},
    {OF(convert_timestamp_to_human_readable_in_UTC), "2147483648", ""},
    {OF(get_human_readable_time), " 125.9 ", "02:05 Min"},
    {OF(get_human_readable_time), "3600", "01:00:00 Hrs"},
    {OF(get_human_readable_time), "3725", "01:02:05 Hrs"},
    {OF(get_human_readable_time), "unknown", "00:00 Min"},
    {OF(get_human_readable_time), "-5", ""},
    {OF(human_readable_size), " 1023 ", "1023 B"},
    {OF(human_readable_size), "1024", "1.00 KB"},
    {OF(human_readable_size), "1048575", "1024.00 KB"},
    {OF(human_readable_size), "1048576", "1.00 MB"},
    {OF(human_readable_size), "5368709120", "5120.00 MB"},
    {OF(human_readable_size), "", ""},
    {OF(mining_suffix), "/Users/ann/archive.tar.gz", "gz"},
    {OF(mining_suffix), "/Users/ann/.bashrc", ""},
    {OF(mining_suffix), "/Users/ann/.config.JSON ", "JSON"},
    {OF(mining_suffix), "/Users/ann.b/plain", ""},
    {OF(convert_string_to_unicode), " caf\\U00e9 \\U00E9\\U00e9 ", "caf\u00e9 \u00e9\u00e9"},
    {OF(convert_string_to_unicode), "A\\U42", "AB"},
    {OF(convert_string_to_unicode), "\\U005CU0041", "\\U0041"},
    {OF(convert_string_to_unicode), "\\u00e9", "\\u00e9"},
};

#undef OF

void use_time_zone(const char* zone)
{
    qputenv("TZ", zone);
    tzset();
}

void write_file(const QString& path, qsizetype size)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(QByteArray(size, 'x')), size);
}

} // namespace

class tst_conversions : public QObject
{
    Q_OBJECT

private slots:
    void texts_are_converted_data();
    void texts_are_converted();
    void local_time_is_that_of_the_machine();
    void zone_offsets_are_seconds();
    void sizes_are_those_of_files_and_trees();
    void escapes_are_decoded_under_log_and_cancel();
    void cleanup();
};

void tst_conversions::texts_are_converted_data()
{
    QTest::addColumn<QByteArray>("zone");
    QTest::addColumn<QLocale>("locale");

    QTest::newRow("UTC, English") << QByteArray("UTC") << QLocale(QLocale::English);
    QTest::newRow("Berlin, German") << QByteArray("Europe/Berlin") << QLocale(QLocale::German);
    QTest::newRow("New York, Arabic") << QByteArray("America/New_York") << QLocale(QLocale::Arabic, QLocale::Egypt);
}

void tst_conversions::texts_are_converted()
{
    QFETCH(const QByteArray, zone);
    QFETCH(const QLocale, locale);
    use_time_zone(zone.constData());
    QLocale::setDefault(locale);

    for (const conversion_case& row : conversion_cases) {
        const QString result = row.convert(QString::fromUtf8(row.input));
        QVERIFY2(result == QString::fromUtf8(row.expected),
                 qPrintable(QStringLiteral("%1 of \"%2\" gives \"%3\", not \"%4\"")
                                .arg(row.operation, row.input, result, row.expected)));
    }
}

void tst_conversions::local_time_is_that_of_the_machine()
{
    use_time_zone("Europe/Berlin");
    QCOMPARE(plugin::convert_human_readable_to_epoch_1(QStringLiteral("Mar 5, 2024, 2:07:09 PM")), "1709644029");
    use_time_zone("America/New_York");
    QCOMPARE(plugin::convert_human_readable_to_epoch_1(QStringLiteral("Mar 5, 2024, 2:07:09 PM CET")), "1709665629");
}

void tst_conversions::zone_offsets_are_seconds()
{
    QCOMPARE(plugin::convert_timezone_to_seconds(QStringLiteral("0530")), 19800);
    QCOMPARE(plugin::convert_timezone_to_seconds(QStringLiteral("05")), 18000);
    QCOMPARE(plugin::convert_timezone_to_seconds(QStringLiteral("-0530")), 31800);
    QCOMPARE(plugin::convert_timezone_to_seconds(QStringLiteral("UTC")), 0);
    QCOMPARE(plugin::convert_timezone_to_seconds(QStringLiteral("992147483647")), 128849375220);
}

void tst_conversions::sizes_are_those_of_files_and_trees()
{
    const QTemporaryDir directory;
    const QString root = directory.path() + QStringLiteral("/tree");
    QVERIFY(QDir().mkpath(root + QStringLiteral("/deep/.er")));
    write_file(root + QStringLiteral("/one"), 100);
    write_file(root + QStringLiteral("/deep/.er/two"), 20);
    write_file(root + QStringLiteral("/.hidden"), 3);
    write_file(directory.path() + QStringLiteral("/outside"), 5000);
    QVERIFY(QFile::link(directory.path() + QStringLiteral("/outside"), root + QStringLiteral("/link")));
    QVERIFY(QFile::link(directory.path(), root + QStringLiteral("/deep/up")));

    QCOMPARE(plugin::mining_size(root), QStringLiteral("123"));
    QCOMPARE(plugin::mining_size(root + QStringLiteral("/one")), QStringLiteral("100"));
    QCOMPARE(plugin::mining_size(root + QStringLiteral("/none")), QString());

    plugin::set_cancel_extraction(true);
    QCOMPARE(plugin::mining_size(root), QString::number(QFileInfo(root).size()));
}

void tst_conversions::escapes_are_decoded_under_log_and_cancel()
{
    const QTemporaryDir directory;
    struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_general_info switches;
    switches.debug_mode_status_bool = true;
    switches.debug_print_in_file_bool = true;
    switches.debug_file_path_QString = directory.path() + QStringLiteral("/log.txt");
    plugin::set_general_info(switches);

    QCOMPARE(plugin::convert_string_to_unicode(QStringLiteral("x\\U")), QStringLiteral("x") + QChar(u'\0'));
    plugin::set_cancel_extraction(true);
    QCOMPARE(plugin::convert_string_to_unicode(QStringLiteral("plain")), QString());
    plugin::close_debug_file();

    QFile log(switches.debug_file_path_QString);
    QVERIFY(log.open(QIODevice::ReadOnly));
    for (const char* message : {" : running", " : infinite loop cross", " : running"}) {
        const QByteArray line = log.readLine();
        QVERIFY2(line.endsWith(QByteArray("][plugin_static_function::convert_string_to_unicode]:-- ") + message + '\n'),
                 line.constData());
    }
    QVERIFY(log.atEnd());
}

void tst_conversions::cleanup()
{
    plugin::set_essentials();
}

QTEST_GUILESS_MAIN(tst_conversions)
#include "tst_conversions.moc"
