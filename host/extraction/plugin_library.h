#pragma once

#include <QLibrary>
#include <QString>

#include <memory>

class apple_mail_extractor;

/// The plug-in's shared library, loaded until the process ends.
class plugin_library
{
public:
    /// Loads `file`, or the library that belongs to this program when it is empty. Throws a failure that names
    /// the path and the reason.
    explicit plugin_library(const QString& file);

    /// Returns a new plug-in object; needs a QApplication.
    std::unique_ptr<apple_mail_extractor> create() const;
    /// Returns the plug-in's own version; empty when it does not tell. Needs a QApplication.
    QString version() const;
    /// Returns the absolute path of the library.
    QString path() const { return library.fileName(); }

private:
    using factory = apple_mail_extractor* (*)();

    QLibrary library;
    factory create_object = nullptr;
};
