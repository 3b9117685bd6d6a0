#pragma once

#include "host/source/source_users.h"
#include "host/terminal/progress.h"

#include <functional>

#include <QList>
#include <QString>

class plugin_library;
struct copied_file;

/// The one scheme whose sources the plug-in looks into for mail.
inline constexpr QLatin1String macos_scheme("macOS");

/// What the plug-in is told about the case.
struct extraction_settings
{
    QString source_root; ///< with a trailing "/"
    QString result_directory;
    QString source_type;
    QString scheme;
    QString system_version;
    int source_number = 1;
    int engine_type = 0;
    bool clear = false;    ///< empty the result table first
    bool in_bulk = false;  ///< copy by several threads; each copy is told
    bool hashes = true;    ///< with the hash of what was read
    bool as_suite = false; ///< one run for all users, with nothing but what a host suite sets
    QString log_path;
    bool log_enciphered = false;
    QList<source_user> users;
};

/// Who is told what of a copy in bulk, on the calling thread.
struct bulk_listener
{
    std::function<void(const copied_file& file)> copied; ///< what became of each file
    std::function<void()> all_copied;                    ///< no file of any user is still to come; not after a cancel
};

/// Runs the plug-in over all users of the settings and shows how far it is. Returns early when interrupted; what is
/// done by then stays. The plug-in tells its failures in its log only. Returns how many rows it says it has written.
/// What was copied in bulk is not synced.
qint64 extract(const plugin_library& library, const extraction_settings& settings, progress_style style,
               const bulk_listener& listener);
