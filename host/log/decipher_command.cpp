#include "host/log/decipher_command.h"

#include "host/log/enciphered_log.h"
#include "host/terminal/console.h"
#include "host/terminal/exit_codes.h"
#include "host/text/failure.h"

#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>

int decipher_command(const decipher_options& options)
{
    QFile file(options.file);
    if (QFileInfo(file).isDir()) {
        refuse(QStringLiteral("cannot read %1: it is a directory").arg(options.file));
    }
    if (!file.open(QIODevice::ReadOnly)) {
        refuse(QStringLiteral("cannot read %1: %2").arg(options.file, file.errorString()));
    }
    if (file.peek(1) == "[") {
        refuse(QStringLiteral("%1 is a plain log already: there is nothing to decipher").arg(options.file));
    }
    // The cipher warns on its own of each record that is none, without saying which.
    QLoggingCategory::setFilterRules(QStringLiteral("default.warning=false"));

    enciphered_log log(file);
    qint64 problems = 0;
    for (enciphered_log::record record; log.next(record);) {
        if (record.problem.isEmpty()) {
            print_bytes(record.text + '\n');
        } else {
            complain(QStringLiteral("%1: record %2: %3").arg(options.file).arg(record.number).arg(record.problem));
            ++problems;
        }
    }
    if (file.error() != QFileDevice::NoError) {
        complain(QStringLiteral("cannot read %1 to its end: %2").arg(options.file, file.errorString()));
        ++problems;
    } else if (!file.isSequential() && file.pos() < file.size()) {
        complain(QStringLiteral("%1: it ended at byte %2 of %3").arg(options.file).arg(file.pos()).arg(file.size()));
        ++problems;
    }
    return problems > 0 ? exit_code::with_failures : exit_code::whole;
}
