#include "host/source/system_version.h"

#include "host/files/file_tree.h"
#include "host/files/property_list.h"
#include "host/files/quiet_reading.h"

namespace {

// The real file has less than a kilobyte; what stands in its place in a source may be anything.
constexpr qint64 longest_statement = 65'536;

} // namespace

system_statement read_system_statement(const QByteArray& source_root)
{
    const quiet_data read = quiet_read(child_path(source_root, system_version_path), longest_statement);
    const auto value = [&read](const char* key) { return property_list_string(read.data, QLatin1String(key)).value; };
    const QString build = value("ProductBuildVersion");
    QString version = value("ProductName") + QLatin1Char(' ') + value("ProductVersion");
    if (!build.isEmpty()) {
        version += QStringLiteral(" (%1)").arg(build);
    }
    return {version.trimmed(), read.error, read.error_number};
}
