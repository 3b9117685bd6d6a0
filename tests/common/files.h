#pragma once

#include <QDir>
#include <QFile>
#include <QFileInfo>

/// Writes a file, with its folders; returns its path.
inline QString write_file(const QString& path, const QByteArray& content = "x")
{
    QFile file(path);
    if (!QDir().mkpath(QFileInfo(path).path()) || !file.open(QIODevice::WriteOnly) ||
        file.write(content) != content.size()) {
        qFatal("%s cannot be written", qUtf8Printable(path));
    }
    return path;
}

/// A file's bytes, or "FAILED: " and the reason.
inline QByteArray content_of(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : "FAILED: " + file.errorString().toUtf8();
}
