#pragma once

#include "support/plugin_static_function.h"
#include "tests/common/files.h"

#include <QTemporaryDir>

/// The debug log, written into a file of its own for as long as the object lives.
class captured_log
{
public:
    explicit captured_log(bool enciphered = false)
    {
        plugin_static_function::set_general_info({false, true, false, true, enciphered, path()});
    }
    ~captured_log()
    {
        plugin_static_function::close_debug_file();
        plugin_static_function::set_essentials();
        plugin_static_function::debug_encryption_status_bool = false;
    }
    Q_DISABLE_COPY_MOVE(captured_log)

    QString path() const { return directory.filePath(QStringLiteral("log.txt")); }

    QByteArray bytes() const { return content_of(path()); }

    /// The lines as "class::operation: message".
    QStringList lines() const
    {
        QStringList lines = QString::fromUtf8(bytes()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        for (QString& line : lines) {
            line.remove(0, line.indexOf(QLatin1String("[Artifacts Extraction][")) + 23);
            line.replace(QLatin1String("]:-- "), QLatin1String(": "));
        }
        return lines;
    }

private:
    QTemporaryDir directory;
};
