#pragma once

#include <QString>

/// The script with which the shell \a shell, "bash", "zsh" or "fish", completes the
/// options of this program. Throws BatchError for any other shell.
[[nodiscard]] QString completionFor(const QString &shell);
