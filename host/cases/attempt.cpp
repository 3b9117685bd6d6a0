#include "host/cases/attempt.h"

#include "host/cases/case_paths.h"
#include "host/cases/shared_files.h"
#include "host/files/quiet_reading.h"
#include "host/text/failure.h"

#include <QDir>
#include <QFile>

#include <algorithm>

namespace {

const QString token_ending = QStringLiteral(".open");

/// After this no earlier attempt can make "whole".
void revoke_tokens(const QString& directory)
{
    for (const QString& name : names_in(directory)) {
        const QString path = directory + QLatin1Char('/') + name;
        if (name.endsWith(token_ending) && !QFile::remove(path) &&
            quiet_stat(QFile::encodeName(path)).kind != entry_kind::absent) {
            refuse(QStringLiteral("cannot remove %1, which lets an earlier attempt count").arg(path));
        }
    }
}

} // namespace

std::optional<attempt> attempt::begin(const case_source& source, lease& held)
{
    revoke_tokens(source.directory);
    attempt begun(source.directory, ::attempt_name(held.generation(), node_of_this_process()));
    if (const claim_result made = make_directory(begun.directory()); made.outcome != claim::made) {
        if (QDir(begun.directory()).exists()) {
            return std::nullopt;
        }
        refuse(QStringLiteral("cannot create %1: %2").arg(begun.directory(), made.error));
    }
    if (const claim_result made = make_link(begun.attempt_name, begun.token()); made.outcome != claim::made) {
        refuse(QStringLiteral("cannot create %1: %2").arg(begun.token(), made.error));
    }
    // Whoever took over before the token was there has not seen it; then the lease says so now.
    if (!held.is_held()) {
        begun.give_up();
        return std::nullopt;
    }
    return begun;
}

void attempt::write(const attempt_record& record) const
{
    write_record(directory() + QStringLiteral(".json"), attempt_to_json(record));
}

claim_result attempt::make_whole(bool replacing) const
{
    const QString whole = source_directory + QStringLiteral("/whole");
    return replacing ? rename_replacing(token(), whole) : rename_link_exclusively(token(), whole);
}

void attempt::give_up() const
{
    QFile::remove(token());
}

qint64 next_generation(const case_source& source)
{
    qint64 highest = 0;
    for (const QString& name : names_in(source.directory)) {
        highest = std::max(highest, generation_of_attempt(name).value_or(0));
    }
    return highest + 1;
}
