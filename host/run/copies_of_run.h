#pragma once

#include "host/result/result_paths.h"
#include "host/result/run_record.h"
#include "host/verify/known_sources.h"
#include "support/bulk/copied_file.h"

/// Takes what the plug-in tells of each copy in bulk: the hash of what was read for it, or what went wrong.
class copies_of_run
{
public:
    explicit copies_of_run(const result_paths& paths) : result(paths.native_root()) {}

    /// Takes the next file.
    void take(const copied_file& file);
    /// Adds to a record what befell no single file.
    void tell(run_record& record) const;
    /// What is known of the sources.
    known_sources& known() { return sources; }

private:
    const QByteArray result;
    known_sources sources;
    QStringList problems;
};
