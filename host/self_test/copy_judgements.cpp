#include "host/self_test/copy_judgements.h"

#include "host/result/result_paths.h"
#include "host/self_test/self_test_ground.h"
#include "host/text/failure.h"

#include <QFile>
#include <QRegularExpression>

#include <algorithm>

namespace {

constexpr qint64 nanoseconds_of_second = 1'000'000'000;
constexpr qsizetype hex_digits = 64;

bool is_below_mail(const QByteArray& path)
{
    const QByteArrayList parts = path.split('/');
    return parts.size() > 4 && parts[0] == "Users" && parts[2] == "Library" && parts[3] == "Mail";
}

QString copy_path(const QString& result, const manifest_entry& entry)
{
    return result + QLatin1Char('/') + QFile::decodeName(entry.copy);
}

bool is_file(const tree_state& source, const QByteArray& path)
{
    const auto item = source.find(path);
    return item != source.end() && S_ISREG(item->facts.st_mode);
}

bool is_time(const std::optional<file_time>& told, qint64 expected)
{
    return told && told->seconds * nanoseconds_of_second + told->nanoseconds == expected;
}

/// "sha256sum -c", done here: each line's file has the line's hash.
void judge_sums(const QString& result, examination& found)
{
    const QByteArray sums = trial_content(result_paths(result).path(product::sums));
    for (QByteArray line : sums.split('\n')) {
        if (line.isEmpty()) {
            continue;
        }
        if (line.startsWith('\\')) {
            line = line.mid(1).replace("\\n", "\n").replace("\\r", "\r").replace("\\\\", "\\");
        }
        const QString copy = QFile::decodeName(line.mid(hex_digits + 2));
        found.expect(own_hash_of(result + QLatin1Char('/') + copy) == line.left(hex_digits),
                     copy + QStringLiteral(": its sum is not that of the list"));
    }
}

manifest_entry without_clocks(manifest_entry entry)
{
    static const QRegularExpression day(QStringLiteral("_\\d\\d-\\d\\d-\\d{4}/"));
    entry.copy = QString::fromLatin1(entry.copy).replace(day, QStringLiteral("_DAY/")).toLatin1();
    entry.metadata.accessed.reset();
    return entry;
}

} // namespace

QList<manifest_entry> manifest_of(const QString& result)
{
    QList<manifest_entry> entries;
    manifest_reader reader(result_paths(result).path(product::manifest));
    while (auto entry = reader.next()) {
        entries.append(*entry);
    }
    return entries;
}

void judge_completeness(const tree_state& source, const QList<manifest_entry>& manifest, examination& found)
{
    QMap<QByteArray, int> times_named;
    for (const manifest_entry& entry : manifest) {
        ++times_named[entry.path];
        found.expect(source.contains(entry.path.endsWith('/') ? entry.path.chopped(1) : entry.path),
                     manifest_text(entry.path) + QStringLiteral(" stands in the manifest and not in the source"));
    }
    for (auto item = source.begin(); item != source.end(); ++item) {
        if (is_below_mail(item.key()) && !S_ISDIR(item->facts.st_mode)) {
            found.expect(times_named.value(item.key()) == 1, QStringLiteral("%1 stands %2 times in the manifest")
                                                                 .arg(manifest_text(item.key()))
                                                                 .arg(times_named.value(item.key())));
        }
    }
}

void judge_copies(const tree_state& source, const QString& result, const QList<manifest_entry>& manifest,
                  examination& found)
{
    for (const manifest_entry& entry : manifest) {
        if (!is_file(source, entry.path)) {
            continue;
        }
        const QString name = manifest_text(entry.path);
        found.expect(has_proven_copy(entry),
                     name + QStringLiteral(" is ") + QLatin1String(entry_status_name(entry.status)));
        if (!entry.copy.isEmpty()) {
            found.expect(own_hash_of(copy_path(result, entry)) == source[entry.path].content,
                         name + QStringLiteral(": the copy has other bytes"));
            found.expect(entry.source_sha256 && digest_to_hex(*entry.source_sha256) == source[entry.path].content,
                         name + QStringLiteral(": the manifest has another hash"));
        }
    }
    judge_sums(result, found);
}

void judge_odd_files(const QByteArrayList& files, const tree_state& source, const QString& result,
                     const QList<manifest_entry>& manifest, examination& found)
{
    for (const QByteArray& file : files) {
        const auto entry = std::find_if(manifest.begin(), manifest.end(),
                                        [&file](const manifest_entry& one) { return one.path == file; });
        found.expect(is_file(source, file) && entry != manifest.end() && has_proven_copy(*entry) &&
                         own_hash_of(copy_path(result, *entry)) == source[file].content,
                     manifest_text(file) + QStringLiteral(" has no copy of its bytes"));
    }
}

void judge_metadata(const tree_state& source, const QList<manifest_entry>& manifest, examination& found)
{
    constexpr mode_t permissions = 07777;
    for (const manifest_entry& entry : manifest) {
        if (!is_file(source, entry.path)) {
            continue;
        }
        const struct stat& facts = source[entry.path].facts;
        const source_metadata& told = entry.metadata;
        found.expect(entry.size == facts.st_size && told.mode == (facts.st_mode & permissions) &&
                         told.owner == facts.st_uid && told.group == facts.st_gid && told.inode == facts.st_ino &&
                         is_time(told.modified, modified_time(facts)) && is_time(told.changed, changed_time(facts)),
                     manifest_text(entry.path) + QStringLiteral(": the manifest tells other metadata"));
    }
}

void judge_times(const tree_state& source, const QString& result, const QList<manifest_entry>& manifest,
                 examination& found)
{
    for (const manifest_entry& entry : manifest) {
        if (!has_proven_copy(entry) || !is_file(source, entry.path)) {
            continue;
        }
        struct stat copy = {};
        found.expect(::stat(QFile::encodeName(copy_path(result, entry)).constData(), &copy) == 0 &&
                         modified_time(copy) == modified_time(source[entry.path].facts),
                     manifest_text(entry.path) + QStringLiteral(": the copy has another time"));
    }
}

void judge_same(const QList<manifest_entry>& one, const QList<manifest_entry>& other, examination& found)
{
    found.expect(one.size() == other.size(),
                 QStringLiteral("%1 files in one manifest, %2 in the other").arg(one.size()).arg(other.size()));
    for (qsizetype i = 0; i < std::min(one.size(), other.size()); ++i) {
        found.expect(without_clocks(one[i]) == without_clocks(other[i]),
                     manifest_text(one[i].path) + QStringLiteral(": the manifests tell it differently"));
    }
}
