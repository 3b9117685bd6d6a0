#pragma once

#include <QByteArray>

#include <array>
#include <functional>

/// What of the three that are held against each other is not as it should be.
enum class finding_place : unsigned char
{
    seal,    ///< a sealed product, or the seal itself
    copy,    ///< a copy against the recorded hash, or one that nothing accounts for
    source,  ///< a source file against the recorded hash
    recorded ///< the run itself recorded a fault
};

/// The words for them, by place.
inline constexpr std::array<const char*, 4> finding_place_names = {"seal", "copy", "source", "recorded"};

/// What a verification says of one path.
struct finding
{
    finding_place place = finding_place::copy;
    QByteArray path; ///< relative to the result, for a source file to the source
    QByteArray reason;
};

using finding_listener = std::function<void(const finding& found)>;
