#include "host/case_collection/collected_database.h"

#include "host/case_collection/rows.h"
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
const QString index_prefix = QStringLiteral("by_source_");

// Both databases of a result have one.
constexpr const char* accounts_table = "accounts";

// Tables of our own; a result that has such ones is not from this program.
const QStringList own_tables{QStringLiteral("sources"), QStringLiteral("accounts_across_sources"),
                             QStringLiteral("misplaced_accounts")};

/// Where something stands that several Macs may have in common; a table that no result has is passed over.
struct shared_value
{
    const char* table;
    const char* select;
};
constexpr shared_value shared_values[] = {
    {"accounts", "SELECT source_index, 'address', account FROM accounts WHERE account LIKE '%_@_%'"},
    // An account folder that is named by its identifier ends in a UUID.
    {"accounts",
     "SELECT source_index, 'identifier', upper(substr(dest_path, -36)) FROM accounts WHERE substr(dest_path, -37, 1) = "
     "'/' "
     "AND substr(dest_path, -28, 1) = '-' AND substr(dest_path, -13, 1) = '-' AND substr(dest_path, -36) NOT GLOB "
     "'*[^0-9A-Fa-f-]*'"},
    {"account_addresses", "SELECT source_index, 'address', address FROM account_addresses"},
    {"mail_accounts",
     "SELECT source_index, 'identifier', upper(identifier) FROM mail_accounts WHERE identifier <> ''"}};

constexpr const char* across_statements[] = {
    "CREATE TABLE accounts_across_sources(source_index INTEGER NOT NULL, kind TEXT NOT NULL, value TEXT NOT NULL, "
    "rows INTEGER NOT NULL)",
    // The same address whatever the case of its letters.
    "INSERT INTO accounts_across_sources SELECT source_index, kind, value, count(*) FROM shared_values WHERE (kind, "
    "value) "
    "IN (SELECT kind, value FROM shared_values GROUP BY 1, 2 HAVING count(DISTINCT source_index) > 1) GROUP BY 2, 3, 1 "
    "ORDER BY 2, 3, 1",
    "DROP TABLE shared_values"};

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
    // A scratch file, which is thrown away when anything ends this program, and which nobody else opens.
    for (const char* setting : {"locking_mode = EXCLUSIVE", "journal_mode = MEMORY", "synchronous = OFF",
                                "trusted_schema = OFF", "temp_store = FILE", "cache_size = -16384"}) {
        query(QStringLiteral("PRAGMA ") + QLatin1String(setting));
    }
    query(QStringLiteral("CREATE TABLE misplaced_accounts(source_index INTEGER NOT NULL, \"INT\" INTEGER, system_user "
                         "TEXT, dest_path TEXT NOT NULL, place TEXT, is_lost INTEGER NOT NULL)"));
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
        refuse_statement(path(), query.lastError());
    }
    return query;
}

QStringList collected_database::tables() const
{
    QStringList names;
    QSqlQuery rows = query(QStringLiteral("SELECT name FROM sqlite_master WHERE type = 'table' ORDER BY name"));
    while (next_row(rows)) {
        names.append(rows.value(0).toString());
    }
    return names;
}

QString collected_database::add_result(const copied_result& result)
{
    if (!result.problem().isEmpty()) {
        return result.problem();
    }
    QString problem;
    const auto columns_before = columns_of;
    const auto to_fill_before = columns_to_fill;
    try {
        for (const database_part& part : result.parts()) {
            query(QStringLiteral("ATTACH DATABASE '%1' AS %2")
                      .arg(QString(part.copy).replace(QLatin1Char('\''), QStringLiteral("''")), part.schema));
        }
        query(QStringLiteral("BEGIN"));
        require_accounts();
        for (const database_part& part : result.parts()) {
            add_part(result.source_index(), part);
        }
        note_misplaced(result.source_index(), result.paths());
        query(QStringLiteral("COMMIT"));
    } catch (const scratch_failure&) {
        throw;
    } catch (const failure& failed) {
        problem = failed.message();
        QSqlQuery(database).exec(QStringLiteral("ROLLBACK"));
        misplaced_by_source.remove(result.source_index());
        columns_of = columns_before;
        columns_to_fill = to_fill_before;
    }
    for (const database_part& part : result.parts()) {
        QSqlQuery(database).exec(QStringLiteral("DETACH DATABASE ") + part.schema);
    }
    return problem;
}

