#include "host/verify/seal_check.h"

#include "host/files/file_tree.h"
#include "host/result/seal.h"
#include "host/text/failure.h"

#include <QFile>

#include <algorithm>
#include <iterator>

namespace {

class seal_checker
{
public:
    seal_checker(const result_paths& result, const finding_listener& listener, seal_outcome& result_outcome,
                 std::function<bool(file_amount)> more_read)
        : paths(result)
        , told(listener)
        , outcome(result_outcome)
        , is_cancelled_after(std::move(more_read))
    {
    }

    void check(const result_seal& seal)
    {
        for (const sum& listed : seal.files) {
            check_file(listed);
            outcome.cancelled = outcome.cancelled || is_cancelled_after({1, 0});
            if (outcome.cancelled) {
                return;
            }
        }
        find_unlisted(seal);
    }

    void tell(const QByteArray& path, const QByteArray& reason)
    {
        ++outcome.differing;
        told({finding_place::seal, path, reason});
    }

private:
    void check_file(const sum& listed)
    {
        // A list that leads elsewhere is forged: nothing outside the result is opened for it.
        if (listed.path.startsWith('/') || listed.path.split('/').contains("..")) {
            tell(listed.path, "the seal lists a path outside the result");
            return;
        }
        QString problem;
        const auto stops = [this](qint64 bytes) {
            outcome.cancelled = is_cancelled_after({0, bytes});
            return outcome.cancelled;
        };
        const auto digest = sha256_of_file(child_path(paths.native_root(), listed.path), problem, stops);
        if (outcome.cancelled) {
            return;
        }
        if (!digest) {
            tell(listed.path, problem.toUtf8());
        } else if (*digest != listed.digest) {
            tell(listed.path, "not the file that was sealed: other content");
        }
    }

    void find_unlisted(const result_seal& seal)
    {
        const std::vector<QByteArray> present = sealed_paths(paths);
        std::vector<QByteArray> listed;
        listed.reserve(seal.files.size());
        for (const sum& one : seal.files) {
            listed.push_back(one.path);
        }
        std::sort(listed.begin(), listed.end());
        std::vector<QByteArray> unlisted;
        std::set_difference(present.begin(), present.end(), listed.begin(), listed.end(), std::back_inserter(unlisted));
        for (const QByteArray& path : unlisted) {
            tell(path, "not listed by the seal: it came after the run");
        }
    }

    const result_paths& paths;
    const finding_listener& told;
    seal_outcome& outcome;
    const std::function<bool(file_amount more)> is_cancelled_after;
};

} // namespace

file_amount sealed_amount(const result_paths& result)
try {
    file_amount amount;
    for (const QByteArray& path : sealed_paths(result)) {
        amount += {1, quiet_stat(child_path(result.native_root(), path)).size};
    }
    return amount;
} catch (const failure&) {
    // What cannot be listed is told when the seal is checked.
    return {};
}

seal_outcome check_seal(const result_paths& result, const QString& expected_root, const finding_listener& found,
                        const std::function<void(file_amount done)>& progress, const std::function<bool()>& cancelled)
{
    seal_outcome outcome;
    file_amount done;
    seal_checker checker(result, found, outcome, [&](file_amount more) {
        done += more;
        progress(done);
        return cancelled();
    });
    const QByteArray name = QByteArray(product_names[static_cast<std::size_t>(product::seal)]);
    try {
        const std::optional<result_seal> seal = read_seal(result);
        outcome.is_there = seal.has_value();
        if (seal) {
            outcome.root_hash = QString::fromLatin1(digest_to_hex(seal->root));
            outcome.files = static_cast<qint64>(seal->files.size());
            checker.check(*seal);
        } else {
            checker.tell(name, "there is no seal: the run did not come to its end");
        }
    } catch (const failure& unreadable) {
        checker.tell(name, unreadable.message().toUtf8());
    }
    if (!expected_root.isEmpty()) {
        outcome.expected = outcome.root_hash == expected_root.trimmed().toLower();
        if (!*outcome.expected) {
            checker.tell(name, "the root hash is not the expected one: " + outcome.root_hash.toUtf8());
        }
    }
    return outcome;
}
