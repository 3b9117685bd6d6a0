#include "host/files/rollback_journal.h"

#include "host/files/quiet_reading.h"

#include <array>

#include <unistd.h>

namespace {

// What stands behind such a name, and before the journal's own records.
constexpr std::array<unsigned char, 8> magic{0xd9, 0xd5, 0x05, 0xf9, 0x20, 0xa1, 0x63, 0xd7};
// Page number, length, checksum and the magic, without the name.
constexpr qint64 least_size = 20;

} // namespace

bool names_another_file(const QByteArray& journal)
{
    const quiet_file file = quiet_open(journal, link_handling::follow);
    std::array<unsigned char, magic.size()> tail{};
    const auto size = qint64(tail.size());
    return file.error.isEmpty() && file.facts.size >= least_size &&
           ::pread(file.descriptor.get(), tail.data(), tail.size(), off_t(file.facts.size - size)) == size &&
           tail == magic;
}
