#include "pdf/pdfsheet.h"

#include <stdexcept>

namespace {

constexpr double leastSide = 3.0; // of a page, in points
constexpr double greatestSide = 14400.0;

bool isPageSide(double length)
{
    return length >= leastSide && length <= greatestSide;
}

void check(bool isRight, const char *mistake)
{
    if (!isRight) {
        throw std::invalid_argument(mistake);
    }
}

} // namespace

void checkSheet(const PdfSheet &sheet, int rows)
{
    check(isPageSide(sheet.size.width()) && isPageSide(sheet.size.height()), "the size of a sheet is out of range");
    for (const PlacedStrip &strip : sheet.strips) {
        check(strip.firstRow >= 0 && strip.firstRow < strip.endRow && strip.endRow <= rows,
              "a strip is outside the picture");
        check(strip.place.isValid(), "a strip has no place");
    }
}
