#pragma once

#include "tests/common/driven_program.h"
#include "tests/common/evidence_source.h"

#include <QDate>

#include <algorithm>
#include <filesystem>

/// What starts a run on a source with its own result directory.
inline QStringList arguments_for(const evidence_source& source, const QStringList& further)
{
    return QStringList{"run", "--source", source.root(), "--result", source.result()} + further;
}

/// Runs to the end.
inline program_result run(const evidence_source& source, const QStringList& further = {})
{
    return run_program(arguments_for(source, further));
}

/// Where a result keeps one of the products of the program.
inline QString product(const evidence_source& source, const char* name)
{
    return source.result() + "/mail-extract/" + name;
}

/// Where the plug-in puts its copies, or one folder of them.
inline QString copies(const evidence_source& source, const QString& folder = {})
{
    return source.result() + "/Artifacts_Result/Apple_Mail_Extractor/" + folder;
}

/// The folder of a user's copies that are made today.
inline QString copies_of_today(const evidence_source& source, const QString& user)
{
    return copies(source, "Apple_Mail_Extractor_" + user + QDate::currentDate().toString("_MM-dd-yyyy"));
}

/// How many files a directory holds at any depth; 0 where there is none.
inline qsizetype files_below(const QString& directory)
{
    std::error_code ignored;
    const std::filesystem::recursive_directory_iterator entries(directory.toStdString(), ignored);
    return std::count_if(begin(entries), end(entries), [](const auto& entry) { return entry.is_regular_file(); });
}
