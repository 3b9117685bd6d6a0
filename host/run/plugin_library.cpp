#include "host/run/plugin_library.h"

#include "host/terminal/command_failure.h"
#include "host/terminal/exit_codes.h"
#include "plugin/apple_mail_extractor.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace {

constexpr const char* library_name = "apple_mail_extractor";

// In the build tree and where the program is installed as usual, the library lies in a neighbouring directory.
constexpr const char* neighbouring_directories[] = {"../lib", "../" LIBRARY_INSTALL_DIRECTORY};

[[noreturn]] void refuse(const QString& path, const QString& reason)
{
    throw command_failure(exit_code::could_not_run,
                          QStringLiteral("cannot load the plug-in %1: %2").arg(path, reason.simplified()));
}

} // namespace

plugin_library::plugin_library(const QString& file)
{
    if (!file.isEmpty()) {
        const QFileInfo info(file);
        if (!info.exists()) {
            refuse(file, QStringLiteral("no such file"));
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
        refuse(library.fileName(), library.errorString());
    }
    create_object = reinterpret_cast<factory>(library.resolve("create_object"));
    if (create_object == nullptr) {
        refuse(library.fileName(), QStringLiteral("it has no function create_object"));
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
