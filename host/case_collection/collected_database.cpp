#include "host/case_collection/collected_database.h"

#include "host/case_collection/result_check.h"
#include "host/result/result_paths.h"
#include "host/text/failure.h"

#include <QDir>
#include <QFile>
#include <QHash>
#include <QSqlError>
#include <QSqlQuery>

#include <algorithm>

namespace {

const QString connection_name = QStringLiteral("collected_database");
const QString index_column = QStringLiteral("source_index");

// Tables of our own; a result that has such ones is not from this program.
const QStringList own_tables{QStringLiteral("sources"), QStringLiteral("accounts_across_sources")};

constexpr const char* across_statements[] = {
    "CREATE TABLE accounts_across_sources(source_index INTEGER NOT NULL, kind TEXT NOT NULL, value TEXT NOT NULL, "
    "rows INTEGER NOT NULL)",
    // The same address on several Macs, whatever the case of its letters.
    "INSERT INTO accounts_across_sources SELECT source_index, 'address', lower(account), count(*) FROM accounts "
    "WHERE lower(account) IN (SELECT lower(account) FROM accounts WHERE account <> '' GROUP BY 1 "
    "HAVING count(DISTINCT source_index) > 1) GROUP BY 3, 1",
    // An account folder that is named by its identifier ends in a UUID.
    "CREATE TEMP TABLE identifiers AS SELECT source_index, upper(substr(dest_path, -36)) AS value FROM accounts "
    "WHERE substr(dest_path, -37, 1) = '/' AND substr(dest_path, -28, 1) = '-' AND substr(dest_path, -13, 1) = '-' AND "
    "substr(dest_path, -36) NOT GLOB '*[^0-9A-Fa-f-]*'",
    "INSERT INTO accounts_across_sources SELECT source_index, 'identifier', value, count(*) FROM identifiers "
    "WHERE value IN (SELECT value FROM identifiers GROUP BY 1 HAVING count(DISTINCT source_index) > 1) GROUP BY 3, 1",
    "DROP TABLE identifiers"};

QString quoted(QString name)
{
    return QLatin1Char('"') + name.replace(QLatin1Char('"'), QStringLiteral("\"\"")) + QLatin1Char('"');
}

/// Returns the kind of column that SQLite makes of a declared type: the words of the declaration are from outside.
QString plain_type(const QString& declared)
{
    struct kind
    {
        const char* part;
        const char* type;
    };
    constexpr kind kinds[] = {{"INT", "INTEGER"}, {"CHAR", "TEXT"}, {"CLOB", "TEXT"}, {"TEXT", "TEXT"},
                              {"BLOB", "BLOB"},   {"REAL", "REAL"}, {"FLOA", "REAL"}, {"DOUB", "REAL"}};
    const QString upper = declared.toUpper();
    for (const auto& [part, type] : kinds) {
        if (upper.contains(QLatin1String(part))) {
            return QLatin1String(type);
        }
    }
    return upper.isEmpty() ? QStringLiteral("BLOB") : QStringLiteral("NUMERIC");
}

} // namespace

collected_database::collected_database(const QString& place) : directory(place)
{
    database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connection_name);
    database.setDatabaseName(path());
    if (!database.open()) {
        refuse(QStringLiteral("cannot write %1: %2").arg(path(), database.lastError().databaseText()));
    }
    // A scratch file, which is thrown away when anything ends this program.
    for (const char* setting :
         {"journal_mode = MEMORY", "synchronous = OFF", "trusted_schema = OFF", "temp_store = FILE"}) {
        query(QStringLiteral("PRAGMA ") + QLatin1String(setting));
    }
}

collected_database::~collected_database()
{
    database = QSqlDatabase();
    QSqlDatabase::removeDatabase(connection_name);
}

QString collected_database::path() const
{
    return directory + QStringLiteral("/case.sqlite");
}

QSqlQuery collected_database::query(const QString& statement) const
{
    QSqlQuery query(database);
    query.setForwardOnly(true);
    if (!query.exec(statement)) {
        refuse(query.lastError().databaseText());
    }
    return query;
}

