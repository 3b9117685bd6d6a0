#include "support/encryptor_string.h"
#include "support/plugin_static_function.h"
#include "tests/common/captured_log.h"

#include <QDateTime>
#include <QLocale>
#include <QTest>

#include <sys/stat.h>

using plugin = plugin_static_function;

namespace {

QStringList terminal_lines;

void keep_message(QtMsgType type, const QMessageLogContext& /*context*/, const QString& text)
{
    terminal_lines.append(QString::number(type) + ' ' + text);
}

} // namespace

class tst_debug_log : public QObject
{
    Q_OBJECT

private slots:
    void function_texts()
    {
        for (const auto& [function, reduced] :
             {std::pair("static void plugin_static_function::app_debug(QString, QString)",
                        "plugin_static_function::app_debug"),
              {"QList<a::b> c::d(QList<int>)", "c::d"},
              {"  void a::b (int)  ", "a::b"},
              {"a::b(f(x) y)", "a::b"},
              {"a::b", "a::"},
              {"void a::b", "a::"},
              {"(anonymous)", ""},
              {"   ", "FUNCTION INFO IS EMPTY ---FAILED--- debug!!!"},
              {"", "FUNCTION INFO IS EMPTY ---FAILED--- debug!!!"}}) {
            const captured_log log;
            plugin::app_debug("m", function);
            QCOMPARE(log.lines(), QStringList(QString(reduced) + ": m"));
        }
    }

    void engine_names_and_times()
    {
        for (const auto& [type, name] : {std::pair(0, "KAVRO_DESK"),
                                         {1, "KAVRO_FIELD"},
                                         {2, "KAVRO_LIVE"},
                                         {-1, " -----FAILED----- to find Engine Type ][-1"},
                                         {3, " -----FAILED----- to find Engine Type ][3"}}) {
            const captured_log log;
            const QDateTime before = QDateTime::currentDateTime().addMSecs(-999);
            plugin::set_engine_type(type);
            plugin::app_debug("a message ", "void a::b(int)");
            const QString line = QString::fromUtf8(log.bytes());
            QCOMPARE(line.mid(21), QString("][%1][Artifacts Extraction][a::b]:-- a message \n").arg(name));
            const QDateTime time = QLocale::c().toDateTime(line.mid(1, 20), "yyyy-MMM-ddThh-mm-ss");
            QVERIFY2(before <= time && time <= QDateTime::currentDateTime(), qPrintable(line));
        }
    }

    void terminal_lines_are_quoted()
    {
        const captured_log log(true);
        plugin::debug_print_on_terminal_bool = true;
        plugin::debug_print_in_file_bool = false;
        plugin::set_engine_type(0);
        const QtMessageHandler before = qInstallMessageHandler(keep_message);
        plugin::app_debug("it's \"so\"", "a::b()");
        plugin::debug_mode_status_bool = false;
        plugin::debug_print_in_file_bool = true;
        plugin::app_debug("not without debug mode", "a::b()");
        qInstallMessageHandler(before);
        QCOMPARE(terminal_lines.size(), 1);
        QCOMPARE(terminal_lines.first().left(4), QString::number(QtDebugMsg) + " \"[");
        QCOMPARE(terminal_lines.first().mid(24), "][KAVRO_DESK][Artifacts Extraction][a::b]:-- it's \\\"so\\\"\"");
        QCOMPARE(log.bytes(), "");
    }

    void a_file_is_continued()
    {
        const captured_log log;
        for (const char* message : {"first", "second"}) {
            plugin::set_general_info({false, true, false, true, false, log.path()});
            plugin::app_debug(message, "a::b()");
            plugin::close_debug_file();
            plugin::app_debug("lost", "a::b()");
        }
        QCOMPARE(log.lines(), QStringList({"a::b: first", "a::b: second"}));
    }

