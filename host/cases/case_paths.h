#pragma once

#include <QString>

#include <optional>

/// Where everything of a case lies. Absolute paths; nothing here looks at the disk.
class case_paths
{
public:
    explicit case_paths(const QString& directory);

    /// Returns the case directory.
    const QString& root() const { return directory; }
    /// Returns the path of something directly in the case directory.
    QString in_case(const char* name) const { return directory + QLatin1Char('/') + QLatin1String(name); }
    QString case_file() const { return in_case("case.json"); }
    QString sources_file() const { return in_case("sources.csv"); }
    QString results() const { return in_case("results"); }
    QString cluster() const { return in_case("cluster"); }
    QString collected() const { return in_case("collected"); }
    /// Returns the name of the collected report in that folder.
    static QString collected_report_name() { return QStringLiteral("report.html"); }

private:
    QString directory;
};

/// Returns the name of a source's directory below "results": the index with leading zeros and, behind "-", the evidence
/// number with everything but letters, digits, "." and "_" replaced by "-".
QString source_directory_name(int index, const QString& evidence_number);

/// Returns the index that such a name begins with; nothing for any other name.
std::optional<int> index_of_source_directory(const QString& name);

/// Returns the name of an attempt: "attempt-2-node3".
QString attempt_name(qint64 generation, const QString& node);

/// Returns the generation in such a name; nothing for any other name, one that leads elsewhere included.
std::optional<qint64> generation_of_attempt(const QString& name);
