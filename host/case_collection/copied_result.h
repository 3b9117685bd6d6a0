#pragma once

#include "host/cases/case_overview.h"
#include "host/result/result_paths.h"

#include <QList>
#include <QString>

/// A database of a result, and its copy on local scratch, where SQLite may work.
struct database_part
{
    QString schema; ///< what the copy is called once it is attached
    QString path;
    QString prefix_when_taken; ///< for a table whose name another part has
    QString copy;
};

/// A result that was held against what was written down of it, with copies of its databases, which go with this.
class copied_result
{
public:
    /// Checks and copies; what keeps the result out is told by problem(). Throws a scratch_failure.
    copied_result(const overview_entry& entry, const QString& scratch);
    ~copied_result();
    Q_DISABLE_COPY_MOVE(copied_result)

    int source_index() const { return index; }
    const result_paths& paths() const { return result; }
    const QList<database_part>& parts() const { return databases; }
    /// Returns what keeps the result out, one line; empty when nothing does.
    const QString& problem() const { return reason; }

private:
    void copy_databases(const source_status& status, const QString& scratch);

    int index;
    result_paths result;
    QList<database_part> databases;
    QString reason;
};
