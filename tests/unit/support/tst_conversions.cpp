#include "support/plugin_static_function.h"
#include "tests/common/captured_log.h"

#include <QLocale>
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
    {OF(convert_T_Z_time_to_epoch), "20240305", "1709596800"},
    {OF(convert_T_Z_time_to_epoch), "2024-03-05", ""},
    {OF(convert_T_Z_time_to_epoch), "2024-03-05T14:07", ""},
    {OF(convert_timestamp_to_human_readable_in_UTC), " 1709647629.9 ", "05-Mar-2024 14:07:09"},
    {OF(convert_timestamp_to_human_readable_in_UTC), "-1", "31-Dec-1969 23:59:59"},
    {OF(convert_timestamp_to_human_readable_in_UTC), "0", ""},
    {OF(convert_timestamp_to_human_readable_in_UTC), "2147483648", ""},
    {OF(get_human_readable_time), " 125.9 ", "02:05 Min"},
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

} // namespace

class tst_conversions : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { plugin::set_essentials(); }
    void texts_are_converted()
    {
        for (const auto& [zone, locale] : {std::pair("UTC", QLocale::English),
                                           {"Europe/Berlin", QLocale::German},
                                           {"America/New_York", QLocale::Arabic}}) {
            use_time_zone(zone);
            QLocale::setDefault(locale);
            for (const conversion_case& row : conversion_cases) {
                const QString result = row.convert(row.input);
                QVERIFY2(result == row.expected,
                         qPrintable(QString("%1 of \"%2\" gives \"%3\", not \"%4\", in %5")
                                        .arg(row.operation, row.input, result, row.expected, zone)));
            }
        }
    }

    void local_time_is_that_of_the_machine()
    {
        use_time_zone("Europe/Berlin");
        QCOMPARE(plugin::convert_human_readable_to_epoch_1("Mar 5, 2024, 2:07:09 PM"), "1709644029");
        use_time_zone("America/New_York");
        QCOMPARE(plugin::convert_human_readable_to_epoch_1("Mar 5, 2024, 2:07:09 PM CET"), "1709665629");
    }

    void zone_offsets_are_seconds()
    {
        for (const auto& [zone, seconds] : {std::pair("0530", 19800LL),
                                            {"05", 18000},
                                            {"-0530", 31800},
                                            {"UTC", 0},
                                            {"992147483647", 128849375220}}) {
            QCOMPARE(plugin::convert_timezone_to_seconds(zone), seconds);
        }
    }

    void sizes_are_those_of_files_and_trees()
    {
        const QTemporaryDir directory;
        const QString root = directory.filePath("tree");
        const QString one = write_file(root + "/one", QByteArray(100, 'x'));
        write_file(root + "/deep/.er/two", QByteArray(20, 'x'));
        write_file(root + "/.hidden", "xxx");
        QVERIFY(QFile::link(write_file(directory.filePath("outside"), QByteArray(5000, 'x')), root + "/link"));
        QVERIFY(QFile::link(directory.path(), root + "/deep/up"));
        QCOMPARE(plugin::mining_size(root), "123");
        QCOMPARE(plugin::mining_size(one), "100");
        QCOMPARE(plugin::mining_size(root + "/none"), "");
        plugin::set_cancel_extraction(true);
        QCOMPARE(plugin::mining_size(root), QString::number(QFileInfo(root).size()));
    }

    void escapes_are_decoded_under_log_and_cancel()
    {
        const captured_log log;
        QCOMPARE(plugin::convert_string_to_unicode("x\\U"), QStringLiteral("x") + QChar(u'\0'));
        plugin::set_cancel_extraction(true);
        QCOMPARE(plugin::convert_string_to_unicode("plain"), "");
        const QString operation = "plugin_static_function::convert_string_to_unicode: ";
        QCOMPARE(log.lines(), QStringList({operation + " : running", operation + " : infinite loop cross",
                                           operation + " : running"}));
    }
};

QTEST_GUILESS_MAIN(tst_conversions)
#include "tst_conversions.moc"
