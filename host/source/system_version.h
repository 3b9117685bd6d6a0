#pragma once

#include <QString>

/// Where a source tells of its system, relative to it.
inline constexpr const char* system_version_path = "System/Library/CoreServices/SystemVersion.plist";

/// Returns the operating-system version that a source states about itself, such as "macOS 12.6.1 (21G217)"; empty when
/// the source has no such statement or it cannot be read.
QString system_version(const QString& source_root);
