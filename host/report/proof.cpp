#include "host/report/proof.h"

#include "host/files/file_tree.h"
#include "host/files/hashing.h"
#include "host/files/sqlite_companions.h"
#include "host/text/failure.h"

#include <QFile>

#include <algorithm>

namespace {

/// What the report is made from, relative to the result. The copies and the kept evidence are left to a verification.
QList<QByteArray> sources_of_report(const result_paths& result)
{
    QList<QByteArray> paths = {result.relative(result.database())};
    for (const product which : {product::manifest, product::run_record, product::log, product::mail_database}) {
        paths.append(result.relative(result.path(which)));
    }
    return paths;
}

/// What SQLite finds beside a database changes what it reads there; a run that is sealed leaves nothing there.
void look_beside_databases(const result_paths& result, report_proof& proof)
{
    for (const QString& database : {result.database(), result.path(product::mail_database)}) {
        for (const char* companion : sqlite_companions) {
            const QString path = database + QLatin1String(companion);
            if (quiet_stat(QFile::encodeName(path)).kind != entry_kind::absent) {
                proof.seal_problems.append(QStringLiteral("%1 came after it, and may have rows that were not sealed")
                                               .arg(QFile::decodeName(result.relative(path))));
            }
        }
    }
}

void compare_with_seal(const result_paths& result, report_proof& proof)
{
    for (const QByteArray& path : sources_of_report(result)) {
        const QByteArray place = child_path(result.native_root(), path);
        const QString sealed = proof.sealed_hash(path);
        const QString name = QFile::decodeName(path);
        QString problem;
        const auto found = sealed.isEmpty() ? std::nullopt : sha256_of_file(place, problem);
        if (!problem.isEmpty()) {
            proof.seal_problems.append(QStringLiteral("%1 is sealed and cannot be read: %2").arg(name, problem));
        } else if (found && QString::fromLatin1(digest_to_hex(*found)) != sealed) {
            proof.seal_problems.append(QStringLiteral("%1 is not the one that was sealed").arg(name));
        } else if (sealed.isEmpty() && quiet_stat(place).kind != entry_kind::absent) {
            proof.seal_problems.append(QStringLiteral("%1 is not on its list").arg(name));
        }
    }
}

} // namespace

const verification_record* report_proof::newest() const
{
    return verifications.isEmpty() || is_unreadable(verifications.last()) ? nullptr : &verifications.last();
}

QStringList report_proof::unreadable_records() const
{
    QStringList problems;
    for (const verification_record& record : verifications) {
        if (is_unreadable(record)) {
            problems.append(record.problem);
        }
    }
    return problems;
}

QString report_proof::root_hash() const
{
    return seal ? QString::fromLatin1(digest_to_hex(seal->root)) : QString();
}

QString report_proof::sealed_hash(const QByteArray& path) const
{
    if (!seal) {
        return {};
    }
    const auto listed =
        std::find_if(seal->files.begin(), seal->files.end(), [&path](const sum& one) { return one.path == path; });
    return listed == seal->files.end() ? QString() : QString::fromLatin1(digest_to_hex(listed->digest));
}

report_proof load_proof(const result_paths& result, const result_seal* sealed_now)
{
    report_proof proof;
    proof.verifications = read_verification_records(result);
    try {
        proof.seal = sealed_now != nullptr ? *sealed_now : read_seal(result);
        if (proof.seal && sealed_now == nullptr) {
            compare_with_seal(result, proof);
        }
        if (proof.seal) {
            look_beside_databases(result, proof);
        }
    } catch (const failure& unread) {
        proof.seal_problems.append(unread.message());
    }
    return proof;
}

bool is_unreadable(const verification_record& record)
{
    return !record.verified.isValid();
}