void collected_database::add_part(int source_index, const database_part& part)
{
    // A table of a module has no rows of its own.
    QSqlQuery names =
        query(QStringLiteral("SELECT name, sql FROM %1.sqlite_master WHERE type = 'table' AND sql LIKE 'CREATE TABLE%' "
                             "AND name NOT LIKE 'sqlite\\_%' ESCAPE '\\'")
                  .arg(part.schema));
    QList<std::pair<QString, QString>> tables_of_part;
    while (next_row(names)) {
        tables_of_part.append({names.value(0).toString(), names.value(1).toString()});
    }
    names.finish();
    for (const auto& [table, made_by] : tables_of_part) {
        const bool is_taken = !part.prefix_when_taken.isEmpty() && table == QLatin1String(accounts_table);
        const QString target = is_taken ? part.prefix_when_taken + table : table;
        const QString columns = columns_for(part.schema, table, made_by, target);
        query(
            QStringLiteral("INSERT INTO main.%1(%2,%3) SELECT %4,%3 FROM %5.%6")
                .arg(quoted(target), index_column, columns, QString::number(source_index), part.schema, quoted(table)));
    }
}

void collected_database::require_accounts() const
{
    QSqlQuery columns = query(QStringLiteral("SELECT count(*) FROM pragma_table_info('accounts', 'part') WHERE name IN "
                                             "('account', 'dest_path')"));
    if (!next_row(columns) || columns.value(0).toInt() != 2) {
        refuse(QStringLiteral("its database has no table of accounts"));
    }
}

/// What rows name is written there as the extraction wrote it; where that is not where the copies lie, a row beside
/// says so.
void collected_database::note_misplaced(int source_index, const result_paths& result)
{
    QStringList columns;
    QSqlQuery known = query(QStringLiteral("SELECT name FROM pragma_table_info('accounts', 'part')"));
    while (next_row(known)) {
        columns.append(known.value(0).toString());
    }
    known.finish();
    QStringList selected;
    for (const char* name : {"INT", "system_user", "dest_path", "files_copied"}) {
        const QString column = QLatin1String(name);
        selected.append(columns.contains(column, Qt::CaseInsensitive) ? quoted(column) : QStringLiteral("NULL"));
    }
    QSqlQuery insert(database);
    insert.prepare(QStringLiteral("INSERT INTO main.misplaced_accounts VALUES(?,?,?,?,?,?)"));
    const misplaced_rows found = find_misplaced_rows(
        result,
        query(
            QStringLiteral("SELECT %1 FROM part.accounts WHERE dest_path <> ''").arg(selected.join(QLatin1Char(',')))),
        [&](const misplaced_row& row) {
            const QVariant place = row.place.isEmpty() ? QVariant() : QVariant(row.place);
            for (const QVariant& value :
                 QVariantList{source_index, row.number, row.user, row.named, place, row.is_lost}) {
                insert.addBindValue(value);
            }
            if (!insert.exec()) {
                refuse_statement(path(), insert.lastError());
            }
        });
    if (!found.text().isEmpty()) {
        misplaced_by_source.insert(source_index, found);
    }
}

QString collected_database::columns_for(const QString& schema, const QString& table, const QString& made_by,
                                        const QString& target)
{
    // Most results were made by the same version, whose tables are made by the same statements.
    const QStringList key{target, table, made_by};
    if (const auto known = columns_to_fill.constFind(key); known != columns_to_fill.constEnd()) {
        return *known;
    }
    if (own_tables.contains(target, Qt::CaseInsensitive) || target.startsWith(index_prefix, Qt::CaseInsensitive)) {
        refuse(QStringLiteral("its database has a table \"%1\", which none of ours has").arg(target));
    }
    return *columns_to_fill.insert(key, fit_columns(schema, table, target).join(QLatin1Char(',')));
}

