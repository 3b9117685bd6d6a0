#pragma once

#include <QString>

// Every holder of a lease has a generation, and they only rise, also where several tasks come together within
// milliseconds: each number is a name in the directory that one process alone can make, and the highest one stays.

/// Higher ones are not believed: a damaged file may name any.
inline constexpr qint64 most_generations = 100'000'000'000'000;

/// Makes a number one's own that is at least `lowest` and higher than every one that was claimed in the directory
/// before. Throws a failure.
qint64 claim_generation(const QString& directory, qint64 lowest);

/// Returns the highest number that is claimed in the directory; 0 when none is.
qint64 highest_generation(const QString& directory);

/// Removes the claims of lower numbers, which say nothing any more.
void forget_generations_below(const QString& directory, qint64 generation);
