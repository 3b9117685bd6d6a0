#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QVariant>

/// What a keyed archive holds.
struct archived_value
{
    /// bool, qlonglong, double, QString, QByteArray, QDateTime (UTC), QVariantList (arrays and sets) or QVariantMap
    /// (dictionaries, and objects of other classes with their class as "$class"); invalid for the archive's null.
    QVariant value;
    QString error; ///< why there is no value; empty when `value` holds
};

/// Reads a keyed archive, as the account store keeps them in its blobs, or a plain binary property list. The data may
/// be damaged or hostile: depth, number and size of what is read are bounded, and an object that contains itself is
/// refused. Classes are told by name; nothing is made of them but plain values.
archived_value read_keyed_archive(const QByteArray& data);

/// Returns what kind of value a keyed archive holds, in a word ("text", "list"), for one that is not to be shown.
QString archived_type(const archived_value& archive);

/// Returns the time that lies so many seconds after the start of 2001, UTC; invalid outside the years 1 to 9999.
QDateTime time_since_2001(double seconds);
