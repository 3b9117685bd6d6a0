#include "host/result/manifest.h"

#include "host/text/csv.h"
#include "host/text/failure.h"

#include <QDir>

namespace {

constexpr const char* header_line = "path,copy,user,size,modified_utc,source_sha256,copy_sha256,status,reason\r\n";
constexpr qsizetype column_count = 9;

QString words_of(const QFileDevice& file)
{
    return file.fileName() + QStringLiteral(": ") + file.errorString();
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

manifest_writer::manifest_writer(const result_paths& result)
    : manifest(result.path(product::manifest))
    , sums(result.path(product::sums))
{
    if (!QDir().mkpath(result.products())) {
        refuse(result.products() + QStringLiteral(": the directory cannot be created"));
    }
    for (QSaveFile* file : {&manifest, &sums}) {
        if (!file->open(QIODevice::WriteOnly)) {
            refuse(words_of(*file));
        }
    }
    manifest.write(header_line);
}

void manifest_writer::write(const manifest_entry& entry)
{
    manifest.write(csv_line(
        {percent_encoded_name(entry.path), percent_encoded_name(entry.copy), percent_encoded_name(entry.user),
         QByteArray::number(entry.size), time_to_text(entry.modified_ns), hex_or_empty(entry.source_sha256),
         hex_or_empty(entry.copy_sha256), entry_status_name(entry.status), percent_encoded_name(entry.reason)}));
    if (has_proven_copy(entry)) {
        sums.write(sums_line(entry));
    }
}

void manifest_writer::commit()
{
    // A write that failed on the way is remembered by the file and makes its commit() fail; both are flushed before
    // either is put in place, so that a full disk leaves the old pair together.
    for (QSaveFile* file : {&manifest, &sums}) {
        if (!file->flush()) {
            refuse(words_of(*file));
        }
    }
    for (QSaveFile* file : {&manifest, &sums}) {
        if (!file->commit()) {
            refuse(words_of(*file));
        }
    }
}

manifest_reader::manifest_reader(const QString& path) : file(path)
{
    if (!file.open(QIODevice::ReadOnly)) {
        refuse(words_of(file));
    }
    line_number = 1;
    if (file.readLine() != header_line) {
        refuse(path + QStringLiteral(": this is not a manifest of this program (its first line differs)"));
    }
}

std::optional<manifest_entry> manifest_reader::next()
{
    QByteArray line = file.readLine();
    if (line.isEmpty()) {
        if (file.error() != QFileDevice::NoError) {
            refuse(words_of(file));
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
        refuse(QStringLiteral("%1: line %2 cannot be understood").arg(file.fileName()).arg(line_number));
    }
    return entry;
}
