#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVariantMap>

#include <utility>

// A store keeps tokens, cookies and server responses among the properties of an account. Only keys that are known to
// hold no secret are ever taken further; of all others the name and the kind of value are.

/// Returns what may be shown of a property's value: plain values of known keys, of address lists the addresses, of
/// addresses in the web what names the server. Invalid for any other key and for a value of an unexpected kind.
QVariant shown_property(const QString& key, const QVariant& value);

/// True for a key whose value may be shown.
bool is_shown_property(const QString& key);

/// True for a shown key that is listed as a setting rather than told by a field of its own.
bool is_setting(const QString& key);

/// Returns the entries that may be shown of a row's dictionary of its data classes: those of the Mail class. What else
/// stands there is added to `others` by name and kind.
QVariantMap shown_mail_dictionary(const QVariant& dictionaries, QList<std::pair<QString, QString>>& others);
