#include "host/result/seal.h"
#include "host/text/failure.h"
#include "tests/fuzz/fuzz_target.h"

#include <QCryptographicHash>

namespace {

const QByteArray digest(64, 'a');

const result_paths& result()
{
    static const result_paths paths(scratch_directory());
    return paths;
}

/// What the seal says; nothing when it cannot be understood.
std::optional<result_seal> read(const QByteArray& text)
{
    static const scratch_file file(relative_place(product::seal));
    file.write(text);
    try {
        return read_seal(result());
    } catch (const failure& refusal) {
        require(!refusal.message().contains(QLatin1Char('\n')));
        return std::nullopt;
    }
}

} // namespace

fuzz_plan plan()
{
    return {1024,
            {digest, digest + "  x\n", "  ", "\\", "\\n", "\\r", "\\\\"},
            {digest + "  mail-extract/log.txt\n" + digest + "  a b\n", '\\' + digest + "  a\\nb\\\\c\\r\n"}};
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray text = bytes_of(data, size);
    const auto seal = read(text);
    if (!seal) {
        return 0;
    }
    require(seal->root == digest_from_hex(QCryptographicHash::hash(text, QCryptographicHash::Sha256).toHex()));
    QByteArray written;
    for (const sum& listed : seal->files) {
        written += sums_line(listed.digest, listed.path);
    }
    const auto again = read(written);
    require(again && again->files.size() == seal->files.size());
    for (std::size_t i = 0; i < seal->files.size(); ++i) {
        require(again->files[i].path == seal->files[i].path && again->files[i].digest == seal->files[i].digest);
    }
    return 0;
}
