#include "host/files/rollback_journal.h"
#include "tests/fuzz/fuzz_target.h"

#include <QFile>

namespace {

const QByteArray magic("\xd9\xd5\x05\xf9\x20\xa1\x63\xd7");

} // namespace

fuzz_plan plan()
{
    return {64, {magic}, {QByteArray(12, '\0') + magic, magic + QByteArray(30, 'x')}};
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const scratch_file file(QStringLiteral("db-journal"));
    const QByteArray journal = bytes_of(data, size);
    file.write(journal);
    const bool names = names_another_file(QFile::encodeName(file.path()));
    require(names == (journal.size() >= 20 && journal.endsWith(magic)));
    require(!names_another_file(QFile::encodeName(file.path()) + "-none"));
    return 0;
}
