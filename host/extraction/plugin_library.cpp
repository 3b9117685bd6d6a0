#include "host/extraction/plugin_library.h"

#include "host/text/failure.h"
#include "plugin/apple_mail_extractor.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace {

constexpr const char* library_name = "apple_mail_extractor";

// In the build tree and where the program is installed as usual, the library lies in a neighbouring directory.
constexpr const char* neighbouring_directories[] = {"../lib", "../" LIBRARY_INSTALL_DIRECTORY};

[[noreturn]] void refuse_library(const QString& path, const QString& reason)
{
    refuse(QStringLiteral("cannot load the plug-in %1: %2").arg(path, reason.simplified()));
}

} // namespace

plugin_library::plugin_library(const QString& file)
{
    if (!file.isEmpty()) {
        const QFileInfo info(file);
        if (!info.exists()) {
            refuse_library(file, QStringLiteral("no such file"));
        }
        library.setFileName(info.absoluteFilePath());
        library.load();
    } else {
        for (const char* directory : neighbouring_directories) {
            library.setFileName(QDir::cleanPath(QCoreApplication::applicationDirPath() + QLatin1Char('/') +
                                                QLatin1String(directory) + QLatin1Char('/') +
                                                QLatin1String(library_name)));
            if (library.load()) {
                break;
            }
        }
    }
    if (!library.isLoaded()) {
        refuse_library(library.fileName(), library.errorString());
    }
    create_object = reinterpret_cast<factory>(library.resolve("create_object"));
    if (create_object == nullptr) {
        refuse_library(library.fileName(), QStringLiteral("it has no function create_object"));
    }
}

std::unique_ptr<apple_mail_extractor> plugin_library::create() const
{
    return std::unique_ptr<apple_mail_extractor>(create_object());
}

QString plugin_library::version() const
{
    return create()->property("plugin_version").toString();
}
