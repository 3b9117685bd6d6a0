#include "host/run/copies_of_run.h"

#include "host/files/file_tree.h"
#include "host/text/display_text.h"

#include <algorithm>

void copies_of_run::take(const copied_file& file)
{
    using outcome = copied_file::outcome;
    if (file.result == outcome::unsynced) {
        problems.append(QStringLiteral("the copies may not be on the disk yet: ") + display_text(file.error_text));
        return;
    }
    const bool is_file =
        file.result != outcome::unlisted && file.result != outcome::kept_existing && file.result != outcome::cancelled;
    if (!is_file || !is_at_or_below(file.destination_path, result)) {
        // An existing copy is of an earlier time, and a directory that could not be listed is seen by the verification.
        return;
    }
    known_source known{file.size, {file.modified_s, file.modified_ns}, {}, file.result == outcome::changed, {}};
    if (file.result == outcome::failed) {
        known.problem = file.error_text;
    } else if (file.sha256.size() == static_cast<qsizetype>(sizeof(sha256_digest))) {
        known.digest.emplace();
        std::copy(file.sha256.begin(), file.sha256.end(), known.digest->begin());
    }
    sources.add(file.destination_path.mid(result.size() + 1), known);
}

void copies_of_run::tell(run_record& record) const
{
    for (const QString& problem : problems) {
        record.add_error(problem);
    }
}
