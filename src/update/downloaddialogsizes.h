#pragma once

#include <QSize>

#include <optional>

// The sizes of the download dialog for a screen density, see screenDensity().
// Without a screen they are those of density 1.0.

[[nodiscard]] double downloadDialogPointSize(std::optional<double> density);

[[nodiscard]] QSize downloadDialogSize(std::optional<double> density);

/// The margin on all four sides of the dialog.
[[nodiscard]] int downloadDialogMargin(std::optional<double> density);
