#pragma once

#include <QList>
#include <QString>
#include <QStringList>

/// Where this machine mounts what the case names by another path.
struct path_mapping
{
    QString from;
    QString to;
};

/// Reads mappings "FROM=TO", those of MAIL_EXTRACT_MAP (separated by ";") behind the given ones. Throws a
/// command_failure for a text that is none.
QList<path_mapping> read_mappings(const QStringList& given);

/// Returns the absolute path of a source: a relative one starts at the case directory; the mapping that begins with
/// most of the path applies.
QString path_on_this_machine(const QString& case_root, const QString& source, const QList<path_mapping>& mappings);
