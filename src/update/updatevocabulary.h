#pragma once

#include <QString>

#include <compare>

/// A version of exactly three numbers, such as 2.7.1.
///
/// Versions order by major, then minor, then patch number.
struct UpdateVersion
{
    qint32 major = 0;
    qint32 minor = 0;
    qint32 patch = 0;

    /// Reads "major.minor.patch". Any other form gives 0.0.0; a single number
    /// that does not fit 32 bits becomes 0 and leaves the others alone.
    static UpdateVersion fromString(const QString &text);

    QString toString() const; ///< "2.7.1"
    QString toDisplayString() const; ///< "v2.7.1"

    auto operator<=>(const UpdateVersion &) const = default;
};

/// True if \a candidate is a later version than \a reference. An unreadable
/// text counts as 0.0.0.
bool isVersionNewer(const QString &reference, const QString &candidate);

/// The name to show for the platform of this build.
QString platformDisplayName();

/// The name to show for a platform identifier such as "windows".
QString platformDisplayName(const QString &identifier);

/// A size for display, without a blank before the unit: "1.5MB". A text that
/// carries a unit already, or that is no number of bytes, comes back as it is.
QString formatSizeText(const QString &size);

/// A point in time as "yyyy-MM-dd hh:mm". A text in no known form comes back
/// as it is, and an empty one stays empty.
QString formatPublishTime(const QString &time);
