#include "macos/attempted_copies.h"

#include <algorithm>

void attempted_copies::clear()
{
    files.clear();
    sums.clear();
}

void attempted_copies::take(const QByteArray& file_path)
{
    ++files[file_path.first(std::max(qsizetype(0), file_path.lastIndexOf('/')))];
    sums.clear();
}

void attempted_copies::add_up()
{
    qint64 sum = 0;
    sums.reserve(files.size() + 1);
    for (const auto& [directory, count] : files) {
        sums.push_back({directory, sum});
        sum += count;
    }
    sums.push_back({{}, sum});
}

qint64 attempted_copies::below(const QByteArray& folder)
{
    if (sums.empty()) {
        add_up();
    }
    const auto files_before = [this](const QByteArray& directory) {
        return std::lower_bound(sums.begin(), sums.end() - 1, directory,
                                [](const running_sum& one, const QByteArray& wanted) { return one.directory < wanted; })
            ->files_before;
    };
    const auto own = files.find(folder);
    // What lies below stands together, behind the slash and before the character that follows it.
    return (own == files.end() ? 0 : own->second) + files_before(folder + char('/' + 1)) - files_before(folder + '/');
}
