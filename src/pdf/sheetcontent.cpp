#include "pdf/sheetcontent.h"

#include <cmath>
#include <cstring>

namespace {

constexpr qint64 unitsPerPoint = 10000;
constexpr int decimals = 4;

// The number as the window draws it: 16 points of "Times New Roman" at 96 dots per inch, with
// two more pixels after each letter, in a picture that is 60 pixels high.
constexpr double numberPicture = 60.0;
constexpr double fontSize = 16.0 * 96 / 72 / numberPicture;
constexpr double letterSpacing = 2.0 / numberPicture;
constexpr double ascent = 0.891; // of "Liberation Serif" and "Times New Roman", in font sizes
constexpr double descent = 0.216;
constexpr const char *grayOfNumber = "0.627 0.627 0.643 rg"; // Qt::gray

qint64 units(double points)
{
    return std::llround(points * unitsPerPoint);
}

QByteArray text(qint64 length)
{
    QByteArray digits = QByteArray::number(std::abs(length)).rightJustified(decimals + 1, '0');
    digits.insert(digits.size() - decimals, '.');
    while (digits.endsWith('0')) {
        digits.chop(1);
    }
    if (digits.endsWith('.')) {
        digits.chop(1);
    }
    return length < 0 ? "-" + digits : digits;
}

/// The edges of a rectangle on a page, y upward from its lower edge.
struct Edges
{
    qint64 left, bottom, right, top;
};

Edges edgesOn(const PdfSheet &sheet, const QRectF &place)
{
    const qint64 height = units(sheet.size.height());
    return {units(place.left()), height - units(place.bottom()), units(place.right()), height - units(place.top())};
}

/// Whether \a next continues \a strip without a gap.
bool continues(const PlacedStrip &strip, const PlacedStrip *next)
{
    return next != nullptr && next->firstRow == strip.endRow && units(next->place.left()) == units(strip.place.left())
        && units(next->place.right()) == units(strip.place.right())
        && units(next->place.top()) == units(strip.place.bottom());
}

QByteArray rectangle(const Edges &edges)
{
    return text(edges.left) + ' ' + text(edges.bottom) + ' ' + text(edges.right - edges.left) + ' '
        + text(edges.top - edges.bottom);
}

/// In font sizes.
double widthOf(char letter)
{
    switch (letter) {
    case ' ':
    case '.':
        return 0.25;
    case '/':
        return 0.278;
    case '-':
        return 0.333;
    case '?':
        return 0.444;
    default:
        return 0.5; // a digit
    }
}

QByteArray printable(const QString &number)
{
    QByteArray letters;
    for (const QChar letter : number) {
        const char plain = letter.toLatin1();
        letters.append((plain >= '0' && plain <= '9') || (plain != 0 && std::strchr(" ./-", plain) != nullptr) ? plain
                                                                                                               : '?');
    }
    return letters;
}

} // namespace

QByteArray pointsText(double length)
{
    return text(units(length));
}

QByteArray bandContent(const PdfSheet &sheet, const PlacedStrip &strip, const PlacedStrip *next, const QByteArray &name,
                       int firstRow, int endRow)
{
    const Edges place = edgesOn(sheet, strip.place);
    const double rowHeight = double(place.top - place.bottom) / (strip.endRow - strip.firstRow);
    Edges image = place;
    image.top += std::llround((strip.firstRow - firstRow) * rowHeight);
    image.bottom -= std::llround((endRow - strip.endRow) * rowHeight);
    Edges shown = place;
    if (continues(strip, next)) {
        shown.bottom = std::max(image.bottom, edgesOn(sheet, next->place).bottom);
    }
    QByteArray content = "q\n";
    if (image.top != shown.top || image.bottom != shown.bottom) {
        content += rectangle(shown) + " re W n\n";
    }
    content += text(image.right - image.left) + " 0 0 " + text(image.top - image.bottom) + ' ' + text(image.left) + ' '
        + text(image.bottom) + " cm\n/" + name + " Do\nQ\n";
    return content;
}

QByteArray numberContent(const PdfSheet &sheet, const QByteArray &name)
{
    if (sheet.number.isEmpty()) {
        return {};
    }
    const QByteArray letters = printable(sheet.number);
    const double box = sheet.numberPlace.height();
    const double size = box * fontSize;
    const double spacing = box * letterSpacing;
    double width = 0;
    for (const char letter : letters) {
        width += widthOf(letter) * size + spacing;
    }
    const double left = sheet.numberPlace.center().x() - width / 2;
    const double baseline = sheet.numberPlace.center().y() + (ascent - descent) / 2 * size;
    return "BT\n" + QByteArray(grayOfNumber) + "\n/" + name + ' ' + pointsText(size) + " Tf\n" + pointsText(spacing)
        + " Tc\n" + pointsText(left) + ' ' + pointsText(sheet.size.height() - baseline) + " Td\n(" + letters
        + ") Tj\nET\n";
}
