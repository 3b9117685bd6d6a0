#include "host/result/manifest.h"
#include "host/text/failure.h"
#include "tests/fuzz/fuzz_target.h"

#include <QDir>

#include <vector>

namespace {

const result_paths& result()
{
    static const result_paths paths(scratch_directory());
    static const bool is_made = QDir().mkpath(paths.products());
    require(is_made);
    return paths;
}

/// Reads a manifest up to its end or to the line that cannot be understood.
std::vector<manifest_entry> entries_of(const QString& path, bool& is_whole)
{
    std::vector<manifest_entry> entries;
    manifest_reader reader(path);
    try {
        while (auto entry = reader.next()) {
            entries.push_back(std::move(*entry));
        }
        is_whole = true;
    } catch (const failure& refusal) {
        require(refusal.message().contains(QStringLiteral(": line %1 ").arg(entries.size() + 2)));
        is_whole = false;
    }
    return entries;
}

void write(const std::vector<manifest_entry>& entries)
{
    manifest_writer writer(result());
    for (const manifest_entry& entry : entries) {
        writer.write(entry);
    }
    writer.commit();
}

QByteArray manifest_of(const std::vector<manifest_entry>& entries)
{
    write(entries);
    QFile file(result().path(product::manifest));
    require(file.open(QIODevice::ReadOnly));
    return file.readAll();
}

/// The line that every manifest begins with, or no input would get past it.
const QByteArray& header()
{
    static const QByteArray line = manifest_of({});
    return line;
}

} // namespace

fuzz_plan plan()
{
    manifest_entry entry;
    entry.path = "Users/ann/Library/Mail/a";
    entry.copy = "artifacts/a,b";
    entry.source_sha256 = entry.copy_sha256 = sha256_digest{};
    entry.metadata.modified = file_time{1'700'000'000, 5};
    entry.metadata.mode = 0644;
    const QByteArray lines = manifest_of({entry}).mid(header().size());
    return {1024,
            {"copied", "kept", "missing", "unreadable", "%0A", "\"", "\r\n", ",", "2024-03-05T14:07:09.000000000Z",
             QByteArray(64, '0'), "18446744073709551615", "7777", "-1"},
            {lines, lines + lines}};
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const scratch_file file(QStringLiteral("read.csv"));
    file.write(header() + bytes_of(data, size));
    bool is_whole = false;
    const std::vector<manifest_entry> entries = entries_of(file.path(), is_whole);
    require(!is_whole || qsizetype(entries.size()) == bytes_of(data, size).count("\r\n"));
    if (!entries.empty()) {
        write(entries);
        require(entries_of(result().path(product::manifest), is_whole) == entries && is_whole);
    }
    return 0;
}
