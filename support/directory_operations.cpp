#include "support/plugin_static_function.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QSet>

namespace {

constexpr qint64 chunk_size = 102400;
/// Whatever takes a name: also what is hidden, and links to nothing, pipes and devices.
constexpr auto every_entry = QDir::AllEntries | QDir::Hidden | QDir::System;

/// Copies one file, replacing its destination; what does not open is logged under the caller's signature.
void copy_file_in_chunks(const QString& source_path, const QString& destination_path, const char* signature)
{
    // A link to a pipe is listed as a file, and opening it would wait for ever.
    if (!QFileInfo(source_path).isFile()) {
        return;
    }
    QFile source(source_path);
    const auto log_open_failure = [signature](const char* what, const QString& path, const QString& error) {
        plugin_static_function::app_debug(QString::fromLatin1(what) + path, signature);
        plugin_static_function::app_debug(QStringLiteral("[copy_directory] Error:") + error, signature);
    };
    if (!source.open(QIODevice::ReadOnly)) {
        log_open_failure("[copy_directory] source file open ----FAILED---- :", source_path, source.errorString());
        return;
    }
    const char* const destination_failed = "[copy_directory] destination file open ----FAILED---- :";
    const QFileInfo present(destination_path);
    if (present.exists() && !present.isFile() && !present.isDir()) {
        log_open_failure(destination_failed, destination_path, QStringLiteral("neither file nor folder"));
        return;
    }
    QFile destination(destination_path);
    if (!destination.open(QIODevice::WriteOnly)) {
        log_open_failure(destination_failed, destination_path, destination.errorString());
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
    QDirIterator entries(directory, every_entry);
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

QString plugin_static_function::get_available_file(QString file_path, QString directory, QString /*caller*/)
{
    QDir().mkpath(directory);
    // Listed once: a folder with many copies of one name would be read again for each of them.
    QSet<QString> taken_names;
    QDirIterator entries(directory, every_entry);
    while (entries.hasNext() && !bool_cancel_extraction) {
        entries.next();
        taken_names.insert(entries.fileName().trimmed());
    }
    const QString file_name = QFileInfo(file_path).fileName();
    QString candidate = file_name;
    for (int counter = 1; !bool_cancel_extraction; ++counter) {
        if (!taken_names.contains(candidate.trimmed())) {
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
    for (const QFileInfo& entry : directory.entryInfoList(every_entry | QDir::NoDotAndDotDot, QDir::DirsFirst)) {
        if (entry.isDir() && !entry.isSymLink()) {
            remove_directory(entry.absoluteFilePath());
        } else {
            QFile::remove(entry.absoluteFilePath());
        }
    }
    QDir().rmdir(path);
}
