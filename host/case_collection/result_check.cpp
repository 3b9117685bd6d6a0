#include "host/case_collection/result_check.h"

#include "host/case_collection/scratch_failure.h"
#include "host/files/file_copy.h"
#include "host/files/hashing.h"
#include "host/result/result_paths.h"
#include "host/result/seal.h"
#include "host/text/failure.h"

#include <QDir>
#include <QFile>

#include <algorithm>
#include <optional>

namespace {

/// Returns what is wrong with a file of which the SHA-256 is known; empty when it is the stated one.
QString reason_against_sum(const QString& path, const QString& sha256, const QString& stated, const char* stated_by)
{
    return sha256 == stated
               ? QString()
               : QStringLiteral("%1: its SHA-256 is not the one that %2").arg(path, QLatin1String(stated_by));
}

QString reason_against_file(const QString& path, const QString& sha256, const char* stated_by)
{
    QString error;
    const auto digest = sha256_of_file(QFile::encodeName(path), error);
    return digest ? reason_against_sum(path, QString::fromLatin1(digest_to_hex(*digest)), sha256, stated_by)
                  : QStringLiteral("%1: %2").arg(path, error);
}

/// Returns what the seal lists for a file; throws a failure when there is no seal to read.
std::optional<sha256_digest> digest_in_seal(const result_paths& result, const QString& path)
{
    const auto seal = read_seal(result);
    if (!seal) {
        refuse(QStringLiteral("%1: no such file").arg(result.path(product::seal)));
    }
    const QByteArray relative = QFile::encodeName(QDir(result.root()).relativeFilePath(path));
    const auto found = std::find_if(seal->files.begin(), seal->files.end(),
                                    [&relative](const sum& listed) { return listed.path == relative; });
    return found == seal->files.end() ? std::nullopt : std::optional(found->digest);
}

} // namespace

bool is_sealed(const result_paths& result, const QString& path)
{
    return digest_in_seal(result, path).has_value();
}

QString sha256_in_seal(const result_paths& result, const QString& path)
{
    const auto digest = digest_in_seal(result, path);
    if (!digest) {
        refuse(QStringLiteral("%1: its seal does not list it").arg(path));
    }
    return QString::fromLatin1(digest_to_hex(*digest));
}

QString reason_against_result(const source_status& status)
{
    if (const QString reason = reason_against_directory(status.result); !reason.isEmpty()) {
        return reason;
    }
    const result_paths result(status.result);
    const std::pair<product, QString> recorded[] = {{product::seal, status.attempt.seal_sha256},
                                                    {product::manifest, status.attempt.manifest_sha256}};
    for (const auto& [which, sha256] : recorded) {
        const QString reason = reason_against_file(result.path(which), sha256, "was written down when it became whole");
        if (!reason.isEmpty()) {
            return reason;
        }
    }
    try {
        const QString manifest = result.path(product::manifest);
        return reason_against_sum(manifest, status.attempt.manifest_sha256, sha256_in_seal(result, manifest),
                                  "its seal lists");
    } catch (const failure& problem) {
        return problem.message();
    }
}

QString copy_sealed(const result_paths& result, const QString& path, const QString& target)
{
    QFile::remove(target);
    const file_copy_outcome copy = copy_file(QFile::encodeName(path), QFile::encodeName(target), link_handling::follow,
                                             [](qint64) { return false; });
    if (!copy.digest && copy.is_target_at_fault) {
        throw scratch_failure(QStringLiteral("cannot write %1: %2").arg(target, copy.problem));
    }
    if (!copy.digest) {
        return QStringLiteral("%1: cannot be copied to %2: %3").arg(path, target, copy.problem);
    }
    try {
        return reason_against_sum(path, QString::fromLatin1(digest_to_hex(*copy.digest)), sha256_in_seal(result, path),
                                  "its seal lists");
    } catch (const failure& problem) {
        return problem.message();
    }
}
