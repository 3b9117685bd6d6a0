#pragma once

#include <QByteArray>
#include <QVariant>

/// A property list as XML. The value is made of QVariantMap, QVariantList, QString, bool, int, qlonglong, double,
/// QByteArray and QDateTime; anything else is written as its text.
QByteArray to_xml_plist(const QVariant& value);

/// The same value as a binary property list ("bplist00"); an unsigned int becomes a UID.
QByteArray to_binary_plist(const QVariant& value);

/// The same value as a keyed archive, as the account store keeps them in its blobs.
QByteArray to_keyed_archive(const QVariant& value);
