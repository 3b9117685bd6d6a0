#include "host/completeness/emptied_parts.h"

#include <algorithm>

namespace {

// Far above what real mail needs, low enough that a message made to waste memory cannot.
constexpr qsizetype longest_line = 16'384;
constexpr qsizetype longest_field = 16'384;
constexpr qsizetype deepest = 64;
constexpr int most_parts = 20'000;

QByteArrayView without_line_end(QByteArrayView line)
{
    return line.endsWith('\r') ? line.chopped(1) : line;
}

bool is_blank(QByteArrayView line)
{
    return std::all_of(line.begin(), line.end(), [](char c) { return c == ' ' || c == '\t' || c == '\r'; });
}

/// The value of a parameter of a header field ("boundary"), unquoted; empty when there is none. Parameters that are
/// split or encoded ("filename*0", "name*") are found by their beginning.
QByteArray parameter(const QByteArray& value, QByteArrayView name)
{
    const QByteArray lower = value.toLower();
    const QByteArrayView text(lower);
    qsizetype equals = -1;
    for (qsizetype at = lower.indexOf(';'); at >= 0; at = lower.indexOf(';', at + 1)) {
        qsizetype begin = at + 1;
        while (begin < lower.size() && (lower[begin] == ' ' || lower[begin] == '\t')) {
            ++begin;
        }
        // Copying and searching the rest anew at each semicolon takes a second a megabyte of nothing else.
        equals = equals < begin ? lower.indexOf('=', begin) : equals;
        if (equals < 0) {
            return {};
        }
        if (!text.sliced(begin).startsWith(name)) {
            continue;
        }
        const QByteArrayView written = text.sliced(begin, equals - begin).trimmed();
        const QByteArrayView behind = written.sliced(std::min(name.size(), written.size()));
        if (!written.startsWith(name) || (!behind.isEmpty() && !behind.startsWith('*'))) {
            continue;
        }
        const QByteArray rest = value.sliced(equals + 1).trimmed();
        if (rest.startsWith('"')) {
            const qsizetype end = rest.indexOf('"', 1);
            return rest.sliced(1, (end < 0 ? rest.size() : end) - 1);
        }
        const qsizetype end = rest.indexOf(';');
        return rest.first(end < 0 ? rest.size() : end).trimmed();
    }
    return {};
}

QByteArray first_word(const QByteArray& value)
{
    const qsizetype end = value.indexOf(';');
    return value.first(end < 0 ? value.size() : end).trimmed().toLower();
}

QByteArray numbered(const QByteArray& prefix, int number)
{
    return prefix.isEmpty() ? QByteArray::number(number) : prefix + '.' + QByteArray::number(number);
}

} // namespace

emptied_part_finder::emptied_part_finder()
{
    begin_part("1", {});
}

void emptied_part_finder::add(QByteArrayView piece)
{
    while (!piece.isEmpty()) {
        const qsizetype end = piece.indexOf('\n');
        const QByteArrayView bytes = end < 0 ? piece : piece.first(end);
        if (!skipping_line) {
            line_so_far.append(bytes.first(std::min(bytes.size(), longest_line - line_so_far.size())));
            skipping_line = line_so_far.size() == longest_line;
        }
        if (end < 0) {
            return;
        }
        take_line(without_line_end(line_so_far));
        line_so_far.clear();
        skipping_line = false;
        piece = piece.sliced(end + 1);
    }
}

std::vector<emptied_part> emptied_part_finder::finish()
{
    if (!line_so_far.isEmpty()) {
        take_line(without_line_end(line_so_far));
        line_so_far.clear();
    }
    if (in_header) {
        take_field();
        in_header = false;
    }
    end_part();
    multiparts.clear();
    return std::move(found);
}

void emptied_part_finder::take_line(QByteArrayView line)
{
    if (line.startsWith(QByteArrayView("--")) && take_boundary(line.sliced(2))) {
        return;
    }
    if (in_header) {
        take_header_line(line);
    } else if (in_part && !is_blank(line)) {
        is_empty = false;
        if (is_embedded_message) {
            begin_embedded_message();
            take_header_line(line);
        }
    }
}

