#include "host/result/manifest.h"
#include "tests/fuzz/fuzz_target.h"

#include <QTemporaryDir>

#include <vector>

namespace {

/// Reads a manifest up to its end or to the line that cannot be understood.
std::vector<manifest_entry> entries_of(const QString& path)
{
    std::vector<manifest_entry> entries;
    manifest_reader reader;
    require(reader.open(path));
    while (auto entry = reader.next()) {
        entries.push_back(std::move(*entry));
    }
    return entries;
}

/// The line that every manifest begins with, or no input would get past it.
QByteArray header_line(const QString& directory)
{
    manifest_writer writer;
    require(writer.open(directory) && writer.commit());
    QFile file(directory + QStringLiteral("/manifest.csv"));
    require(file.open(QIODevice::ReadOnly));
    return file.readAll();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const QTemporaryDir directory;
    static const QString path = directory.filePath(QStringLiteral("manifest.csv"));
    static const QByteArray header = header_line(directory.path());
    {
        QFile file(path);
        require(file.open(QIODevice::WriteOnly) && file.write(header + bytes_of(data, size)) > 0);
    }
    const std::vector<manifest_entry> entries = entries_of(path);
    if (!entries.empty()) {
        manifest_writer writer;
        require(writer.open(directory.path()));
        for (const manifest_entry& entry : entries) {
            writer.write(entry);
        }
        require(writer.commit() && entries_of(path) == entries);
    }
    return 0;
}
