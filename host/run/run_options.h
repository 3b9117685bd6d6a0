#pragma once

#include "host/result/run_record.h"

#include <QString>
#include <QStringList>

/// One extraction, as the command line asks for it.
struct run_options
{
    QString source;
    QString result;
    QStringList users; ///< empty for every user
    QString scheme = QStringLiteral("macOS");
    QString source_type;
    int source_number = 1;
    int engine_type = 0; ///< 0 desk, 1 field, 2 live
    bool clear = false;
    bool append = false;
    bool as_suite = false;
    bool no_verify = false;
    bool read_twice = false; ///< read the source once more for the verification
    bool one_by_one = false; ///< copy as the plug-in does unless it is told otherwise
    bool follow_links_outside = false;
    QString log_file; ///< empty for the result's own log
    bool log_encrypted = false;
    QString plugin_file; ///< empty for the library that belongs to the program
    case_data about;     ///< of the case
    QString case_file;   ///< a JSON object with case data; empty for none
    bool quiet = false;
    bool json = false;
};
