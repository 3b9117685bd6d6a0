#pragma once

#include "host/result/result_paths.h"
#include "host/result/run_record.h"

#include <functional>

/// Keeps the record of a run in the result from its beginning to its end, so that at any moment it says how far the run
/// came.
class run_journal
{
public:
    /// Writes the record, with the status "running". Throws a failure: without the new record, the old one would speak
    /// for a run that is killed.
    run_journal(const result_paths& result, run_record begun);

    /// The record as it stands; changes are written at the end.
    run_record& record() { return current; }

    /// Does what the run cannot begin without. A failure of it ends the record as failed and is thrown on.
    void begin(const std::function<void()>& preparations);

    /// Ends the record with a status and an exit code and writes it; what fails then is added to the record, as a
    /// failure of the run.
    void finish(run_status status, int code);

    /// Does something that tells of the finished run. A failure of it becomes the run's own, but no longer stands in
    /// the record's file, which is written for good by then.
    void publish(const std::function<void()>& telling);

private:
    void add_failure(const QString& reason);
    void save();

    const result_paths paths;
    run_record current;
};
