#pragma once

#include <QByteArray>
#include <QString>

struct property_list_value
{
    QString value;
    QString error; ///< why there is no value; empty when `value` holds, be it empty
};

/// Reads the string stored under `key` in the dictionary that an XML or binary property list holds at its top. Looks
/// into no nested dictionary and converts no other type. `data` may be damaged or hostile.
property_list_value property_list_string(const QByteArray& data, const QString& key);
