#include "support/plugin_static_function.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

namespace {

constexpr qint64 chunk_size = 102400;

/// Copies one file, replacing its destination; what does not open is logged under the caller's signature.
void copy_file_in_chunks(const QString& source_path, const QString& destination_path, const char* signature)
{
    // A link to a pipe is listed as a file, and opening it would wait for ever.
    if (!QFileInfo(source_path).isFile()) {
        return;
    }
    QFile source(source_path);
    const auto log_open_failure = [signature](const char* what, const QFile& file) {
        plugin_static_function::app_debug(QString::fromLatin1(what) + file.fileName(), signature);
        plugin_static_function::app_debug(QStringLiteral("[copy_directory] Error:") + file.errorString(), signature);
    };
    if (!source.open(QIODevice::ReadOnly)) {
        log_open_failure("[copy_directory] source file open ----FAILED---- :", source);
        return;
    }
    QFile destination(destination_path);
    if (!destination.open(QIODevice::WriteOnly)) {
        log_open_failure("[copy_directory] destination file open ----FAILED---- :", destination);
        return;
    }
    QByteArray chunk;
    do {
        chunk = source.read(chunk_size);
        if (!chunk.isEmpty()) {
            destination.write(chunk);
        }
    } while (!chunk.isEmpty() && !plugin_static_function::bool_cancel_extraction);
    source.close();
    destination.flush();
    destination.close();
}

} // namespace

bool plugin_static_function::is_file_exist_in_dir(QString directory, QString file_name, QString /*caller*/)
{
    const QString wanted = file_name.trimmed();
    QDirIterator entries(directory);
    while (entries.hasNext()) {
        if (bool_cancel_extraction) {
            return false;
        }
        entries.next();
        if (entries.fileName().trimmed() == wanted) {
            return true;
        }
    }
    return false;
}

QString plugin_static_function::get_available_file(QString file_path, QString directory, QString caller)
{
    QDir().mkpath(directory);
    const QString file_name = QFileInfo(file_path).fileName();
    QString candidate = file_name;
    for (int counter = 1; !bool_cancel_extraction; ++counter) {
        if (!is_file_exist_in_dir(directory, candidate, caller)) {
            return candidate;
        }
        candidate = QString::number(counter) + QLatin1Char('_') + file_name;
    }
    return {};
}

void plugin_static_function::copy_directory(QString source, QString destination)
{
    const QDir source_directory(source);
    if (!source_directory.exists()) {
        app_debug(QStringLiteral("[copy_directory] source diectory does not exist ----FAILED---- :") + source,
                  Q_FUNC_INFO);
        return;
    }
    if (!QDir(destination).exists()) {
        QDir().mkpath(destination);
    }

    const QLatin1Char slash('/');
    for (const QString& name : source_directory.entryList(QDir::Files, QDir::Unsorted)) {
        if (bool_cancel_extraction) {
            break;
        }
        copy_file_in_chunks(source + slash + name, destination + slash + name, Q_FUNC_INFO);
    }
    for (const QString& name : source_directory.entryList(QDir::AllDirs | QDir::NoDotAndDotDot, QDir::Unsorted)) {
        if (bool_cancel_extraction) {
            break;
        }
        copy_directory(source + slash + name, destination + slash + name);
    }
}

void plugin_static_function::remove_directory(QString path)
{
    // An empty path would mean the working directory, and a link could lead into evidence: neither is ever meant here.
    if (path.isEmpty() || QFileInfo(QDir::cleanPath(path)).isSymLink() || !QDir(path).exists()) {
        return;
    }
    const QDir directory(path);
    const auto everything = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
    for (const QFileInfo& entry : directory.entryInfoList(everything, QDir::DirsFirst)) {
        if (entry.isDir() && !entry.isSymLink()) {
            remove_directory(entry.absoluteFilePath());
        } else {
            QFile::remove(entry.absoluteFilePath());
        }
    }
    QDir().rmdir(path);
}
