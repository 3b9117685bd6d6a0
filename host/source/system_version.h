#pragma once

#include <QByteArray>
#include <QString>

/// Where a source tells of its system, relative to it.
inline constexpr const char* system_version_path = "System/Library/CoreServices/SystemVersion.plist";

/// What a source states about its system.
struct system_statement
{
    QString version;      ///< such as "macOS 12.6.1 (21G217)"; empty where nothing is stated or it cannot be read
    QString error;        ///< why it cannot be read, also where there is none; empty when it was
    int error_number = 0; ///< the system's number for `error`; 0 also for a refusal of our own
};

/// Reads the statement of a source.
system_statement read_system_statement(const QByteArray& source_root);
