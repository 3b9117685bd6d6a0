#include "host/source/system_version.h"

#include "host/files/property_list.h"
#include "host/files/quiet_reading.h"

#include <QDir>
#include <QFile>

namespace {

// The real file has less than a kilobyte; what stands in its place in a source may be anything.
constexpr qint64 longest_statement = 65'536;

} // namespace

QString system_version(const QString& source_root)
{
    const QString path = QDir(source_root).filePath(QLatin1String(system_version_path));
    const QByteArray data = quiet_read(QFile::encodeName(path), longest_statement).data;
    const auto value = [&data](const char* key) { return property_list_string(data, QLatin1String(key)).value; };
    const QString build = value("ProductBuildVersion");
    QString version = value("ProductName") + QLatin1Char(' ') + value("ProductVersion");
    if (!build.isEmpty()) {
        version += QStringLiteral(" (%1)").arg(build);
    }
    return version.trimmed();
}
