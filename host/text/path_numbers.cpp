#include "host/text/path_numbers.h"

#include <QHash>

#include <limits>

namespace {

constexpr quint32 nothing = std::numeric_limits<quint32>::max();
constexpr std::size_t least_places = 64;

/// Takes the first name off a path; nothing when none is left.
std::optional<QByteArrayView> take_name(std::optional<QByteArrayView>& path)
{
    if (!path) {
        return std::nullopt;
    }
    const qsizetype slash = path->indexOf('/');
    const QByteArrayView name = slash < 0 ? *path : path->first(slash);
    path = slash < 0 ? std::nullopt : std::optional(path->sliced(slash + 1));
    return name;
}

} // namespace

quint32 path_numbers::add(QByteArrayView path)
{
    quint32 number = nothing;
    std::optional<QByteArrayView> rest = path;
    while (const auto name = take_name(rest)) {
        number = add_below(number, *name);
    }
    return number;
}

quint32 path_numbers::add_below(quint32 above, QByteArrayView name)
{
    make_room();
    quint32& number = hash[place_of(above, name)];
    if (number == nothing) {
        number = quint32(steps.size());
        steps.push_back({above, quint32(name.size()), names.size()});
        names.insert(names.end(), name.begin(), name.end());
    }
    return number;
}

std::optional<quint32> path_numbers::find(QByteArrayView path) const
{
    quint32 number = nothing;
    std::optional<QByteArrayView> rest = path;
    while (const auto name = take_name(rest)) {
        number = hash.empty() ? nothing : hash[place_of(number, *name)];
        if (number == nothing) {
            return std::nullopt;
        }
    }
    return number;
}

QByteArrayView path_numbers::name_of(quint32 number) const
{
    const step& last = steps[number];
    return {names.data() + last.name_begin, qsizetype(last.name_size)};
}

QByteArray path_numbers::path_of(quint32 number) const
{
    const quint32 above = steps[number].above;
    const QByteArrayView name = name_of(number);
    return above == nothing ? name.toByteArray() : path_of(above) + '/' + name.toByteArray();
}

/// Returns where the number of a step stands, or is to stand.
std::size_t path_numbers::place_of(quint32 above, QByteArrayView name) const
{
    const std::size_t last = hash.size() - 1;
    std::size_t place = qHash(name, qHash(above, QHashSeed::globalSeed())) & last;
    while (hash[place] != nothing && (steps[hash[place]].above != above || name_of(hash[place]) != name)) {
        place = (place + 1) & last;
    }
    return place;
}

/// Keeps half of the places free.
void path_numbers::make_room()
{
    if (steps.size() < hash.size() / 2) {
        return;
    }
    hash.assign(hash.empty() ? least_places : 2 * hash.size(), nothing);
    for (std::size_t number = 0; number < steps.size(); ++number) {
        hash[place_of(steps[number].above, name_of(quint32(number)))] = quint32(number);
    }
}
