#pragma once

#include <QImage>

#include <array>
#include <memory>
#include <vector>

class GrayTable;

/// The number of pixels of each gray level.
using GrayHistogram = std::array<quint32, 256>;

/// The histogram of \a gray, an image of Format_Grayscale8.
GrayHistogram grayHistogram(const QImage &gray);

/// The gray levels of an image and their histogram. The levels are those of
/// `image.convertToFormat(QImage::Format_Grayscale8)`.
///
/// That conversion works in linear light and is slow; an image of up to some
/// ten thousand colours, as most screenshots are, needs it only once for each
/// of them, as one of a palette does, and is turned to gray only where the levels
/// are asked for.
class GrayScan
{
public:
    explicit GrayScan(const QImage &image);
    ~GrayScan();
    GrayScan(const GrayScan &) = delete;
    GrayScan &operator=(const GrayScan &) = delete;

    /// The size of the image; 0 if there is no memory for its conversion.
    int width() const { return size.width(); }
    int height() const { return size.height(); }

    const GrayHistogram &histogram() const { return m_histogram; }

    /// The levels of the pixels \a from to \a to, excluded, of row \a y. Valid
    /// until the next call.
    const uchar *levels(int y, int from, int to) const;

private:
    // False without the memory for a conversion.
    bool scan();
    bool scanColors();
    bool scanIndexes();
    bool convertRows(int top, int bottom);

    QImage source;
    QSize size{0, 0};
    QImage gray; // of all rows, or of those in `isConverted`, or null
    std::vector<bool> isConverted;
    std::unique_ptr<GrayTable> table; // of the other rows
    std::array<uchar, 256> indexLevels{}; // of a palette
    GrayHistogram m_histogram{};
    mutable std::vector<uchar> row; // of the last call of levels()
};
