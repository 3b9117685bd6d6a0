#pragma once

#include <QHash>
#include <QString>
#include <QStringList>
#include <QStringView>

#include <optional>

/// Returns the text to look an account up by in the account store: the folder's name as it is, or, for the older
/// "IMAP-" and "POP-" names, the user's address. Empty optional for an older name without "@".
std::optional<QString> candidate_from_folder_name(QString name);

/// An account as an "IMAP" or "POP" folder's name tells it.
struct folder_account
{
    QString account; ///< the name without its prefix
    QString type;    ///< "IMAP" or "POP"
};

/// Returns the account of a folder whose name begins with "IMAP" or "POP" (case-sensitively); an empty optional for any
/// other name.
std::optional<folder_account> account_from_folder_name(QStringView name);

/// Returns for each of the endings the last path that ends with it (case-sensitively); none for one that no path has.
QHash<QString, QString> last_path_by_ending(const QStringList& paths, const QStringList& endings);
