#pragma once

#include <QString>

/// The name that a screen reader gets for a part of a window: \a english if the
/// texts of the window are English, otherwise \a chinese.
///
/// Such names are not in the catalogue, which holds the visible texts only.
QString spokenName(const QString &chinese, const QString &english);
