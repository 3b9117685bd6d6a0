#pragma once

#include "host/files/durable_file.h"
#include "host/verify/findings.h"

#include <QString>
#include <QStringList>

#include <optional>

/// Writes the findings of a verification as comma-separated values, and remembers the first to tell them to a person.
class findings_file
{
public:
    /// Begins the file; without a path there is none. Throws a failure.
    explicit findings_file(const QString& path);

    /// Takes the next finding.
    void add(const finding& found);
    /// Says on standard error what was found first, and how much more there is.
    void tell() const;
    /// Puts the file in place. Throws a failure.
    void commit();

private:
    std::optional<durable_file> file;
    QStringList first;
    qint64 count = 0;
};
