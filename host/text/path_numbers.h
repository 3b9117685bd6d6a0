#pragma once

#include <QByteArray>

#include <cstddef>
#include <optional>
#include <vector>

/// Gives numbers to paths, from 0 on and to every path above one before that. There may be millions: of each, memory
/// holds its last name and some twenty bytes.
class path_numbers
{
public:
    /// Returns the number of a path, be it given now.
    quint32 add(QByteArrayView path);
    /// Returns the number of what lies directly below a path that has one.
    quint32 add_below(quint32 above, QByteArrayView name);
    /// Returns the number of a path; nothing when it has none.
    std::optional<quint32> find(QByteArrayView path) const;
    /// Returns the last name of the path with a number.
    QByteArrayView name_of(quint32 number) const;
    /// Returns the path with a number.
    QByteArray path_of(quint32 number) const;

private:
    struct step
    {
        quint32 above;
        quint32 name_size;
        std::size_t name_begin;
    };

    std::size_t place_of(quint32 above, QByteArrayView name) const;
    void make_room();

    std::vector<step> steps;   ///< by number
    std::vector<char> names;   ///< one after the other
    std::vector<quint32> hash; ///< numbers at the places that their steps ask for, or the next free one
};
