#pragma once

#include <QByteArray>
#include <QStringList>

#include <map>
#include <vector>

/// What the users' Mail directories and account stores consisted of at one moment: how many entries of which kind each
/// directory held. Two of them show that somebody was at work in the source in between.
class source_snapshot
{
public:
    /// Looks at the Mail directory of each user with everything below it, and at the directory of his account stores.
    /// Follows no link below them and opens nothing but directories.
    source_snapshot(const QByteArray& source, const std::vector<QByteArray>& users);

    /// Says, a line each and the first of many only, which directories are no longer as `earlier` saw them.
    QStringList differences_from(const source_snapshot& earlier) const;

private:
    struct shape
    {
        qint64 files = 0;
        qint64 directories = 0;
        qint64 links = 0;
        qint64 others = 0;

        bool operator==(const shape&) const = default;
        QString text() const;
    };

    void look_at(const QByteArray& path, bool and_below);

    const QByteArray root;
    std::map<QByteArray, shape> shapes; ///< by path relative to the source
};
