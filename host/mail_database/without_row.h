#pragma once

#include "host/accounts/account_record.h"

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>

/// What the program found of a source's mail and the plug-in's table has no row of. Texts are as display_text returns
/// them.
struct item_without_row
{
    QString user;
    QString account; ///< by what a person knows it best; empty for a folder that is no account's
    QString type;
    QString folder; ///< below the source; empty for a record without one
    qint64 files = 0;
    QString remark; ///< in words, why it stands here and what a reader must know
};

/// Holds the rows of the plug-in's table against the accounts and folders that the program itself found.
class row_comparison
{
public:
    /// `found` must outlive this object.
    explicit row_comparison(const account_dossier& found);

    /// Takes a row into account. Returns the marks of the records of its folder and its name.
    QStringList take(const QString& user, const QString& account, const QString& row_folder);
    /// Returns, once all rows are taken: each folder of a Mail version directory that no row names, and each record
    /// without folder but those for which Mail is not enabled.
    QList<item_without_row> without_row() const;

private:
    const account_dossier& dossier;
    QSet<QString> folders_of_rows;
    QHash<QString, QStringList> marks;
};

/// Returns marks as a word of warning, "(!) its identifier is empty"; empty for none.
QString warning_text(const QStringList& marks);
