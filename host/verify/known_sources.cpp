#include "host/verify/known_sources.h"

#include "host/text/failure.h"

#include <QDir>

#include <algorithm>
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

sha256_digest name_of(const QByteArray& copy)
{
    thread_local file_hasher hasher;
    return hasher.hash(copy);
}

quint32 key_of(const sha256_digest& name)
{
    quint32 key = 0;
    std::memcpy(&key, name.data() + sizeof(record::name), sizeof key);
    return key;
}

} // namespace

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
        record one{};
        const auto place = static_cast<off_t>(found->number) * static_cast<off_t>(sizeof one);
        if (::pread(records.handle(), &one, sizeof one, place) != static_cast<ssize_t>(sizeof one) ||
            !std::equal(one.name.begin(), one.name.end(), name.begin())) {
            continue;
        }
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
