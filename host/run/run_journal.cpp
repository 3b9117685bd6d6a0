#include "host/run/run_journal.h"

#include "host/terminal/exit_codes.h"
#include "host/text/failure.h"

run_journal::run_journal(const result_paths& result, run_record begun) : paths(result), current(std::move(begun))
{
    write_run_record(paths, current);
}

void run_journal::begin(const std::function<void()>& preparations)
{
    try {
        preparations();
    } catch (const failure& stopped) {
        current.add_error(stopped.message());
        finish(run_status::failed, exit_code::could_not_run);
        throw;
    }
}

void run_journal::finish(run_status status, int code)
{
    current.status = status;
    current.exit_code = code;
    current.ended = QDateTime::currentDateTimeUtc();
    save();
}

void run_journal::publish(const std::function<void()>& telling)
{
    try {
        telling();
    } catch (const failure& untold) {
        add_failure(untold.message());
    }
}

void run_journal::add_failure(const QString& reason)
{
    current.add_error(reason);
    if (current.exit_code == exit_code::whole || current.exit_code == exit_code::no_mail_directory) {
        current.exit_code = exit_code::with_failures;
    }
}

void run_journal::save()
{
    try {
        write_run_record(paths, current);
    } catch (const failure& unsaved) {
        add_failure(unsaved.message());
    }
}