/// The innermost multipart counts, but an outer one's boundary ends the inner ones that lack theirs.
bool emptied_part_finder::take_boundary(QByteArrayView line)
{
    for (std::size_t at = multiparts.size(); at > 0; --at) {
        const QByteArray& sought = multiparts[at - 1].boundary;
        if (!line.startsWith(sought)) {
            continue;
        }
        const QByteArrayView rest = line.sliced(sought.size()).trimmed();
        // Messages are about whose last boundary lost one of its two closing dashes.
        const bool closes = rest == QByteArrayView("--") || rest == QByteArrayView("-");
        if (!closes && !rest.isEmpty()) {
            continue;
        }
        if (in_header) {
            take_field();
            in_header = false;
        }
        end_part();
        multiparts.resize(closes ? at - 1 : at);
        if (!closes) {
            open_multipart& owner = multiparts.back();
            const QByteArray number = numbered(owner.number, ++owner.parts);
            begin_part(number, number);
        }
        return true;
    }
    return false;
}

void emptied_part_finder::begin_part(const QByteArray& number, const QByteArray& prefix)
{
    in_part = ++parts_seen <= most_parts;
    complete = complete && in_part;
    in_header = in_part;
    is_empty = true;
    is_attachment = is_embedded_message = is_marked = false;
    announced = -1;
    part_number = number;
    inner_prefix = prefix;
    boundary.clear();
    field.clear();
}

/// The parts of an embedded message are counted as parts of the part that holds it; its body alone is the first.
void emptied_part_finder::begin_embedded_message()
{
    const QByteArray holder = part_number;
    begin_part(numbered(holder, 1), holder);
}

void emptied_part_finder::take_header_line(QByteArrayView line)
{
    const bool continues = line.startsWith(' ') || line.startsWith('\t');
    if (continues && !is_blank(line)) {
        field.append(line.first(std::min(line.size(), longest_field - std::min(field.size(), longest_field))));
        return;
    }
    take_field();
    if (is_blank(line)) {
        end_header();
    } else {
        field = line.toByteArray();
    }
}

void emptied_part_finder::take_field()
{
    const qsizetype colon = field.indexOf(':');
    const QByteArray name = field.first(std::max<qsizetype>(colon, 0)).trimmed().toLower();
    const QByteArray value = field.sliced(colon + 1).trimmed();
    if (name == "content-type") {
        const QByteArray type = first_word(value);
        is_embedded_message = type == "message/rfc822" || type == "message/global";
        boundary = type.startsWith("multipart/") ? parameter(value, "boundary") : QByteArray();
        is_attachment = is_attachment || !parameter(value, "name").isEmpty();
    } else if (name == "content-disposition") {
        is_attachment = is_attachment || first_word(value) == "attachment" || !parameter(value, "filename").isEmpty();
    } else if (name == "x-apple-content-length") {
        bool is_number = false;
        const qint64 length = value.toLongLong(&is_number);
        announced = is_number && length >= 0 ? length : -1;
        is_marked = true;
    }
    field.clear();
}

void emptied_part_finder::end_header()
{
    in_header = false;
    if (part_number.count('.') >= deepest) {
        complete = false;
        is_embedded_message = false;
        return;
    }
    if (boundary.isEmpty()) {
        return;
    }
    if (multiparts.size() >= std::size_t(deepest)) {
        complete = false;
        return;
    }
    multiparts.push_back({boundary, inner_prefix, 0});
    in_part = false;
}

/// A part that says that it had no content has lost none.
void emptied_part_finder::end_part()
{
    const bool names_content = (is_marked && announced != 0) || (!is_marked && is_attachment);
    if (in_part && is_empty && names_content) {
        found.push_back({part_number, announced});
    }
    in_part = false;
}
