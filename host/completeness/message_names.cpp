#include "host/completeness/message_names.h"

#include <QByteArrayView>

#include <charconv>
#include <system_error>

namespace {

constexpr const char* whole_ending = ".emlx";
constexpr const char* partial_ending = ".partial";

/// Takes an ending off a name, in whatever case; false when the name has another.
bool take_ending(QByteArrayView& name, QByteArrayView ending)
{
    if (name.size() < ending.size() ||
        qstrnicmp(name.data() + name.size() - ending.size(), ending.data(), std::size_t(ending.size())) != 0) {
        return false;
    }
    name.chop(ending.size());
    return true;
}

/// Returns the number that a text is, when it is written as numbers are; else -1.
qint64 canonical_number(QByteArrayView text)
{
    qint64 number = -1;
    const char* end = text.data() + text.size();
    const bool begins_well = !text.empty() && text.front() != '-' && (text.front() != '0' || text.size() == 1);
    const auto [read_to, error] = std::from_chars(text.data(), end, number);
    return begins_well && error == std::errc() && read_to == end ? number : -1;
}

} // namespace

std::optional<message_name> read_message_name(const QByteArray& name)
{
    QByteArrayView stem = name;
    if (!take_ending(stem, whole_ending) || is_foreign_name(name)) {
        return std::nullopt;
    }
    message_name read;
    read.is_partial = take_ending(stem, partial_ending);
    read.number = canonical_number(stem);
    read.is_usual = read.number >= 0 && name.endsWith(whole_ending) &&
                    (!read.is_partial || name.sliced(stem.size()).startsWith(partial_ending));
    return read;
}

QByteArray usual_name(qint64 number, bool is_partial)
{
    return QByteArray::number(number) + (is_partial ? partial_ending : "") + whole_ending;
}

bool is_foreign_name(const QByteArray& name)
{
    return name == ".DS_Store" || name.startsWith("._");
}
