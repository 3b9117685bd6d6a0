#include "host/case_collection/copied_result.h"

#include "host/case_collection/result_check.h"
#include "host/case_collection/scratch_failure.h"
#include "host/files/quiet_reading.h"

#include <QFile>

namespace {

void refuse_unfinished(const QString& database)
{
    for (const char* companion : {"-journal", "-wal"}) {
        const QString beside = database + QLatin1String(companion);
        if (quiet_stat(QFile::encodeName(beside)).kind != entry_kind::absent) {
            refuse(QStringLiteral("%1: left unfinished, %2 is beside it").arg(database, beside));
        }
    }
}

} // namespace

copied_result::copied_result(const overview_entry& entry, const QString& scratch)
    : index(entry.source.index)
    , result(entry.status.result)
{
    try {
        copy_databases(entry.status, scratch);
    } catch (const scratch_failure&) {
        throw;
    } catch (const failure& failed) {
        reason = failed.message();
    }
}

copied_result::~copied_result()
{
    for (const database_part& part : databases) {
        QFile::remove(part.copy);
    }
}

void copied_result::copy_databases(const source_status& status, const QString& scratch)
{
    const checked_result checked(status);
    databases.append({QStringLiteral("part"), result.database(), {}, {}});
    // What the program itself found out; absent where that could not be written.
    if (const QString mail = result.path(product::mail_database);
        checked.is_sealed(mail) || quiet_stat(QFile::encodeName(mail)).kind != entry_kind::absent) {
        databases.append({QStringLiteral("mail_part"), mail, QStringLiteral("mail_"), {}});
    }
    for (database_part& part : databases) {
        refuse_unfinished(part.path);
        part.copy = QStringLiteral("%1/%2-%3.sqlite").arg(scratch, part.schema).arg(index);
        checked.copy_sealed(part.path, part.copy);
    }
}
