#include "host/result/seal.h"

#include "host/files/durable_file.h"
#include "host/files/file_tree.h"
#include "host/text/failure.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>

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

sha256_digest digest_of(const result_paths& result, const QByteArray& path,
                        const std::function<void(qint64 bytes)>& more_read)
{
    QString problem;
    const auto digest = sha256_of_file(child_path(result.native_root(), path), problem, [&more_read](qint64 bytes) {
        more_read(bytes);
        return false;
    });
    if (!digest) {
        refuse(QStringLiteral("cannot read %1: %2").arg(result.below(QFile::decodeName(path)), problem));
    }
    return *digest;
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
    result_seal seal;
    file_amount done;
    const auto more_read = [&](qint64 bytes) {
        done += {0, bytes};
        if (progress) {
            progress(done);
        }
    };
    QByteArray text;
    for (const QByteArray& path : sealed_paths(result)) {
        seal.files.push_back({digest_of(result, path, more_read), path});
        done += {1, 0};
        text += sums_line(seal.files.back().digest, path);
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
