#include "cutquality/limits.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>

namespace {

constexpr int cutsPerShallowOne = 190; ///< of all kinds together

/// The deep cuts in a hundred that a kind may have; all others have none.
struct Exception
{
    std::string_view kind;
    double deepPercent;
};
constexpr std::array exceptions{
    Exception{"strips of subtitles", 13},
};

double deepPercent(const PictureKind &kind)
{
    const auto *found = std::find_if(exceptions.begin(), exceptions.end(),
                                     [&kind](const Exception &exception) { return exception.kind == kind.name; });
    return found == exceptions.end() ? 0 : found->deepPercent;
}

int throughContent(const CutCount &count)
{
    return count.shallow + count.deep;
}

bool isNotWorse(const CutCounts &counts)
{
    return throughContent(counts.calm) <= throughContent(counts.bright) && counts.calm.deep <= counts.bright.deep;
}

} // namespace

bool keepsLimits(const PictureKind &kind, const CutCounts &counts)
{
    if (!isNotWorse(counts)) {
        std::fprintf(stderr, "%s: worse than the bright rule\n", kind.name);
        return false;
    }
    if (counts.calm.deep * 100 > deepPercent(kind) * counts.cuts) {
        std::fprintf(stderr, "%s: %d of %d cuts go deep\n", kind.name, counts.calm.deep, counts.cuts);
        return false;
    }
    return true;
}

bool keepsLimits(const CutCounts &sum)
{
    if (sum.calm.shallow * cutsPerShallowOne > sum.cuts) {
        std::fprintf(stderr, "%d of %d cuts touch content\n", sum.calm.shallow, sum.cuts);
        return false;
    }
    return true;
}
