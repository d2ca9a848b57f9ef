#pragma once

#include <QImage>

#include <array>
#include <memory>
#include <vector>

class GrayTable;

/// The number of pixels of each gray level.
using GrayHistogram = std::array<quint32, 256>;

/// The histogram of \a gray, an image of Format_Grayscale8.
[[nodiscard]] GrayHistogram grayHistogram(const QImage &gray);

/// The gray levels of an image and their histogram. The levels are those of
/// `image.convertToFormat(QImage::Format_Grayscale8)`.
///
/// That conversion works in linear light and is slow. For a palette image, and for
/// one of up to 65536 colors, as most screenshots are, each color is converted only
/// once, and pixels are looked up only where their levels are requested.
class GrayScan
{
public:
    explicit GrayScan(const QImage &image);
    ~GrayScan();
    GrayScan(const GrayScan &) = delete;
    GrayScan &operator=(const GrayScan &) = delete;

    /// The size of the image; 0 if its conversion ran out of memory.
    int width() const { return size.width(); }
    int height() const { return size.height(); }

    const GrayHistogram &histogram() const { return m_histogram; }

    /// The levels of row \a y from pixel \a from up to, but not including, \a to.
    /// Valid until the next call.
    const uchar *levels(int y, int from, int to) const;

private:
    // These return false if memory runs out.
    bool scan();
    bool scanColors();
    bool scanIndexes();
    bool convertRows(int top, int bottom);

    QImage source;
    QSize size{0, 0};
    QImage gray; // all rows, or those marked in `isConverted`, or null
    std::vector<bool> isConverted;
    std::unique_ptr<GrayTable> table; // for the other rows
    std::array<uchar, 256> indexLevels{}; // for a palette
    GrayHistogram m_histogram{};
    mutable std::vector<uchar> row; // the result of the last levels()
};
