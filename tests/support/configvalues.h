#pragma once

#include <QString>

/// Resets `user.ini` to the state of a first start.
void clearConfigValues();

/// The value of \a key in `user.ini`, as this process sees it.
[[nodiscard]] QString configValue(const QString &key);
