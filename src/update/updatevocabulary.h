#pragma once

#include <QString>

#include <compare>

/// A version of exactly three numbers, such as 2.7.1.
///
/// Ordered by major, then minor, then patch number.
struct UpdateVersion
{
    qint32 major = 0;
    qint32 minor = 0;
    qint32 patch = 0;

    /// Parses "major.minor.patch". Any other form yields 0.0.0; a number that
    /// does not fit into 32 bits becomes 0 without affecting the others.
    [[nodiscard]] static UpdateVersion fromString(const QString &text);

    [[nodiscard]] QString toString() const; ///< "2.7.1"
    [[nodiscard]] QString toDisplayString() const; ///< "v2.7.1"

    auto operator<=>(const UpdateVersion &) const = default;
};

/// True if \a candidate is a later version than \a reference. An invalid text
/// counts as 0.0.0.
[[nodiscard]] bool isVersionNewer(const QString &reference, const QString &candidate);

/// The display name of the platform of this build.
[[nodiscard]] QString platformDisplayName();

/// The display name of a platform identifier such as "windows".
[[nodiscard]] QString platformDisplayName(const QString &identifier);

/// A size for display, without a space before the unit: "1.5MB". A text that
/// already has a unit, or is not a number of bytes, is returned unchanged.
[[nodiscard]] QString formatSizeText(const QString &size);

/// \a time as "yyyy-MM-dd hh:mm". A text in an unknown format is returned
/// unchanged.
[[nodiscard]] QString formatPublishTime(const QString &time);
