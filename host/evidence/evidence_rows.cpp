#include "host/evidence/evidence_rows.h"

#include "host/evidence/evidence_database.h"
#include "host/text/utf8.h"

#include <sqlite3.h>

void evidence_rows::finalizer::operator()(sqlite3_stmt* prepared) const
{
    sqlite3_finalize(prepared);
}

bool evidence_rows::next()
{
    // What the caller makes of each row takes time as well, of which SQLite's own looks at the clock see little.
    const int code = database->has_to_end() ? SQLITE_INTERRUPT : sqlite3_step(statement.get());
    if (code != SQLITE_ROW && code != SQLITE_DONE) {
        database->fail(code);
    }
    return code == SQLITE_ROW;
}

bool evidence_rows::is_null(int column) const
{
    return sqlite3_column_type(statement.get(), column) == SQLITE_NULL;
}

bool evidence_rows::is_number(int column) const
{
    const int type = sqlite3_column_type(statement.get(), column);
    return type == SQLITE_INTEGER || type == SQLITE_FLOAT;
}

bool evidence_rows::is_blob(int column) const
{
    return sqlite3_column_type(statement.get(), column) == SQLITE_BLOB;
}

qint64 evidence_rows::integer(int column) const
{
    return sqlite3_column_int64(statement.get(), column);
}

double evidence_rows::real(int column) const
{
    return sqlite3_column_double(statement.get(), column);
}

QString evidence_rows::text(int column) const
{
    return text_from_utf8(bytes(column));
}

QByteArray evidence_rows::bytes(int column) const
{
    // The conversion comes first: it decides how many bytes there are.
    const void* content = is_blob(column) ? sqlite3_column_blob(statement.get(), column)
                                          : static_cast<const void*>(sqlite3_column_text(statement.get(), column));
    return QByteArray(static_cast<const char*>(content), sqlite3_column_bytes(statement.get(), column));
}
