#include "support/encryptor_string.h"
#include "support/plugin_static_function.h"
#include "support/shared_texts.h"

#include <QDateTime>
#include <QDebug>
#include <QFileInfo>
#include <QLocale>

namespace {

/// Reduces a function's full signature to "class::operation".
QString reduced_function_text(const QString& function)
{
    QString reduced = function.trimmed();
    if (reduced.isEmpty()) {
        return QStringLiteral("FUNCTION INFO IS EMPTY ---FAILED--- debug!!!");
    }
    // Readers of existing logs know a text without "(" by its missing last character.
    const qsizetype parenthesis = reduced.indexOf(QLatin1Char('('));
    reduced.truncate(parenthesis >= 0 ? parenthesis : reduced.size() - 1);
    reduced = reduced.trimmed();
    return reduced.mid(reduced.lastIndexOf(QLatin1Char(' ')) + 1).trimmed();
}

/// Returns a text with its control characters written out: a file's name may hold a line break, or codes that a
/// terminal obeys, and must not look like lines that the plug-in never wrote.
QString without_control_characters(const QString& text)
{
    QString harmless;
    harmless.reserve(text.size());
    for (const QChar character : text) {
        const QChar::Category category = character.category();
        const bool breaks_lines = category == QChar::Separator_Line || category == QChar::Separator_Paragraph;
        if (character == u'\n') {
            harmless += QLatin1String("\\n");
        } else if (breaks_lines || (category == QChar::Other_Control && character != u'\t')) {
            harmless += QStringLiteral("\\u%1").arg(int{character.unicode()}, 4, 16, QLatin1Char('0'));
        } else {
            harmless += character;
        }
    }
    return harmless;
}

QString engine_text(int engine_type)
{
    const auto& names = shared_texts::engine_names;
    if (engine_type >= 0 && engine_type < static_cast<int>(names.size())) {
        return QStringLiteral("][") + names[static_cast<size_t>(engine_type)];
    }
    return shared_texts::unknown_engine + QString::number(engine_type);
}

} // namespace

void plugin_static_function::app_debug(QString message, QString function)
{
    if (!debug_mode_status_bool) {
        return;
    }

    const QString timestamp =
        QLocale::c().toString(QDateTime::currentDateTime(), QStringLiteral("yyyy-MMM-ddThh-mm-ss"));
    const QString line = QLatin1Char('[') + timestamp + engine_text(type_engine_int) +
                         QStringLiteral("][Artifacts Extraction][") + reduced_function_text(function) +
                         QStringLiteral("]:-- ") + message;

    if (debug_print_on_terminal_bool) {
        qDebug() << line; // which quotes the text, control characters included
    }
    if (!debug_print_in_file_bool || !debug_file_regular_QFile.isOpen()) {
        return;
    }
    const QString written = without_control_characters(line);
    if (debug_encryption_status_bool) {
        debug_file_regular_QFile.write(encrypt_string(written, Q_FUNC_INFO).toLocal8Bit());
        debug_file_regular_QFile.write(shared_texts::record_marker.data(), shared_texts::record_marker.size());
    } else {
        debug_file_regular_QFile.write(written.toLocal8Bit());
        debug_file_regular_QFile.write("\n");
    }
    // A crash of the host must leave a complete log.
    debug_file_regular_QFile.flush();
}

void plugin_static_function::set_general_info(struct_GLOBAL_COMMON_KAVRO_AND_ARTIFACT_general_info general_info)
{
    debug_file_path_QString = general_info.debug_file_path_QString;
    debug_mode_status_bool = general_info.debug_mode_status_bool;
    debug_print_in_file_bool = general_info.debug_print_in_file_bool;
    debug_print_on_terminal_bool = general_info.debug_print_on_terminal_bool;
    debug_encryption_status_bool = general_info.debug_encryption_status_bool;
    open_debug_file();
}

void plugin_static_function::open_debug_file()
{
    if (!debug_mode_status_bool || !debug_print_in_file_bool) {
        return;
    }
    debug_file_regular_QFile.setFileName(debug_file_path_QString);
    // Opening a pipe would wait for its reader, and a device keeps no log.
    const QFileInfo present(debug_file_path_QString);
    if (present.exists() && !present.isFile()) {
        return;
    }
    // A file that does not open receives nothing; there is nowhere to report it.
    static_cast<void>(debug_file_regular_QFile.open(QIODevice::WriteOnly | QIODevice::Append));
}

void plugin_static_function::close_debug_file()
{
    if (!debug_file_regular_QFile.isOpen()) {
        return;
    }
    debug_file_regular_QFile.flush();
    debug_file_regular_QFile.close();
}

QString plugin_static_function::encrypt_string(QString plain, QString /*function*/)
{
    if (plain.isEmpty()) {
        return {};
    }
    return encryptor_string().encryptToString(plain);
}
