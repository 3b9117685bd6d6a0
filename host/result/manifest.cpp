#include "host/result/manifest.h"

#include "host/files/quiet_reading.h"
#include "host/result/sums.h"
#include "host/text/csv.h"
#include "host/text/failure.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace {

constexpr const char* header_line = "path,copy,user,size,modified_utc,source_sha256,copy_sha256,status,reason,"
                                    "accessed_utc,changed_utc,born_utc,mode,owner,group,inode\r\n";
constexpr std::size_t column_count = 16;
constexpr qsizetype piece_bytes = 262'144;
// No two paths are so long; a line that goes on is of no manifest, and would fill the memory.
constexpr qsizetype longest_line = qsizetype(1) << 20;

using manifest_fields = std::array<QByteArrayView, column_count>;

QString words_of(const QFile& file)
{
    return file.fileName() + QStringLiteral(": ") + file.errorString();
}

QByteArray hex_or_empty(const std::optional<sha256_digest>& digest)
{
    return digest ? digest_to_hex(*digest) : QByteArray();
}

/// Reads a digest column into `digest`; false for a text that is neither empty nor a digest.
bool read_digest(QByteArrayView text, std::optional<sha256_digest>& digest)
{
    digest = digest_from_hex(text);
    return digest || text.isEmpty();
}

std::optional<entry_status> status_from_name(QByteArrayView name)
{
    for (std::size_t i = 0; i < entry_status_names.size(); ++i) {
        if (name == QByteArrayView(entry_status_names[i])) {
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
bool read_time(QByteArrayView text, std::optional<file_time>& time)
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
bool read_number(QByteArrayView text, std::optional<number>& value, int base = 10)
{
    if (text.isEmpty()) {
        return true;
    }
    // The last number with room for a further digit: a text that goes on behind it tells none of these.
    const number most = std::numeric_limits<number>::max() / static_cast<number>(base);
    number read = 0;
    for (const char digit : text) {
        const int digit_value = digit - '0';
        if (digit_value < 0 || digit_value >= base || read > most) {
            return false;
        }
        const auto times_base = static_cast<number>(read * static_cast<number>(base));
        read = static_cast<number>(times_base + static_cast<number>(digit_value));
        if (read < times_base) {
            return false;
        }
    }
    value = read;
    return text.size() == 1 || text.front() != '0';
}

bool read_metadata(const manifest_fields& fields, source_metadata& metadata)
{
    return read_time(fields[4], metadata.modified) && read_time(fields[9], metadata.accessed) &&
           read_time(fields[10], metadata.changed) && read_time(fields[11], metadata.born) &&
           read_number(fields[12], metadata.mode, 8) && read_number(fields[13], metadata.owner) &&
           read_number(fields[14], metadata.group) && read_number(fields[15], metadata.inode);
}

std::optional<manifest_entry> entry_from_fields(const manifest_fields& fields)
{
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

/// Reads a line without its end; nothing when it cannot be understood.
std::optional<manifest_entry> entry_from_line(QByteArrayView line)
{
    manifest_fields fields;
    if (line.contains('"')) {
        const auto unquoted = csv_fields(line.toByteArray());
        if (!unquoted || std::size_t(unquoted->size()) != column_count) {
            return std::nullopt;
        }
        std::copy(unquoted->begin(), unquoted->end(), fields.begin());
        return entry_from_fields(fields);
    }
    std::size_t column = 0;
    for (qsizetype begin = 0, end = 0; end >= 0; begin = end + 1) {
        if (column == column_count) {
            return std::nullopt;
        }
        end = line.indexOf(',', begin);
        fields[column++] = end < 0 ? line.sliced(begin) : line.sliced(begin, end - begin);
    }
    return column == column_count ? entry_from_fields(fields) : std::nullopt;
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
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
        refuse(words_of(file));
    }
    line_number = 1;
    if (next_line() != header_line) {
        refuse(path + QStringLiteral(": this is not a manifest of this program (its first line differs)"));
    }
}

/// Returns the next line with its end, or what is left before the end of the file; valid until the next call.
QByteArrayView manifest_reader::next_line()
{
    for (qsizetype searched = begin;;) {
        if (const qsizetype end = QByteArrayView(piece).first(filled).indexOf('\n', searched); end >= 0) {
            const QByteArrayView line = QByteArrayView(piece).sliced(begin, end + 1 - begin);
            begin = end + 1;
            return line;
        }
        searched = filled - begin;
        if (searched > longest_line) {
            return QByteArrayView(piece).sliced(std::exchange(begin, filled), searched);
        }
        piece.remove(0, begin);
        piece.resize(searched + piece_bytes);
        begin = 0;
        const qint64 got = file.read(piece.data() + searched, piece_bytes);
        filled = searched + std::max<qint64>(got, 0);
        if (got <= 0) {
            begin = filled;
            return QByteArrayView(piece).first(filled);
        }
    }
}

std::optional<manifest_entry> manifest_reader::next()
{
    QByteArrayView line = next_line();
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
        entry = entry_from_line(line.chopped(2));
    }
    if (!entry) {
        refuse(QStringLiteral("%1: line %2 cannot be understood").arg(file.fileName()).arg(line_number));
    }
    return entry;
}

qint64 manifest_reader::count_rest()
{
    qint64 lines = 0;
    while (!next_line().isEmpty()) {
        ++lines;
    }
    return lines;
}
