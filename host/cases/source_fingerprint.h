#pragma once

#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

/// One fact that tells a source from others.
struct fingerprint_fact
{
    QString name;                   ///< "Users/ann/Library/Accounts/Accounts4.sqlite"
    QString value;                  ///< empty when it could not be read
    bool is_distinguishing = false; ///< no other source has the same by chance

    bool operator==(const fingerprint_fact&) const = default;
};

/// What a source was when it was looked at.
struct source_fingerprint
{
    QList<fingerprint_fact> facts; ///< sorted by name
    QString error;                 ///< one line; without facts when nothing is there, or who has a home cannot be read
    QStringList unreadable;        ///< what facts lack, a line each with path and reason

    bool operator==(const source_fingerprint&) const = default;
};

/// Looks at a source: its system, its users, their account stores and the names of their mail folders. Reads a few
/// files and no mail; leaves no traces.
source_fingerprint take_fingerprint(const QString& source);

QJsonObject fingerprint_to_json(const source_fingerprint& identity);
/// Reads such an object; facts without a name are left out.
source_fingerprint fingerprint_from_json(const QJsonObject& object);

/// Returns the SHA-256 of all that it says, as hexadecimal digits.
QString fingerprint_sum(const source_fingerprint& identity);

/// Returns the facts in which a source differs from what it was; facts that could not be looked at then or now are
/// left out. Empty when it is the same source.
QStringList fingerprint_differences(const source_fingerprint& recorded, const source_fingerprint& found);

/// True when two identities share all facts, a distinguishing one among them.
bool is_same_source(const source_fingerprint& one, const source_fingerprint& other);
