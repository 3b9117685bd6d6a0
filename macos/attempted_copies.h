#pragma once

#include <QByteArray>
#include <QtGlobal>

#include <map>
#include <vector>

/// How many files of each directory a copy attempted: sums over any folder, however many folders lie in each other.
class attempted_copies
{
public:
    void clear();
    /// Takes one file by its path in the source.
    void take(const QByteArray& file_path);
    /// Returns how many files at any depth below a folder were taken; 0 also for a folder that is not known.
    qint64 below(const QByteArray& folder);

private:
    struct running_sum
    {
        QByteArray directory;
        qint64 files_before = 0; ///< in the directories before this one
    };

    void add_up();

    std::map<QByteArray, qint64> files; ///< by directory, without those below it
    std::vector<running_sum> sums;      ///< sorted; one more at the end. Empty when `files` grew since
};