QStringList collected_database::tables() const
{
    QStringList names;
    QSqlQuery rows = query(QStringLiteral("SELECT name FROM sqlite_master WHERE type = 'table' ORDER BY name"));
    while (rows.next()) {
        names.append(rows.value(0).toString());
    }
    return names;
}

QString collected_database::add_result(const overview_entry& entry)
{
    const result_paths result(entry.status.result);
    const QString copy = directory + QStringLiteral("/part.sqlite");
    const auto take = [&](const QString& path, const QString& prefix_when_taken) {
        for (const char* companion : {"-journal", "-wal"}) {
            if (QFile::exists(path + QLatin1String(companion))) {
                return QStringLiteral("%1: left unfinished, %2 is beside it").arg(path, QLatin1String(companion));
            }
        }
        const QString problem = copy_sealed(result, path, copy);
        return problem.isEmpty() ? add_part(entry.source.index, copy, prefix_when_taken) : problem;
    };
    QString problem = take(result.database(), {});
    // What the program itself found out; absent where that could not be written.
    const QString mail = result.path(product::mail_database);
    if (problem.isEmpty() && QFile::exists(mail)) {
        problem = take(mail, QStringLiteral("mail_"));
    }
    QFile::remove(copy);
    return problem;
}

QString collected_database::add_part(int source_index, const QString& copy, const QString& prefix_when_taken)
{
    QString problem;
    try {
        query(QStringLiteral("ATTACH DATABASE '%1' AS part")
                  .arg(QString(copy).replace(QLatin1Char('\''), QStringLiteral("''"))));
        query(QStringLiteral("BEGIN"));
        if (prefix_when_taken.isEmpty()) {
            require_accounts();
        }
        // A table of a module has no rows of its own.
        QSqlQuery names = query(QStringLiteral("SELECT name FROM part.sqlite_master WHERE type = 'table' AND "
                                               "sql LIKE 'CREATE TABLE%' AND name NOT LIKE 'sqlite\\_%' ESCAPE '\\'"));
        QStringList tables_of_part;
        while (names.next()) {
            tables_of_part.append(names.value(0).toString());
        }
        names.finish();
        for (const QString& table : tables_of_part) {
            const bool is_taken = !prefix_when_taken.isEmpty() && result_tables.contains(table);
            if (prefix_when_taken.isEmpty() && !result_tables.contains(table)) {
                result_tables.append(table);
            }
            add_rows(table, is_taken ? prefix_when_taken + table : table, source_index);
        }
        query(QStringLiteral("COMMIT"));
    } catch (const failure& failed) {
        problem = failed.message();
        QSqlQuery(database).exec(QStringLiteral("ROLLBACK"));
    }
    QSqlQuery(database).exec(QStringLiteral("DETACH DATABASE part"));
    return problem;
}

void collected_database::require_accounts() const
{
    QSqlQuery columns = query(QStringLiteral("SELECT count(*) FROM pragma_table_info('accounts', 'part') WHERE name IN "
                                             "('account', 'dest_path')"));
    if (!columns.next() || columns.value(0).toInt() != 2) {
        refuse(QStringLiteral("its database has no table of accounts"));
    }
}

void collected_database::add_rows(const QString& table, const QString& target, int source_index)
{
    if (own_tables.contains(target)) {
        refuse(QStringLiteral("its database has a table \"%1\", which none of ours has").arg(target));
    }
    fit_columns(table, target);
    QStringList columns;
    QSqlQuery info = query(QStringLiteral("PRAGMA part.table_info(%1)").arg(quoted(table)));
    while (info.next()) {
        columns.append(quoted(info.value(1).toString()));
    }
    info.finish();
    const QString list = columns.join(QLatin1Char(','));
    query(QStringLiteral("INSERT INTO main.%1(%2,%3) SELECT %4,%3 FROM part.%5")
              .arg(quoted(target), index_column, list, QString::number(source_index), quoted(table)));
}

