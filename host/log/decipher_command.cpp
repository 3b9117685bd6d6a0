#include "host/log/decipher_command.h"

#include "host/files/quiet_reading.h"
#include "host/log/enciphered_log.h"
#include "host/terminal/console.h"
#include "host/terminal/exit_codes.h"
#include "host/text/failure.h"

#include <QFile>
#include <QLoggingCategory>

int decipher_command(const decipher_options& options)
{
    QFile file(options.file);
    // A pipe or a device may never end, or never begin.
    const entry_facts facts = quiet_stat(QFile::encodeName(options.file), link_handling::follow);
    if (facts.error.isEmpty() && facts.kind != entry_kind::file) {
        refuse(QStringLiteral("cannot read %1: is no file: %2").arg(options.file, kind_text(facts.kind)));
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
    } else if (file.pos() < file.size()) {
        complain(QStringLiteral("%1: it ended at byte %2 of %3").arg(options.file).arg(file.pos()).arg(file.size()));
        ++problems;
    }
    return problems > 0 ? exit_code::with_failures : exit_code::whole;
}
