#include "host/case_collection/result_check.h"

#include "host/case_collection/scratch_failure.h"
#include "host/files/file_copy.h"
#include "host/files/hashing.h"
#include "host/text/failure.h"

#include <QFile>

namespace {

result_seal require_seal(const result_paths& result)
{
    auto seal = read_seal(result);
    if (!seal) {
        refuse(QStringLiteral("%1: no such file").arg(result.path(product::seal)));
    }
    return *std::move(seal);
}

QString text_of(const sha256_digest& digest)
{
    return QString::fromLatin1(digest_to_hex(digest));
}

QString require_sha256(const QString& path)
{
    QString error;
    const auto digest = sha256_of_file(QFile::encodeName(path), error);
    if (!digest) {
        refuse(QStringLiteral("%1: %2").arg(path, error));
    }
    return text_of(*digest);
}

void require_same(const QString& path, const QString& sha256, const QString& stated, const char* stated_by)
{
    if (sha256 != stated) {
        refuse(QStringLiteral("%1: its SHA-256 is not the one that %2").arg(path, QLatin1String(stated_by)));
    }
}

} // namespace

checked_result::checked_result(const source_status& status) : result(status.result)
{
    if (const QString reason = reason_against_directory(status.result); !reason.isEmpty()) {
        refuse(reason);
    }
    constexpr const char* recorded = "was written down when it became whole";
    seal = require_seal(result);
    require_same(result.path(product::seal), text_of(seal.root), status.attempt.seal_sha256, recorded);
    const QString manifest = result.path(product::manifest);
    const QString sha256 = require_sha256(manifest);
    require_same(manifest, sha256, status.attempt.manifest_sha256, recorded);
    require_sealed(manifest, sha256);
    const QString run = result.path(product::run_record);
    require_sealed(run, require_sha256(run));
}

void checked_result::copy_sealed(const QString& path, const QString& target) const
{
    const file_copy_outcome copy = copy_file(QFile::encodeName(path), QFile::encodeName(target), link_handling::follow,
                                             [](qint64) { return false; });
    if (!copy.digest && copy.is_target_at_fault) {
        throw scratch_failure(QStringLiteral("cannot write %1: %2").arg(target, copy.problem));
    }
    if (!copy.digest) {
        refuse(QStringLiteral("%1: cannot be copied to %2: %3").arg(path, target, copy.problem));
    }
    require_sealed(path, text_of(*copy.digest));
}

void checked_result::require_sealed(const QString& path, const QString& sha256) const
{
    const QString listed = sha256_in_seal(seal, result, path);
    if (listed.isEmpty()) {
        refuse(QStringLiteral("%1: its seal does not list it").arg(path));
    }
    require_same(path, sha256, listed, "its seal lists");
}
