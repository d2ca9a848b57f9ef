#include "pixels/calmrow.h"

#include "pixels/rowchanges.h"
#include "pixels/rowviews.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <limits>
#include <optional>
#include <vector>

namespace {

// Levels are four an octave of the changes of a row.
constexpr int octave = 4;

// Changes below four a pixel are no more visible than none.
constexpr quint64 leastChange = 4;

// A gap is more worth by so many rows than by its calm: up to the first share of
// the width, and less from there to the second.
constexpr int plainGapShare = 45;
constexpr int fullGapShare = 18;

// The drift is looked at in every so many rows: it changes slowly.
constexpr int driftStep = 4;

// What part of the greatest possible worth a row loses at the end of the near
// reach: enough to choose among gaps much alike, and next to nothing.
constexpr int nearLoss = 5;
constexpr int farLoss = 20;

// A thicker line than this is a bar, whose edges are good places.
constexpr int thickestHairline = 6;

/// Rows \a first to \a end, exclusive, counted from the top of the window.
struct Run
{
    int first = 0;
    int end = 0;

    int length() const { return end - first; }
    int middle() const { return (first + end) / 2; }
    bool holds(int y) const { return first <= y && y < end; }
};

/// The rows of an image as bytes, one a channel. Colors are premultiplied, so
/// that text shows by its alpha, whatever its color, and nothing is one color.
class ChannelRows
{
public:
    explicit ChannelRows(const QImage &image);

