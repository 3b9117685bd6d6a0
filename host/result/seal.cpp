#include "host/result/seal.h"

#include "host/files/all_cores.h"
#include "host/files/durable_file.h"
#include "host/files/file_tree.h"
#include "host/text/failure.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <atomic>
#include <thread>

namespace {

// A list of 40 bytes a file at the least: this bounds what a planted one can make the program read.
constexpr qint64 largest_seal = qint64(1) << 30;

/// True for what goes on changing after the run: the report, the verifications, the lock, the seal itself.
bool is_left_out(const result_paths& result, const QByteArray& path)
{
    const QString whole = result.below(QFile::decodeName(path));
    return whole == result.path(product::seal) || whole == result.path(product::report) ||
           whole == result.path(product::lock) || whole.startsWith(result.verifications() + QLatin1Char('/')) ||
           (QFileInfo(whole).path() == result.products() && path.contains(unfinished_ending));
}

/// Returns nothing of use and says why in `problem` when a file cannot be read.
sha256_digest digest_of(const result_paths& result, const QByteArray& path, QString& problem,
                        const std::function<void(qint64 bytes)>& more_read)
{
    QString unreadable;
    const auto digest = sha256_of_file(child_path(result.native_root(), path), unreadable, [&more_read](qint64 bytes) {
        more_read(bytes);
        return false;
    });
    if (!digest) {
        problem = QStringLiteral("cannot read %1: %2").arg(result.below(QFile::decodeName(path)), unreadable);
    }
    return digest.value_or(sha256_digest{});
}

sha256_digest digest_of_text(const QByteArray& text)
{
    return hasher_of_thread().hash(text);
}

} // namespace

std::vector<QByteArray> sealed_paths(const result_paths& result)
{
    std::vector<QByteArray> paths;
    const QByteArray products = result.relative(result.products());
    walk_tree(QFile::encodeName(result.products()), [&](const tree_entry& entry) {
        const QByteArray path = child_path(products, entry.relative_path);
        const QString& reason = entry.facts.error.isEmpty() ? entry.listing_error : entry.facts.error;
        if (!reason.isEmpty()) {
            // What lies there would be left out, and the seal would seem to speak for everything.
            refuse(QStringLiteral("cannot list what is sealed: %1: %2")
                       .arg(result.below(QFile::decodeName(path)), reason));
        }
        if (entry.facts.kind != entry_kind::directory && !is_left_out(result, path)) {
            paths.push_back(path);
        }
        return true;
    });
    if (quiet_stat(QFile::encodeName(result.database())).kind != entry_kind::absent) {
        paths.push_back(result.relative(result.database()));
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

result_seal seal_result(const result_paths& result, const std::function<void(file_amount done)>& progress)
{
    const std::vector<QByteArray> paths = sealed_paths(result);
    result_seal seal;
    seal.files.resize(paths.size());
    std::vector<QString> problems(paths.size());
    std::atomic<qint64> files = 0;
    std::atomic<qint64> bytes = 0;
    const auto more_read = [&, caller = std::this_thread::get_id()](qint64 more) {
        bytes += more;
        if (progress && std::this_thread::get_id() == caller) {
            progress({files, bytes});
        }
    };
    for_each_on_all_cores(
        paths.size(),
        [&](std::size_t at) {
            seal.files[at] = {digest_of(result, paths[at], problems[at], more_read), paths[at]};
            ++files;
        },
        1);
    QByteArray text;
    for (std::size_t at = 0; at < paths.size(); ++at) {
        if (!problems[at].isEmpty()) {
            refuse(problems[at]);
        }
        text += sums_line(seal.files[at].digest, paths[at]);
    }
    write_durably(result.path(product::seal), text);
    seal.root = digest_of_text(text);
    return seal;
}

std::optional<result_seal> read_seal(const result_paths& result)
{
    const QString path = result.path(product::seal);
    if (quiet_stat(QFile::encodeName(path)).kind == entry_kind::absent) {
        return std::nullopt;
    }
    const quiet_data content = quiet_read(QFile::encodeName(path), largest_seal);
    if (!content.error.isEmpty()) {
        refuse(QStringLiteral("cannot read %1: %2").arg(path, content.error));
    }
    result_seal seal;
    seal.root = digest_of_text(content.data);
    qint64 number = 0;
    for (const QByteArray& line : content.data.split('\n')) {
        ++number;
        if (line.isEmpty()) {
            continue;
        }
        auto listed = sum_from_line(line);
        if (!listed) {
            refuse(QStringLiteral("%1: line %2 cannot be understood").arg(path).arg(number));
        }
        seal.files.push_back(std::move(*listed));
    }
    return seal;
}

QString sha256_in_seal(const result_seal& seal, const result_paths& result, const QString& path)
{
    const QByteArray relative = result.relative(path);
    const auto found = std::find_if(seal.files.begin(), seal.files.end(),
                                    [&relative](const sum& listed) { return listed.path == relative; });
    return found == seal.files.end() ? QString() : QString::fromLatin1(digest_to_hex(found->digest));
}
