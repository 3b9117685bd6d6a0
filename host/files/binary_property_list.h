#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <optional>

/// A binary property list: objects, a table of their offsets, and a trailer that describes the table. Every number
/// comes from the data, which may be damaged or hostile, and is checked before it is used. Objects are read one at a
/// time and nothing is followed: who follows references bounds how deep and how many.
class binary_property_list
{
public:
    enum class kind
    {
        singleton, ///< null, false and true, told apart by `count`: 0, 8 and 9
        integer,
        real,
        date,
        data,
        ascii,
        utf16,
        uid,
        array,
        set,
        dictionary,
        unknown
    };

    /// The head of an object: what it is, its number of items (of bytes for a number or a UID), and where they begin.
    struct object
    {
        kind type = kind::unknown;
        quint64 count = 0;
        quint64 begin = 0;
    };

    /// Reads the trailer; nothing when the data is no binary property list or a damaged one.
    static std::optional<binary_property_list> open(const QByteArray& data);

    /// Returns how many objects there are.
    quint64 size() const { return object_count; }
    /// Returns the number of the object that holds all others.
    quint64 top() const { return top_object; }

    /// Returns an object by its number; nothing when there is no such, or it does not lie inside the data whole.
    std::optional<object> at(quint64 number) const;

    /// Returns the number of the n-th object that an array or set refers to, or of the n-th key of a dictionary; the
    /// dictionary's values follow from `count` on.
    std::optional<quint64> reference(const object& container, quint64 n) const;
    /// Returns a string of either kind; nothing for any other object.
    std::optional<QString> string(const object& text) const;
    /// Returns the bytes of a data object; they live as long as this list.
    std::optional<QByteArrayView> bytes(const object& data) const;
    /// Returns an integer that fits; 1 to 4 bytes are unsigned, 8 bytes are signed.
    std::optional<qint64> integer(const object& number) const;
    /// Returns a real number, or a date as its seconds since 2001, UTC.
    std::optional<double> real(const object& number) const;
    /// Returns the number of the object that a UID of a keyed archive means.
    std::optional<quint64> uid(const object& number) const;

private:
    explicit binary_property_list(const QByteArray& data) : content(data) {}

    std::optional<quint64> number_at(quint64 offset, quint64 width) const;
    std::optional<object> head_at(quint64 offset) const;
    bool holds(quint64 begin, quint64 count, quint64 width) const
    {
        const auto all = quint64(content.size());
        return begin <= all && count <= (all - begin) / width;
    }

    QByteArray content;
    quint64 offset_width = 0;
    quint64 reference_width = 0;
    quint64 object_count = 0;
    quint64 top_object = 0;
    quint64 table = 0;
};
