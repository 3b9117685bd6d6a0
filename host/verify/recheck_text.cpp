#include "host/verify/recheck_text.h"

#include "host/text/display_text.h"

namespace {

QString findings_text(qint64 findings)
{
    return findings == 0 ? QStringLiteral("as recorded")
                         : QStringLiteral("%1 not as recorded").arg(display_number(findings));
}

QString files_text(const file_amount& amount, qint64 findings)
{
    return QStringLiteral("%1 files (%2), %3")
        .arg(display_number(amount.files), display_bytes(amount.bytes), findings_text(findings));
}

QString seal_text(const verification_record& record)
{
    if (!record.sealed) {
        return QStringLiteral("none");
    }
    const QString paper = !record.root_expected   ? QString()
                          : *record.root_expected ? QStringLiteral(", the root hash is the expected one")
                                                  : QStringLiteral(", the root hash is NOT the expected one");
    return QStringLiteral("%1 files, %2%3")
        .arg(display_number(record.sealed_files), findings_text(record.seal_findings), paper);
}

} // namespace

QStringList recheck_lines(const verification_record& record)
{
    QStringList lines{QStringLiteral("seal:      ") + seal_text(record)};
    if (!record.root_hash.isEmpty()) {
        lines.append(QStringLiteral("root hash: ") + record.root_hash);
    }
    if (record.problem.isEmpty() || record.copies.files > 0) {
        lines.append(QStringLiteral("copies:    ") + files_text(record.copies, record.copy_findings));
        lines.append(QStringLiteral("source:    ") + (record.source.isEmpty()
                                                          ? QStringLiteral("not compared")
                                                          : files_text(record.sources, record.source_findings)));
    }
    if (record.recorded_faults > 0) {
        lines.append(QStringLiteral("the run:   %1 files not copied as they should be")
                         .arg(display_number(record.recorded_faults)));
    }
    if (!record.problem.isEmpty()) {
        lines.append(QStringLiteral("problem:   ") + display_text(record.problem));
    }
    lines.append(record.whole ? QStringLiteral("whole") : QStringLiteral("NOT WHOLE"));
    return lines;
}
