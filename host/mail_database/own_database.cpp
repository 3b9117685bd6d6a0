#include "host/mail_database/own_database.h"

#include "host/files/quiet_reading.h"
#include "host/text/display_text.h"
#include "host/text/failure.h"

#include <QFile>

namespace {

/// Returns the path of the database; throws a failure where no file is.
QString path_of_file(const result_paths& result)
{
    const QString path = result.path(product::mail_database);
    const entry_facts facts = quiet_stat(QFile::encodeName(path));
    if (facts.kind != entry_kind::file) {
        const QString reason =
            facts.error.isEmpty() ? QStringLiteral("is no file: ") + kind_text(facts.kind) : facts.error;
        refuse(QStringLiteral("cannot read %1: %2").arg(display_text(path), reason));
    }
    return path;
}

} // namespace

own_database::own_database(const result_paths& result)
    : database(path_of_file(result), result.path(product::mail_database), true)
{
}
