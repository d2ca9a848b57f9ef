#include "batch/paper.h"

#include <QPageSize>
#include <QRegularExpression>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

constexpr double pointsPerInch = 72;
constexpr double pointsPerMillimeter = pointsPerInch / 25.4;
constexpr double shortestSide = 10 * pointsPerMillimeter;
constexpr double longestSide = 5000 * pointsPerMillimeter; // a page of a PDF file can be 5080 mm long
constexpr int largestPercent = 30; // as in the window
constexpr int largestMillimeters = 100;

struct NamedPaper
{
    const char *name;
    QPageSize::PageSizeId id;
};
constexpr std::array papers{NamedPaper{"A3", QPageSize::A3}, NamedPaper{"A4", QPageSize::A4},
                            NamedPaper{"A5", QPageSize::A5}, NamedPaper{"Letter", QPageSize::Letter},
                            NamedPaper{"Legal", QPageSize::Legal}};

std::optional<Paper> measuredPaper(const QString &text)
{
    static const QRegularExpression form(u"^([0-9.]+)x([0-9.]+)(mm|in)$"_s);
    const QRegularExpressionMatch match = form.match(text);
    const double unit = match.captured(3) == "mm"_L1 ? pointsPerMillimeter : pointsPerInch;
    const QSizeF size(match.captured(1).toDouble() * unit, match.captured(2).toDouble() * unit);
    const auto [least, most] = std::minmax({size.width(), size.height()});
    const bool isPossible = least >= shortestSide && most <= longestSide;
    return isPossible ? std::optional(Paper{size}) : std::nullopt;
}

} // namespace

std::optional<Paper> paperNamed(const QString &name)
{
    if (name.compare("strip"_L1, Qt::CaseInsensitive) == 0) {
        return Paper();
    }
    for (const NamedPaper &paper : papers) {
        if (name.compare(QLatin1StringView(paper.name), Qt::CaseInsensitive) == 0) {
            return Paper{QPageSize::size(paper.id, QPageSize::Point)};
        }
    }
    return measuredPaper(name);
}

std::optional<Margin> marginNamed(const QString &text)
{
    const bool isMillimeters = text.endsWith("mm"_L1);
    bool isNumber = false;
    const double value = isMillimeters ? text.chopped(2).toDouble(&isNumber) : text.toInt(&isNumber);
    if (!isNumber || !(value >= 0 && value <= (isMillimeters ? largestMillimeters : largestPercent))) {
        return std::nullopt;
    }
    return Margin{value, isMillimeters};
}

double marginOn(const QSizeF &paper, const Margin &margin)
{
    return margin.isMillimeters ? margin.value * pointsPerMillimeter
                                : margin.value / 100 * std::min(paper.width(), paper.height());
}