QStringList collected_database::fit_columns(const QString& schema, const QString& table, const QString& target)
{
    const bool is_new = !columns_of.contains(target.toLower());
    QSet<QString>& known = columns_of[target.toLower()];
    QStringList columns;
    QStringList declarations;
    QSqlQuery info = query(QStringLiteral("PRAGMA %1.table_info(%2)").arg(schema, quoted(table)));
    while (next_row(info)) {
        const QString name = info.value(1).toString();
        if (name.toLower() == index_column) {
            refuse(QStringLiteral("its table \"%1\" has a column %2 already").arg(table, index_column));
        }
        columns.append(quoted(name));
        if (!known.contains(name.toLower())) {
            known.insert(name.toLower());
            declarations.append(columns.last() + QLatin1Char(' ') + plain_type(info.value(2).toString()));
        }
    }
    info.finish();
    if (is_new) {
        declarations.prepend(index_column + QStringLiteral(" INTEGER NOT NULL"));
        query(QStringLiteral("CREATE TABLE main.%1(%2)").arg(quoted(target), declarations.join(QLatin1Char(','))));
        return columns;
    }
    // Versions differ in their columns: rows of one that lacks a column have NULL there.
    for (const QString& declaration : declarations) {
        query(QStringLiteral("ALTER TABLE main.%1 ADD COLUMN %2").arg(quoted(target), declaration));
    }
    return columns;
}

void collected_database::write_sources(const case_overview& overview, const QHash<int, QString>& problems)
{
    query(QStringLiteral(
        "CREATE TABLE sources(source_index INTEGER PRIMARY KEY, evidence_number TEXT, source TEXT, source_read TEXT, "
        "state TEXT NOT NULL, reason TEXT, is_collected INTEGER NOT NULL, node TEXT, job TEXT, attempt TEXT, "
        "started_utc TEXT, ended_utc TEXT, accounts INTEGER, files INTEGER, bytes INTEGER, failures INTEGER, "
        "manifest_sha256 TEXT, database_sha256 TEXT, seal_sha256 TEXT, program_version TEXT, plugin_version TEXT, "
        "plugin_sha256 TEXT)"));
    QSqlQuery insert(database);
    insert.prepare(QStringLiteral("INSERT INTO sources VALUES(?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?)"));
    for (const auto& [source, status] : overview.entries) {
        const attempt_record& record = status.attempt;
        const QString problem = problems.value(source.index);
        const QVariantList values{source.index,
                                  source.evidence_number,
                                  source.source,
                                  record.source,
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
            refuse_statement(path(), insert.lastError());
        }
    }
}

void collected_database::finish(const case_overview& overview, const QHash<int, QString>& problems)
{
    query(QStringLiteral("BEGIN"));
    write_sources(overview, problems);
    query(QStringLiteral("CREATE TABLE IF NOT EXISTS accounts(source_index INTEGER NOT NULL, account TEXT, dest_path "
                         "TEXT)"));
    query(
        QStringLiteral("CREATE TEMP TABLE shared_values(source_index INTEGER, kind TEXT, value TEXT COLLATE NOCASE)"));
    const QStringList present = tables();
    for (const auto& [table, select] : shared_values) {
        if (present.contains(QLatin1String(table))) {
            // Another version may lack the column: then it has nothing to share.
            QSqlQuery insert(database);
            if (!insert.prepare(QStringLiteral("INSERT INTO shared_values ") + QLatin1String(select))) {
                continue;
            }
            if (!insert.exec()) {
                refuse_statement(path(), insert.lastError());
            }
        }
    }
    for (const char* statement : across_statements) {
        query(QLatin1String(statement));
    }
    for (const QString& table : tables()) {
        if (table != own_tables.first()) {
            query(QStringLiteral("CREATE INDEX %1 ON %2(%3)")
                      .arg(quoted(index_prefix + table), quoted(table), index_column));
        }
    }
    query(QStringLiteral("COMMIT"));
    // Who reads the tables opens the file anew; the lock goes with the next look into it.
    query(QStringLiteral("PRAGMA locking_mode = NORMAL"));
    tables();
}
