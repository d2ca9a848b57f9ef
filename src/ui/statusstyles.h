#pragma once

#include <QString>

/// The style sheet of the version in the status bar while no update is known.
[[nodiscard]] QString plainVersionStyle();