    void an_enciphered_file_gives_the_plain_lines()
    {
        const captured_log log(true);
        plugin::set_engine_type(1);
        const QStringList messages{"START", QString::fromUtf8("J\u00FCrg\tO'Neil \\n"), QString(70000, 'x'), ""};
        for (const QString& message : messages) {
            plugin::app_debug(message, "a::b()");
        }
        QStringList records = QString::fromLatin1(log.bytes()).split("<[{()}]>");
        QCOMPARE(records.takeLast(), QString());
        QCOMPARE(records.size(), messages.size());
        for (qsizetype i = 0; i < records.size(); ++i) {
            QCOMPARE(encryptor_string().decryptToString(records.at(i)).mid(21),
                     "][KAVRO_FIELD][Artifacts Extraction][a::b]:-- " + messages.at(i));
        }
        QCOMPARE(plugin::encrypt_string("", "a::b()"), QString());
    }

    void names_make_no_lines_of_their_own()
    {
        for (const bool enciphered : {false, true}) {
            const captured_log log(enciphered);
            plugin::app_debug(QString::fromUtf8("a\nb\r\x1b[2Kc\u0085\u2028d"), "a::b()");
            const QByteArray bytes = log.bytes();
            const QString line =
                enciphered ? encryptor_string().decryptToString(QString(bytes.chopped(8))) + '\n' : bytes;
            QVERIFY2(line.endsWith("]:-- a\\nb\\u000d\\u001b[2Kc\\u0085\\u2028d\n"), qPrintable(line));
            QCOMPARE(line.count('\n'), 1);
        }
    }

    void a_pipe_is_no_log()
    {
        const QTemporaryDir directory;
        QCOMPARE(::mkfifo(qPrintable(directory.filePath("pipe")), 0600), 0);
        for (const QString& path : {directory.filePath("pipe"), QStringLiteral("/dev/null")}) {
            plugin::set_general_info({false, true, false, true, false, path});
            QVERIFY(!plugin::debug_file_regular_QFile.isOpen());
        }
        plugin::set_essentials();
    }

    void essentials_silence_but_keep_the_file_open()
    {
        const captured_log log(true);
        plugin::set_cancel_extraction(true);
        plugin::set_source_count(4);
        struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_source_info source;
        source.source_os_version_full = "14.2";
        source.system_account_QList = {{"ann", ""}};
        plugin::set_source_info(source);
        plugin::set_essentials();
        plugin::app_debug("m", "a::b()");
        QCOMPARE(log.bytes(), "");
        QVERIFY(plugin::debug_encryption_status_bool && plugin::debug_file_regular_QFile.isOpen());
        QVERIFY(!plugin::debug_mode_status_bool && !plugin::debug_print_in_file_bool &&
                !plugin::bool_cancel_extraction);
        QVERIFY(plugin::debug_file_path_QString.isEmpty() && plugin::system_account_QList.isEmpty());
        QCOMPARE(plugin::type_engine_int, -1);
        QCOMPARE(plugin::get_source_count_name(), "Source-1");
        QCOMPARE(plugin::source_os_version_full, "14.2");
    }

    void resetting_host_records()
    {
        struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_source_info source{
            "1", "2", "3", "4", "5", {{"user", "domain"}}, "7", "8", {"9"}, "10", "11", "12", "13"};
        plugin::clear_variables_kavro_and_artifact_common_source_info(source);
        QCOMPARE(source.source_root_path + source.source_type_internal + source.os_scheme_display +
                     source.os_scheme_internal + source.source_os_version_full + source.text_field_7 +
                     source.text_field_8 + source.text_list_9.join("") + source.text_field_10 + source.text_field_11 +
                     source.text_field_12 + source.text_field_13,
                 "1213");
        struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_general_info general{true, true, true, true, true, "log"};
        plugin::clear_variables_kavro_and_artifact_common_general_info(general);
        QVERIFY(source.system_account_QList.isEmpty() && !general.debug_mode_status_bool &&
                general.debug_file_path_QString.isEmpty() && general.debug_encryption_status_bool);
    }
};

QTEST_MAIN(tst_debug_log)
#include "tst_debug_log.moc"
