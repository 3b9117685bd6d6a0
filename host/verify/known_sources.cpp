#include "host/verify/known_sources.h"

#include "host/text/failure.h"

#include <QDir>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <unistd.h>

namespace {

struct record
{
    std::array<unsigned char, 16> name; ///< of the copy's path
    qint64 size;
    file_time modified;
    sha256_digest digest;
    bool has_digest;
    bool has_changed;
    bool is_message;
};

/// Records that lie beside each other are mostly asked for one after the other.
struct record_block
{
    static constexpr std::size_t most = 64;

    quint64 owner = 0; ///< whose they are; 0 for nobody
    std::size_t first = 0;
    std::size_t count = 0;
    std::array<record, most> records;
};

/// Returns a record of a file of them, until the thread asks for the next one; nullptr when it cannot be read.
const record* read_record(int file, quint64 owner, std::size_t number)
{
    thread_local record_block block;
    if (block.owner != owner || number < block.first || number - block.first >= block.count) {
        block.owner = owner;
        block.first = number - number % record_block::most;
        const ssize_t got = ::pread(file, block.records.data(), sizeof block.records,
                                    static_cast<off_t>(block.first) * static_cast<off_t>(sizeof(record)));
        block.count = got > 0 ? static_cast<std::size_t>(got) / sizeof(record) : 0;
    }
    return number - block.first < block.count ? &block.records[number - block.first] : nullptr;
}

/// Stands for a path: the hash of its directory's hash and its last part. Most paths have the directory of the one
/// before, and what is left to be hashed is short.
sha256_digest name_of(const QByteArray& copy)
{
    thread_local file_hasher hasher;
    thread_local QByteArray directory;
    thread_local QByteArray beginning;
    const qsizetype slash = copy.lastIndexOf('/');
    if (beginning.isEmpty() || QByteArrayView(copy).first(slash + 1) != QByteArrayView(directory)) {
        directory = copy.first(slash + 1);
        const sha256_digest digest = hasher.hash(directory);
        beginning = QByteArray(reinterpret_cast<const char*>(digest.data()), qsizetype(digest.size()));
    }
    return hasher.hash(beginning + copy.sliced(slash + 1));
}

quint32 key_of(const sha256_digest& name)
{
    quint32 key = 0;
    std::memcpy(&key, name.data() + sizeof(record::name), sizeof key);
    return key;
}

quint64 next_identity()
{
    static std::atomic<quint64> given{0};
    return ++given;
}

} // namespace

known_sources::known_sources() : identity(next_identity()) {}

void known_sources::add(const QByteArray& copy, const known_source& known)
{
    known_amount += {1, known.size};
    any_has_changed = any_has_changed || known.has_changed;
    const sha256_digest name = name_of(copy);
    record one{};
    std::copy_n(name.begin(), one.name.size(), one.name.begin());
    one.size = known.size;
    one.modified = known.modified;
    one.digest = known.digest.value_or(sha256_digest{});
    one.has_digest = known.digest.has_value();
    one.has_changed = known.has_changed;
    one.is_message = known.is_message;
    if (!known.problem.isEmpty()) {
        problems.emplace(copy, known.problem);
    }
    if (!records.isOpen() && !records.open()) {
        // Of a file that cannot be made, Qt does not say why.
        lost = system_error_text(errno);
        return;
    }
    const auto bytes = reinterpret_cast<const char*>(&one);
    if (lost.isEmpty() && records.write(bytes, sizeof one) != sizeof one) {
        lost = records.errorString();
    }
    entries.push_back({key_of(name), static_cast<quint32>(entries.size())});
}

void known_sources::complete()
{
    if (lost.isEmpty() && records.isOpen() && !records.flush()) {
        lost = records.errorString();
    }
    if (!lost.isEmpty()) {
        const QString place = records.fileName().isEmpty() ? QDir::tempPath() : records.fileName();
        refuse(QStringLiteral("cannot keep the hashes of the source in %1: %2").arg(place, lost));
    }
    std::sort(entries.begin(), entries.end());
}

std::optional<known_source> known_sources::find(const QByteArray& copy) const
{
    const sha256_digest name = name_of(copy);
    const auto range = std::equal_range(entries.begin(), entries.end(), entry{key_of(name), 0});
    for (auto found = range.first; found != range.second; ++found) {
        const record* kept = read_record(records.handle(), identity, found->number);
        if (kept == nullptr || !std::equal(kept->name.begin(), kept->name.end(), name.begin())) {
            continue;
        }
        const record& one = *kept;
        known_source known{one.size, one.modified, {}, one.has_changed, {}, one.is_message};
        if (one.has_digest) {
            known.digest = one.digest;
        }
        const auto problem = problems.find(copy);
        known.problem = problem == problems.end() ? QByteArray() : problem->second;
        return known;
    }
    return std::nullopt;
}

bool is_as_copied(const known_source& known, qint64 size, const std::optional<file_time>& modified)
{
    return size == known.size && modified && *modified == known.modified;
}
