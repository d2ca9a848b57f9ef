#include "page/cutrule.h"

using namespace Qt::StringLiterals;

std::optional<CutRule> cutRuleNamed(const QString &name)
{
    if (name == "bright"_L1) {
        return CutRule::Bright;
    }
    return name == "calm"_L1 ? std::optional(CutRule::Calm) : std::nullopt;
}
