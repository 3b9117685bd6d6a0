#include "host/run/earlier_run.h"

#include "host/result/result_database.h"
#include "host/result/run_record.h"
#include "host/result/seal.h"
#include "host/text/failure.h"

#include <QFile>

namespace {

constexpr const char* own_result =
    "take a result of its own for another run (`mail-extract case` keeps one for each of many sources)";

[[noreturn]] void refuse_result(const result_paths& result, const QString& reason)
{
    refuse(QStringLiteral("cannot write to %1: %2").arg(result.root(), reason));
}

/// Refuses to go on with a run of something else.
void refuse_other_work(const result_paths& result, const run_options& options, const source_identity& identity,
                       const run_record& earlier)
{
    if (!(earlier.identity == identity)) {
        const QString other = why_another_source(earlier.identity, identity);
        refuse_result(result, QStringLiteral("it holds an unfinished run of another source, %1%2; %3")
                                  .arg(earlier.source, other.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(other),
                                       QLatin1String(own_result)));
    }
    const int number = earlier.options.value(QLatin1String("source_number")).toInt(options.source_number);
    if (number != options.source_number) {
        refuse_result(result, QStringLiteral("it holds an unfinished run of source number %1, not %2; %3")
                                  .arg(QString::number(number), QString::number(options.source_number),
                                       QLatin1String(own_result)));
    }
}

/// The seal is the last that a run makes of its result; one that was killed before it has not come to its end, whatever
/// its record says.
bool is_finished(const result_paths& result)
{
    return QFile::exists(result.path(product::seal));
}

} // namespace

earlier_run look_at_earlier_run(const result_paths& result, const run_options& options, const source_identity& identity)
{
    if (options.clear) {
        return earlier_run::removed;
    }
    const std::optional<run_record> earlier = read_run_record(result);
    if (is_finished(result)) {
        if (options.append && earlier && !QFile::exists(result.path(product::report))) {
            refuse_other_work(result, options, identity, *earlier);
            return earlier_run::unreported;
        }
        refuse_result(
            result,
            QStringLiteral("it holds a finished run; %1, or --clear to start over").arg(QLatin1String(own_result)));
    }
    const bool has_begun = earlier && earlier->status != run_status::failed;
    if (!has_begun) {
        if (const QString held = what_database_holds(result); !held.isEmpty()) {
            refuse_result(result, QStringLiteral("%1 %2; %3, or --clear to start over")
                                      .arg(result.database(), held, QLatin1String(own_result)));
        }
        return earlier_run::none;
    }
    if (!options.append) {
        refuse_result(result, QStringLiteral("it holds a run that did not come to its end (\"%1\"): --append goes on "
                                             "with it, --clear starts over")
                                  .arg(run_status_name(earlier->status)));
    }
    refuse_other_work(result, options, identity, *earlier);
    return earlier_run::continued;
}
