#pragma once

#include <QString>

#include <optional>

/// How cuts are placed automatically.
enum class CutRule {
    Bright, ///< on the row with the most bright pixels; for dark writing on light paper
    Calm, ///< in the middle of the calmest gap, on any ground; see calmRow()
};

/// The rule that settings and command lines call \a name: "bright" or "calm".
/// Nothing for any other name.
[[nodiscard]] std::optional<CutRule> cutRuleNamed(const QString &name);
