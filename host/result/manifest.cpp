#include "host/result/manifest.h"

#include "host/files/quiet_reading.h"
#include "host/result/sums.h"
#include "host/text/csv.h"
#include "host/text/failure.h"

#include <limits>

namespace {

constexpr const char* header_line = "path,copy,user,size,modified_utc,source_sha256,copy_sha256,status,reason,"
                                    "accessed_utc,changed_utc,born_utc,mode,owner,group,inode\r\n";
constexpr qsizetype column_count = 16;

QString words_of(const QFile& file)
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

QByteArray time_or_empty(const std::optional<file_time>& time)
{
    return time ? time_to_text(*time) : QByteArray();
}

/// Reads a time column into `time`; false for a text that is neither empty nor a time.
bool read_time(const QByteArray& text, std::optional<file_time>& time)
{
    time = time_from_text(text);
    return time || text.isEmpty();
}

template <typename number>
QByteArray number_or_empty(const std::optional<number>& value, int base = 10)
{
    return value ? QByteArray::number(*value, base) : QByteArray();
}

/// Reads a column of digits into `value`; false for a text that is neither empty nor what number_or_empty() writes.
template <typename number>
bool read_number(const QByteArray& text, std::optional<number>& value, int base = 10)
{
    bool is_number = false;
    const quint64 found = text.toULongLong(&is_number, base);
    if (is_number && found <= std::numeric_limits<number>::max()) {
        value = static_cast<number>(found);
    }
    return number_or_empty(value, base) == text;
}

bool read_metadata(const QByteArrayList& fields, source_metadata& metadata)
{
    return read_time(fields[4], metadata.modified) && read_time(fields[9], metadata.accessed) &&
           read_time(fields[10], metadata.changed) && read_time(fields[11], metadata.born) &&
           read_number(fields[12], metadata.mode, 8) && read_number(fields[13], metadata.owner) &&
           read_number(fields[14], metadata.group) && read_number(fields[15], metadata.inode);
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
    const auto status = status_from_name(fields[7]);
    const auto reason = percent_decoded_name(fields[8]);
    if (!path || !copy || !user || !size_valid || !status || !reason) {
        return std::nullopt;
    }
    if (!read_digest(fields[5], entry.source_sha256) || !read_digest(fields[6], entry.copy_sha256) ||
        !read_metadata(fields, entry.metadata)) {
        return std::nullopt;
    }
    entry.path = *path;
    entry.copy = *copy;
    entry.user = *user;
    entry.status = *status;
    entry.reason = *reason;
    return entry;
}

} // namespace

source_metadata metadata_of(const entry_facts& facts)
{
    if (!facts.error.isEmpty()) {
        return {};
    }
    return {facts.modified, facts.accessed, facts.changed, facts.born,
            facts.mode,     facts.owner,    facts.group,   facts.inode};
}

bool has_proven_copy(const manifest_entry& entry)
{
    const bool taken = entry.status == entry_status::copied || entry.status == entry_status::kept ||
                       entry.status == entry_status::link;
    return taken && entry.copy_sha256 && entry.copy_sha256 == entry.source_sha256;
}

manifest_writer::manifest_writer(const result_paths& result)
    : manifest(result.path(product::manifest))
    , sums(result.path(product::sums))
{
    manifest.write(header_line);
}

void manifest_writer::write(const manifest_entry& entry)
{
    const source_metadata& metadata = entry.metadata;
    manifest.write(
        csv_line({percent_encoded_cell(entry.path), percent_encoded_cell(entry.copy), percent_encoded_cell(entry.user),
                  QByteArray::number(entry.size), time_or_empty(metadata.modified), hex_or_empty(entry.source_sha256),
                  hex_or_empty(entry.copy_sha256), entry_status_name(entry.status), percent_encoded_cell(entry.reason),
                  time_or_empty(metadata.accessed), time_or_empty(metadata.changed), time_or_empty(metadata.born),
                  number_or_empty(metadata.mode, 8), number_or_empty(metadata.owner), number_or_empty(metadata.group),
                  number_or_empty(metadata.inode)}));
    if (has_proven_copy(entry)) {
        sums.write(sums_line(*entry.copy_sha256, entry.copy));
    }
}

void manifest_writer::commit()
{
    manifest.commit();
    sums.commit();
}

manifest_reader::manifest_reader(const QString& path) : file(path)
{
    // Opening a pipe would wait for a writer.
    const entry_kind kind = quiet_stat(QFile::encodeName(path), link_handling::follow).kind;
    if (kind != entry_kind::file && kind != entry_kind::absent && kind != entry_kind::unknown) {
        refuse(QStringLiteral("%1: is no file: %2").arg(path, kind_text(kind)));
    }
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
        if (file.pos() != file.size()) {
            refuse(QStringLiteral("%1: it ended at byte %2 of %3")
                       .arg(file.fileName(), QString::number(file.pos()), QString::number(file.size())));
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
