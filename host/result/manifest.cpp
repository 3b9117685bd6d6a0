#include "host/result/manifest.h"

#include <QDir>

namespace {

constexpr const char* header_line = "path,copy,user,size,modified_utc,source_sha256,copy_sha256,status,reason\r\n";
constexpr qsizetype column_count = 9;

QByteArray csv_field(const QByteArray& name)
{
    QByteArray field = percent_encoded_name(name);
    if (!field.contains('"') && !field.contains(',')) {
        return field;
    }
    return '"' + field.replace("\"", "\"\"") + '"';
}

/// Splits one line without its line end; nothing when its quotes are out of order.
std::optional<QByteArrayList> csv_fields(const QByteArray& line)
{
    QByteArrayList fields{QByteArray()};
    bool quoted = false;
    for (qsizetype i = 0; i < line.size(); ++i) {
        if (line[i] == '"') {
            const bool doubled = quoted && i + 1 < line.size() && line[i + 1] == '"';
            if (doubled) {
                fields.last() += line[++i];
            } else if (quoted || fields.last().isEmpty()) {
                quoted = !quoted;
            } else {
                return std::nullopt;
            }
        } else if (line[i] == ',' && !quoted) {
            fields.append(QByteArray());
        } else {
            fields.last() += line[i];
        }
    }
    if (quoted) {
        return std::nullopt;
    }
    return fields;
}

QByteArray hex_or_empty(const std::optional<sha256_digest>& digest)
{
    return digest ? digest_to_hex(*digest) : QByteArray();
}

/// Reads a digest column into `digest`; false for a text that is neither empty nor a digest.
bool read_digest(const QByteArray& text, std::optional<sha256_digest>& digest)
{
    digest = digest_from_hex(text);
    return digest || text.isEmpty();
}

std::optional<entry_status> status_from_name(const QByteArray& name)
{
    for (std::size_t i = 0; i < entry_status_names.size(); ++i) {
        if (name == entry_status_names[i]) {
            return static_cast<entry_status>(i);
        }
    }
    return std::nullopt;
}

std::optional<manifest_entry> entry_from_fields(const QByteArrayList& fields)
{
    if (fields.size() != column_count) {
        return std::nullopt;
    }
    manifest_entry entry;
    bool size_valid = false;
    entry.size = fields[3].toLongLong(&size_valid);
    const auto path = percent_decoded_name(fields[0]);
    const auto copy = percent_decoded_name(fields[1]);
    const auto user = percent_decoded_name(fields[2]);
    const auto modified = time_from_text(fields[4]);
    const auto status = status_from_name(fields[7]);
    const auto reason = percent_decoded_name(fields[8]);
    if (!path || !copy || !user || !size_valid || !modified || !status || !reason) {
        return std::nullopt;
    }
    if (!read_digest(fields[5], entry.source_sha256) || !read_digest(fields[6], entry.copy_sha256)) {
        return std::nullopt;
    }
    entry.path = *path;
    entry.copy = *copy;
    entry.user = *user;
    entry.modified_ns = *modified;
    entry.status = *status;
    entry.reason = *reason;
    return entry;
}

/// One line as sha256sum writes it: a leading backslash says that the name is escaped.
QByteArray sums_line(const manifest_entry& entry)
{
    QByteArray name = entry.copy;
    const bool escaped = name.contains('\\') || name.contains('\n') || name.contains('\r');
    if (escaped) {
        name.replace("\\", "\\\\").replace("\n", "\\n").replace("\r", "\\r");
    }
    return (escaped ? QByteArray("\\") : QByteArray()) + digest_to_hex(*entry.copy_sha256) + "  " + name + '\n';
}

} // namespace

bool has_proven_copy(const manifest_entry& entry)
{
    const bool taken = entry.status == entry_status::copied || entry.status == entry_status::link;
    return taken && entry.copy_sha256 && entry.copy_sha256 == entry.source_sha256;
}

bool manifest_writer::fail(const QSaveFile& file)
{
    if (failure.isEmpty()) {
        failure = file.fileName() + QStringLiteral(": ") + file.errorString();
    }
    manifest.cancelWriting();
    sums.cancelWriting();
    return false;
}

bool manifest_writer::open(const QString& directory)
{
    manifest.setFileName(directory + QStringLiteral("/manifest.csv"));
    sums.setFileName(directory + QStringLiteral("/SHA256SUMS"));
    if (!QDir().mkpath(directory)) {
        failure = directory + QStringLiteral(": the directory cannot be created");
        return false;
    }
    for (QSaveFile* file : {&manifest, &sums}) {
        if (!file->open(QIODevice::WriteOnly)) {
            return fail(*file);
        }
    }
    manifest.write(header_line);
    return true;
}

void manifest_writer::write(const manifest_entry& entry)
{
    manifest.write(csv_field(entry.path) + ',' + csv_field(entry.copy) + ',' + csv_field(entry.user) + ',' +
                   QByteArray::number(entry.size) + ',' + time_to_text(entry.modified_ns) + ',' +
                   hex_or_empty(entry.source_sha256) + ',' + hex_or_empty(entry.copy_sha256) + ',' +
                   entry_status_name(entry.status) + ',' + csv_field(entry.reason) + "\r\n");
    if (has_proven_copy(entry)) {
        sums.write(sums_line(entry));
    }
}

bool manifest_writer::commit()
{
    // A write that failed on the way is remembered by the file and makes its commit() fail; both are flushed before
    // either is put in place, so that a full disk leaves the old pair together.
    for (QSaveFile* file : {&manifest, &sums}) {
        if (!file->flush()) {
            return fail(*file);
        }
    }
    for (QSaveFile* file : {&manifest, &sums}) {
        if (!file->commit()) {
            return fail(*file);
        }
    }
    return true;
}

bool manifest_reader::open(const QString& path)
{
    file.setFileName(path);
    if (!file.open(QIODevice::ReadOnly)) {
        failure = path + QStringLiteral(": ") + file.errorString();
        return false;
    }
    line_number = 1;
    if (file.readLine() == header_line) {
        return true;
    }
    failure = path + QStringLiteral(": this is not a manifest of this program (its first line differs)");
    return false;
}

std::optional<manifest_entry> manifest_reader::next()
{
    QByteArray line = file.readLine();
    if (line.isEmpty()) {
        if (file.error() != QFileDevice::NoError) {
            failure = file.fileName() + QStringLiteral(": ") + file.errorString();
        }
        return std::nullopt;
    }
    ++line_number;
    std::optional<manifest_entry> entry;
    if (line.endsWith("\r\n")) {
        line.chop(2);
        if (const auto fields = csv_fields(line)) {
            entry = entry_from_fields(*fields);
        }
    }
    if (!entry) {
        failure = QStringLiteral("%1: line %2 cannot be understood").arg(file.fileName()).arg(line_number);
    }
    return entry;
}
