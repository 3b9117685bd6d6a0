#include "host/self_test/tree_state.h"

#include "host/text/failure.h"

#include <QCryptographicHash>
#include <QFile>

#include <algorithm>
#include <filesystem>

namespace fs = std::filesystem;

namespace {

constexpr qint64 nanoseconds_of_second = 1'000'000'000;

QByteArray names_in(const fs::path& directory)
{
    QByteArrayList names;
    for (const auto& entry : fs::directory_iterator(directory, fs::directory_options::skip_permission_denied)) {
        names.append(QByteArray::fromStdString(entry.path().filename().string()));
    }
    std::sort(names.begin(), names.end());
    return names.join('\0');
}

tree_item item_at(const fs::path& path)
{
    tree_item item{};
    if (::lstat(path.c_str(), &item.facts) != 0) {
        refuse(QStringLiteral("cannot look at %1: %2").arg(QFile::decodeName(path.c_str()), qt_error_string()));
    }
    if (S_ISREG(item.facts.st_mode)) {
        item.content = own_hash_of(QFile::decodeName(path.c_str()));
    } else if (S_ISLNK(item.facts.st_mode)) {
        item.content = QByteArray::fromStdString(fs::read_symlink(path).string());
    } else if (S_ISDIR(item.facts.st_mode)) {
        item.content = names_in(path);
    }
    return item;
}

void compare(const tree_state& before, const tree_state& after, examination& found,
             const std::function<bool(const tree_item&, const tree_item&)>& same)
{
    for (auto item = before.begin(); item != before.end(); ++item) {
        const auto now = after.find(item.key());
        found.expect(now != after.end() && same(*item, *now),
                     QFile::decodeName(item.key()) +
                         (now == after.end() ? QStringLiteral(" is gone") : QStringLiteral(" is not as it was")));
    }
    for (auto item = after.begin(); item != after.end(); ++item) {
        found.expect(before.contains(item.key()), QFile::decodeName(item.key()) + QStringLiteral(" is new"));
    }
}

} // namespace

qint64 modified_time(const struct stat& facts)
{
#if defined(__APPLE__)
    return facts.st_mtimespec.tv_sec * nanoseconds_of_second + facts.st_mtimespec.tv_nsec;
#else
    return facts.st_mtim.tv_sec * nanoseconds_of_second + facts.st_mtim.tv_nsec;
#endif
}

qint64 changed_time(const struct stat& facts)
{
#if defined(__APPLE__)
    return facts.st_ctimespec.tv_sec * nanoseconds_of_second + facts.st_ctimespec.tv_nsec;
#else
    return facts.st_ctim.tv_sec * nanoseconds_of_second + facts.st_ctim.tv_nsec;
#endif
}

QByteArray own_hash_of(const QString& path)
{
    QFile file(path);
    QCryptographicHash hash(QCryptographicHash::Sha256);
    if (!file.open(QIODevice::ReadOnly) || !hash.addData(&file)) {
        refuse(QStringLiteral("cannot read %1: %2").arg(path, file.errorString()));
    }
    return hash.result().toHex();
}

tree_state state_of_tree(const QString& root)
try {
    const fs::path top(QFile::encodeName(root).toStdString());
    tree_state state{{QByteArray(), item_at(top)}};
    for (const auto& entry : fs::recursive_directory_iterator(top, fs::directory_options::skip_permission_denied)) {
        state.insert(QByteArray::fromStdString(entry.path().lexically_relative(top).string()), item_at(entry.path()));
    }
    return state;
} catch (const fs::filesystem_error& error) {
    refuse(QString::fromLocal8Bit(error.what()));
}

void compare_content(const tree_state& before, const tree_state& after, examination& found)
{
    compare(before, after, found,
            [](const tree_item& one, const tree_item& other) { return one.content == other.content; });
}

void compare_metadata(const tree_state& before, const tree_state& after, examination& found)
{
    compare(before, after, found, [](const tree_item& one, const tree_item& other) {
        const struct stat& was = one.facts;
        const struct stat& is = other.facts;
        return was.st_mode == is.st_mode && was.st_uid == is.st_uid && was.st_gid == is.st_gid &&
               was.st_nlink == is.st_nlink && was.st_size == is.st_size && was.st_ino == is.st_ino &&
               modified_time(was) == modified_time(is) && changed_time(was) == changed_time(is);
    });
}
