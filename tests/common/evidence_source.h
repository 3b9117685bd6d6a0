#pragma once

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

/// A small evidence source and a result directory in a temporary folder, which stays when the test fails.
class evidence_source
{
public:
    evidence_source();
    ~evidence_source();
    Q_DISABLE_COPY_MOVE(evidence_source)

    /// The source's root, with a trailing "/".
    QString root() const { return directory.filePath(QStringLiteral("source/")); }
    /// The result directory, without a trailing "/".
    QString result() const { return directory.filePath(QStringLiteral("case")); }

    /// Writes a file below the root, with its folders; returns its path.
    QString add_file(const QString& path_below_root, const QByteArray& content = "x") const;
    /// Adds names, separated by "|", to a user's Mail directory: folders end with "/", files get one byte.
    void add_mail(const QString& user, const QString& names) const;
    /// Makes a link in ann's Mail directory; the target is taken as it stands.
    void add_link(const QString& name, const QString& target) const;
    /// Writes a user's account store in WAL mode. Accounts are "Z_PK:ZIDENTIFIER:ZPARENTACCOUNT:ZUSERNAME", separated
    /// by "|", with NULL for what is empty; those of the second list live in the "-wal" file alone.
    void add_store(const QString& user, const QString& accounts, const QString& only_in_log = {},
                   const QString& name = QStringLiteral("Accounts4.sqlite")) const;

private:
    QTemporaryDir directory;
};