void collected_database::fit_columns(const QString& table, const QString& target)
{
    QSqlQuery known = query(QStringLiteral("PRAGMA main.table_info(%1)").arg(quoted(target)));
    QStringList columns;
    while (known.next()) {
        columns.append(known.value(1).toString().toLower());
    }
    known.finish();
    QSqlQuery info = query(QStringLiteral("PRAGMA part.table_info(%1)").arg(quoted(table)));
    QStringList declarations;
    while (info.next()) {
        const QString name = info.value(1).toString();
        if (name.toLower() == index_column) {
            refuse(QStringLiteral("its table \"%1\" has a column %2 already").arg(table, index_column));
        }
        if (!columns.contains(name.toLower())) {
            declarations.append(quoted(name) + QLatin1Char(' ') + plain_type(info.value(2).toString()));
        }
    }
    info.finish();
    if (columns.isEmpty()) {
        query(QStringLiteral("CREATE TABLE main.%1(%2 INTEGER NOT NULL)").arg(quoted(target), index_column));
    }
    // Versions differ in their columns: rows of one that lacks a column have NULL there.
    for (const QString& declaration : declarations) {
        query(QStringLiteral("ALTER TABLE main.%1 ADD COLUMN %2").arg(quoted(target), declaration));
    }
}

void collected_database::write_sources(const case_overview& overview, const QHash<int, QString>& problems)
{
    query(QStringLiteral(
        "CREATE TABLE sources(source_index INTEGER PRIMARY KEY, evidence_number TEXT, source TEXT, state TEXT NOT "
        "NULL, reason TEXT, is_collected INTEGER NOT NULL, node TEXT, job TEXT, attempt TEXT, started_utc TEXT, "
        "ended_utc "
        "TEXT, accounts INTEGER, files INTEGER, bytes INTEGER, failures INTEGER, manifest_sha256 TEXT, database_sha256 "
        "TEXT, seal_sha256 TEXT, program_version TEXT, plugin_version TEXT, plugin_sha256 TEXT)"));
    QSqlQuery insert(database);
    insert.prepare(QStringLiteral("INSERT INTO sources VALUES(?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?)"));
    for (const auto& [source, status] : overview.entries) {
        const attempt_record& record = status.attempt;
        const QString problem = problems.value(source.index);
        const QVariantList values{source.index,
                                  source.evidence_number,
                                  source.source,
                                  name_of(status.state),
                                  problem.isEmpty() ? status.reason : problem,
                                  has_result(status.state) && problem.isEmpty(),
                                  record.node,
                                  record.job,
                                  record.attempt,
                                  record.started_utc,
                                  record.ended_utc,
                                  record.accounts,
                                  record.files,
                                  record.bytes,
                                  record.failures,
                                  record.manifest_sha256,
                                  record.database_sha256,
                                  record.seal_sha256,
                                  record.program_version,
                                  record.plugin_version,
                                  record.plugin_sha256};
        for (const QVariant& value : values) {
            insert.addBindValue(value);
        }
        if (!insert.exec()) {
            refuse(QStringLiteral("cannot write %1: %2").arg(path(), insert.lastError().databaseText()));
        }
    }
}

void collected_database::finish(const case_overview& overview, const QHash<int, QString>& problems)
{
    query(QStringLiteral("BEGIN"));
    write_sources(overview, problems);
    query(QStringLiteral("CREATE TABLE IF NOT EXISTS accounts(source_index INTEGER NOT NULL, account TEXT, dest_path "
                         "TEXT)"));
    for (const char* statement : across_statements) {
        query(QLatin1String(statement));
    }
    for (const QString& table : tables()) {
        if (table != own_tables.first()) {
            query(QStringLiteral("CREATE INDEX %1 ON %2(%3)")
                      .arg(quoted(table + QStringLiteral("_by_source")), quoted(table), index_column));
        }
    }
    query(QStringLiteral("COMMIT"));
}
