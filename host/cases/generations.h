#pragma once

#include <QList>
#include <QString>

#include <optional>

// Every holder of a lease has a generation, and they only rise, also where several tasks come together within
// milliseconds: each number is a name in the directory that one process alone can make, and the highest one stays.

/// Higher ones are not believed: a damaged file may name any.
inline constexpr qint64 most_generations = 100'000'000'000'000;

/// A number that this process alone has. While this lives, others see that a lease is being made of it.
class generation_claim
{
public:
    /// Claims a number; nothing when another has it. Throws a failure.
    static std::optional<generation_claim> make(const QString& directory, qint64 number);
    generation_claim(generation_claim&& other) noexcept = default;
    ~generation_claim();
    Q_DISABLE_COPY(generation_claim)
    generation_claim& operator=(generation_claim&&) = delete;

    qint64 number() const { return claimed; }
    /// Returns what no other claim has, of the same number neither: it may be claimed again once it is forgotten.
    const QString& key() const { return unique; }

private:
    generation_claim(qint64 number, QString key) : claimed(number), unique(std::move(key)) {}

    qint64 claimed;
    QString unique;
    QString second_name; ///< of the claim, as long as it is open
};

/// Returns the numbers that are claimed in a directory, sorted.
QList<qint64> claimed_numbers(const QString& directory);

/// The highest number that is claimed in a directory; 0 when none is.
struct highest_claim
{
    qint64 number = 0;
    bool is_open = false;  ///< its task is just making a lease of it, or died over that
    qint64 written_ns = 0; ///< by the file server's clock
};
highest_claim look_at_claims(const QString& directory);

/// False once a claim is given up, or a higher number was held; nothing, with one line in `error`, when that cannot be
/// found out.
std::optional<bool> is_claimed(const QString& directory, qint64 number, const QString& key, QString& error);

/// Removes a claim: one's own that is not the highest, or one of a lower number, which says nothing any more.
void forget_generation(const QString& directory, qint64 number);