    int width() const { return source.width(); }
    int pixelBytes() const { return isGray ? 1 : 4; }
    /// What a squared difference counts: that of a gray level stands for three.
    quint64 weight() const { return isGray ? 3 : 1; }
    /// \a count rows from \a first. Converts if the format needs it.
    QImage rows(int first, int count) const;

private:
    QImage source;
    bool isGray;
    QImage::Format format;
};

ChannelRows::ChannelRows(const QImage &image)
    : source(image)
    , isGray(image.format() == QImage::Format_Grayscale8)
    , format(image.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32)
{
}

QImage ChannelRows::rows(int first, int count) const
{
    const QImage view = rowsView(source, QRect(0, first, source.width(), count));
    return isGray ? view : view.convertToFormat(format, Qt::NoOpaqueDetection);
}

/// What is known of the rows of a window.
struct Profile
{
    int top = 0; ///< of the window, in source rows
    int height = 0;
    int span = 0; ///< the wide distance in pixels and rows
    std::vector<int> row; ///< the level of the changes along each row
    std::vector<int> seam; ///< the level of the changes from the row above
    std::vector<int> drift; ///< and from that a span above
    std::vector<quint64> down; ///< the changes from the row above
};

/// Sixteen times the logarithm of \a value to the base 2, about.
int logarithm(quint64 value)
{
    const int exponent = int(std::bit_width(value)) - 1;
    return 16 * exponent + int(((value << 4) >> exponent) & 15);
}

/// The level of \a halves halves of a squared difference in a row of \a width.
int levelOf(quint64 halves, int width)
{
    return logarithm(halves * 8 / quint64(width) + 16 * leastChange) * octave / 16;
}

/// Adds what is known of \a count rows from \a first at the end of \a profile.
/// It does not depend on the window.
void appendRows(Profile &profile, const ChannelRows &source, int first, int count)
{
    const int above = std::min(first, profile.span);
    const QImage rows = source.rows(first - above, above + count);
    const int width = source.width();
    const int bytes = source.pixelBytes();
    for (int y = above; y < above + count; ++y) {
        const bool hasDrift = (first - above + y) % driftStep == 0;
        const RowChanges changes =
            fastestChangeCounter().count({rows.constScanLine(y), rows.constScanLine(std::max(0, y - 1)),
                                          hasDrift ? rows.constScanLine(std::max(0, y - profile.span)) : nullptr,
                                          qsizetype(width) * bytes, bytes, qsizetype(profile.span) * bytes});
        profile.row.push_back(levelOf((2 * changes.near + changes.wide) * source.weight(), width));
        profile.seam.push_back(levelOf(2 * changes.down * source.weight(), width));
        profile.drift.push_back(levelOf(2 * changes.drift * source.weight(), width));
        profile.down.push_back(changes.down * source.weight());
    }
    profile.height += count;
}

/// The profile of the rows from \a top to \a bottom, exclusive.
Profile profileOf(const ChannelRows &source, int top, int bottom)
{
    constexpr int rowsAtATime = 128;
    Profile profile;
    profile.top = top;
    profile.span = std::max(4, source.width() / 50);
    for (int first = top; first < bottom; first += rowsAtATime) {
        appendRows(profile, source, first, std::min(rowsAtATime, bottom - first));
    }
    return profile;
}

/// Adds what is known of the rows of \a other at the end of \a profile.
void append(Profile &profile, const Profile &other)
{
    const auto join = [](auto &to, const auto &from) { to.insert(to.end(), from.begin(), from.end()); };
    join(profile.row, other.row);
    join(profile.seam, other.seam);
    join(profile.drift, other.drift);
    join(profile.down, other.down);
    profile.height += other.height;
}

/// What joins rows to a run.
enum class Join {
    Alike, ///< hardly any change from one to the next and over a span
    Equal, ///< none at all from one to the next
};

/// Calls \a visit for each run of rows that change along them by at most
/// \a level and are joined by \a join.
template <typename Visit>
void visitRuns(const Profile &profile, Join join, int level, Visit visit)
{
    int first = -1;
    for (int y = 0; y < profile.height; ++y) {
        const bool isCalm = profile.row[size_t(y)] <= level;
        const bool follows = join == Join::Equal
            ? profile.down[size_t(y)] == 0
            : profile.seam[size_t(y)] <= level && (y - first < profile.span || profile.drift[size_t(y)] <= level);
        if (first >= 0 && (!isCalm || !follows)) {
            visit(Run{first, y});
            first = -1;
        }
        if (isCalm && first < 0) {
            first = y;
        }
    }
    if (first >= 0) {
        visit(Run{first, profile.height});
    }
}

/// What a run is worth at one level, in sixteenths; by \a length and width.
int worthOf(int length, int width)
{
    const int plain = std::max(3, width / plainGapShare);
    const int full = std::max(plain, width / fullGapShare);
    const auto worth = [](int rows) { return logarithm(quint64(rows) + 1); };
    return worth(std::min(length, plain)) + (worth(std::clamp(length, plain, full)) - worth(plain)) * 3 / 10;
}

/// For each row the worth of the runs that it lies in, added up over all levels:
/// the higher and the deeper the valley, the more.
std::vector<int> worthOfRows(const Profile &profile, Join join, int width)
{
    const auto [lowest, highest] = std::minmax_element(profile.row.begin(), profile.row.end());
    std::vector<int> worth(size_t(profile.height) + 1);
    for (int level = *lowest; level <= *highest; ++level) {
        visitRuns(profile, join, level, [&](Run run) {
            const int gain = worthOf(run.length(), width);
            worth[size_t(run.first)] += gain;
            worth[size_t(run.end)] -= gain;
        });
    }
    for (size_t y = 1; y < worth.size(); ++y) {
        worth[y] += worth[y - 1];
    }
    return worth;
}

/// What each row is worth as a cut. A row at \a reach from \a regular loses the
/// \a loss th part of the greatest possible worth.
std::vector<qint64> valueOfRows(const Profile &profile, Join join, int width, int regular, int reach, int loss)
{
    const std::vector<int> worth = worthOfRows(profile, join, width);
    const qint64 greatest = *std::max_element(worth.begin(), worth.end());
    std::vector<qint64> values;
    for (int y = 0; y < profile.height; ++y) {
        values.push_back(qint64(worth[size_t(y)]) * loss * std::max(1, reach)
                         - greatest * std::abs(profile.top + y - regular));
    }
    return values;
}

/// The gap around row \a y: rows that are hardly less calm.
Run gapAround(const Profile &profile, Join join, int y)
{
    Run gap{y, y + 1};
    visitRuns(profile, join, profile.row[size_t(y)] + octave, [&](Run run) { gap = run.holds(y) ? run : gap; });
    return gap;
}

quint64 pixelDistance(const uchar *a, const uchar *b, int bytes)
{
    quint64 sum = 0;
    for (int i = 0; i < bytes; ++i) {
        const int difference = a[i] - b[i];
        sum += quint64(difference * difference);
    }
    return sum;
}

/// The changes from row \a a to row \a b of the window.
quint64 rowDistance(const ChannelRows &source, int a, int b)
{
    const QImage upper = source.rows(a, 1);
    const QImage lower = source.rows(b, 1);
    return source.weight()
        * pixelDistance(upper.constScanLine(0), lower.constScanLine(0), source.width() * source.pixelBytes());
}

/// Whether \a gap ends at both sides where rows become much busier, or at an
/// edge of the window. Inside a photo it does not.
bool hasSharpEnds(const Profile &profile, const Run &gap, int level, int rise = 2)
{
    constexpr int rowsBeside = 3;
    constexpr int leastAtWindowEnd = 8;
    if (gap.length() < leastAtWindowEnd && (gap.first == 0 || gap.end == profile.height)) {
        return false;
    }
    const auto isBusy = [&](int first, int end, int seam) {
        const auto row = profile.row.begin();
        return std::max(*std::max_element(row + first, row + end), profile.seam[size_t(seam)]) >= level + rise * octave;
    };
    return (gap.first == 0 || isBusy(std::max(0, gap.first - rowsBeside), gap.first, gap.first))
        && (gap.end == profile.height || isBusy(gap.end, std::min(profile.height, gap.end + rowsBeside), gap.end));
}

/// Whether the rows of \a gap hardly differ from each other, as those of plain
/// ground do, from top to bottom as well as from one to the next. Gradients of
/// a whole page are as slow as that, those inside a photo are not.
bool isPlain(const ChannelRows &source, const Profile &profile, const Run &gap)
{
    constexpr quint64 slightChange = 24;
    const auto width = quint64(source.width());
    const auto down = profile.down.begin();
    if (std::any_of(down + gap.first + 1, down + gap.end, [&](quint64 d) { return d > slightChange * width; })) {
        return false;
    }
    const int inset = gap.length() / 8;
    const quint64 change = rowDistance(source, profile.top + gap.first + inset, profile.top + gap.end - 1 - inset);
    return change <= width * (4 + quint64(gap.length()) * quint64(gap.length()) / 50);
}

/// How many pixels change by more than \a clearly from row \a a to row \a b.
int changedPixels(const ChannelRows &source, int a, int b, quint64 clearly)
{
    const int bytes = source.pixelBytes();
    const QImage upper = source.rows(a, 1);
    const QImage lower = source.rows(b, 1);
    int count = 0;
    for (int x = 0; x < source.width(); ++x) {
        const quint64 change = source.weight()
            * pixelDistance(upper.constScanLine(0) + x * bytes, lower.constScanLine(0) + x * bytes, bytes);
        count += change > clearly ? 1 : 0;
    }
    return count;
}

/// Whether most pixels change from the row above row \a y to it by clearly more
/// than by \a usual on the average, and so do many from the rows further above to
/// those further below: the ground is the same on both sides of a hairline.
bool changesAcross(const ChannelRows &source, int y, quint64 usual)
{
    const quint64 clearly = 200 + 3 * usual / quint64(source.width());
    if (changedPixels(source, y - 1, y, clearly) <= source.width() * 17 / 20) {
        return false;
    }
    for (int distance = 2; distance <= thickestHairline; ++distance) {
        const int fewest = std::min(changedPixels(source, y - distance, y, clearly),
                                    changedPixels(source, y - 1, y - 1 + distance, clearly));
        if (fewest <= source.width() * 2 / 5) {
            return false;
        }
    }
    return true;
}

/// The greatest change from one row to the next in the three rows above row
/// \a y or in those below it, whichever is calmer: a thin line between two
/// pictures has another edge close by.
quint64 changeBeside(const Profile &profile, int y)
{
    const auto greatest = [&](int first, int last) {
        quint64 change = 0;
        for (int other = std::max(1, first); other <= std::min(profile.height - 1, last); ++other) {
            change = std::max(change, profile.down[size_t(other)]);
        }
        return change;
    };
    return std::min(greatest(y - 3, y - 1), greatest(y + 1, y + 3));
}

/// Whether another picture begins at row \a y of the window, across it.
bool isPictureEdge(const ChannelRows &source, const Profile &profile, int y)
{
    if (y <= thickestHairline || y >= profile.height - thickestHairline) {
        return false;
    }
    const quint64 beside = changeBeside(profile, y);
    return profile.down[size_t(y)] >= 3 * beside + 64 * quint64(source.width())
        && changesAcross(source, profile.top + y, beside);
}

/// The source row nearest to \a regular at which, across the picture, another
/// one begins; -1 if there is none.
int pictureEdge(const ChannelRows &source, const Profile &profile, int regular)
{
    int best = -1;
    for (int y = 1; y < profile.height; ++y) {
        const int row = profile.top + y;
        const bool isNearer = best < 0 || std::abs(row - regular) < std::abs(best - regular);
        if (isNearer && isPictureEdge(source, profile, y)) {
            best = row;
        }
    }
    return best;
}

/// The best gap, and whether it is one that needs no other.
struct FoundGap
{
    CalmRow cut;
    bool isClear = false;
};

/// The gaps by their worth, the best first, at most so many.
std::vector<Run> bestGaps(const Profile &profile, Join join, int width, const CutPlace &place, int loss)
{
    constexpr int count = 6;
    std::vector<qint64> values = valueOfRows(profile, join, width, place.regular, place.near, loss);
    std::vector<Run> gaps;
    for (int i = 0; i < count; ++i) {
        const auto best = std::max_element(values.begin(), values.end());
        if (*best == std::numeric_limits<qint64>::min()) {
            break;
        }
        gaps.push_back(gapAround(profile, join, int(best - values.begin())));
        std::fill(values.begin() + gaps.back().first, values.begin() + gaps.back().end,
                  std::numeric_limits<qint64>::min());
    }
    return gaps;
}

int lowestLevel(const Profile &profile, const Run &gap)
{
    return *std::min_element(profile.row.begin() + gap.first, profile.row.begin() + gap.end);
}

/// Whether row \a y of the window is a hairline: unlike the rows around it, which
/// are alike.
bool isHairline(const ChannelRows &source, const Profile &profile, int y)
{
    constexpr quint64 clearly = 200;
    if (y == 0 || y + 1 == profile.height) {
        return false;
    }
    const int row = profile.top + y;
    return changedPixels(source, row - 1, row, clearly) > source.width() / 2
        && changedPixels(source, row - 1, row + 1, clearly) < source.width() * 2 / 5;
}

/// The best gap of equal rows; none if it is much busier than others. A single
/// row must be of one color, but not be a hairline.
std::optional<CalmRow> findEqualRows(const ChannelRows &source, const Profile &profile, const CutPlace &place, int loss)
{
    const int blank = levelOf(0, source.width());
    std::vector<Run> gaps = bestGaps(profile, Join::Equal, source.width(), place, loss);
    std::erase_if(gaps, [&](const Run &gap) {
        const int level = lowestLevel(profile, gap);
        const bool isSingle = gap.length() == 1;
        return !hasSharpEnds(profile, gap, level, isSingle ? 5 : 4)
            || (isSingle && (level > blank || isHairline(source, profile, gap.first)));
    });
    if (gaps.empty()) {
        return std::nullopt;
    }
    const auto byLevel = [&](const Run &a, const Run &b) { return lowestLevel(profile, a) < lowestLevel(profile, b); };
    const int lowest = lowestLevel(profile, *std::min_element(gaps.begin(), gaps.end(), byLevel));
    const auto best = std::find_if(gaps.begin(), gaps.end(),
                                   [&](const Run &gap) { return lowestLevel(profile, gap) <= lowest + 2 * octave; });
    return CalmRow{profile.top + best->middle(), best->length(), CalmRow::Clear};
}

FoundGap findGap(const ChannelRows &source, const Profile &profile, const CutPlace &place, int loss)
{
    if (const auto equal = findEqualRows(source, profile, place, loss)) {
        return {*equal, true};
    }
    const std::vector<Run> gaps = bestGaps(profile, Join::Alike, source.width(), place, loss);
    const auto isGap = [&](const Run &gap) {
        return hasSharpEnds(profile, gap, lowestLevel(profile, gap)) && gap.length() < profile.height;
    };
    for (const Run &gap : gaps) {
        for (const int end : {gap.first, gap.end}) {
            if (isPictureEdge(source, profile, end)) {
                return {{profile.top + end, 0, CalmRow::Edge}, true};
            }
        }
        if (hasSharpEnds(profile, gap, lowestLevel(profile, gap)) && isPlain(source, profile, gap)) {
            return {{profile.top + gap.middle(), gap.length(), CalmRow::Clear}, true};
        }
        if (isGap(gap)) {
            break;
        }
    }
    const Run &gap = gaps.front();
    return {{profile.top + gap.middle(), gap.length(), isGap(gap) ? CalmRow::Busy : CalmRow::Content}, false};
}

/// The rows of an image of \a height rows within \a reach of \a regular.
Run rowsAround(int height, int regular, int reach)
{
    return {std::clamp(regular - reach, 0, height), std::clamp(regular + reach, 0, height)};
}

/// \a near and the rows around it that belong to \a window.
Profile grown(const ChannelRows &source, const Profile &near, const Run &window)
{
    Profile profile = profileOf(source, window.first, near.top);
    append(profile, near);
    append(profile, profileOf(source, near.top + near.height, window.end));
    return profile;
}

/// A clear gap is worth the way; then the edge of a picture; then any gap.
CalmRow rowWithinFarReach(const ChannelRows &rows, const Profile &profile, const CutPlace &place)
{
    const FoundGap found = findGap(rows, profile, place, farLoss);
    if (found.isClear) {
        return found.cut;
    }
    const int edge = pictureEdge(rows, profile, place.regular);
    if (edge >= 0) {
        return CalmRow{edge, 0, CalmRow::Edge};
    }
    const CalmRow best = findGap(rows, profile, place, nearLoss).cut;
    const auto level = [&](int y) { return profile.row[size_t(y)]; };
    int calmest = 0;
    for (int y = 1; y < profile.height; ++y) {
        const bool isNearer =
            std::abs(profile.top + y - place.regular) < std::abs(profile.top + calmest - place.regular);
        calmest = level(y) < level(calmest) || (level(y) == level(calmest) && isNearer) ? y : calmest;
    }
    if (level(calmest) > level(best.row - profile.top) - 2 * octave) {
        return best;
    }
    const Run gap = gapAround(profile, Join::Alike, calmest);
    return {profile.top + gap.middle(), gap.length(), CalmRow::Busy};
}

} // namespace

CutPlace cutPlace(double regular, double stripHeight)
{
    return {qRound(regular), int(stripHeight * 0.15), int(stripHeight * 0.2)};
}

CalmRow calmRow(const QImage &source, const CutPlace &place)
{
    const ChannelRows rows(source);
    const Run window = rowsAround(source.height(), place.regular, place.near);
    if (window.length() == 0) {
        return {place.regular, 0, CalmRow::Content};
    }
    const Profile near = profileOf(rows, window.first, window.end);
    const FoundGap found = findGap(rows, near, place, nearLoss);
    if (found.isClear) {
        return found.cut;
    }
    const Run reach = rowsAround(source.height(), place.regular, std::max(place.near, place.far));
    return rowWithinFarReach(rows, grown(rows, near, reach), place);
}
