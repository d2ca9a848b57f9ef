#include "pixels/grayscan.h"

#include "pixels/grayimage.h"
#include "pixels/graytable.h"
#include "pixels/rowviews.h"

#include <algorithm>
#include <cstring>

namespace {

// How many rows Qt converts at a time where there are too many colors for the table.
constexpr int rowsConvertedByQt = 256;

const QRgb *colorRow(const QImage &image, int y)
{
    return reinterpret_cast<const QRgb *>(image.constScanLine(y));
}

/// Counts gray levels. A block of equal pixels is counted in one step; other pixels
/// go to several histograms in turn, so that no addition waits for another.
class LevelCounter
{
public:
    void add(const uchar *row, qsizetype length)
    {
        qsizetype x = 0;
        for (; x + blockLength <= length; x += blockLength) {
            Block block{};
            std::memcpy(block.data(), row + x, sizeof block);
            addBlock(block);
        }
        for (; x + wordLength <= length; x += wordLength) {
            quint64 word = 0;
            std::memcpy(&word, row + x, sizeof word);
            addWord(word);
        }
        for (; x < length; ++x) {
            ++counts[0][row[x]];
        }
    }

    void addTo(GrayHistogram &histogram) const
    {
        for (const GrayHistogram &part : counts) {
            for (size_t level = 0; level < histogram.size(); ++level) {
                histogram[level] += part[level];
            }
        }
    }

private:
    using Block = std::array<quint64, 4>;
    static constexpr qsizetype wordLength = sizeof(quint64); // one byte per pixel
    static constexpr qsizetype blockLength = sizeof(Block);

    static quint64 repeated(quint64 level) { return level * 0x0101010101010101; }

    void addBlock(const Block &block)
    {
        const quint64 level = block[0] & 0xff;
        const quint64 same = repeated(level);
        if (((block[0] ^ same) | (block[1] ^ same) | (block[2] ^ same) | (block[3] ^ same)) == 0) {
            counts[0][level] += blockLength;
            return;
        }
        for (const quint64 word : block) {
            addWord(word);
        }
    }

    void addWord(quint64 word)
    {
        for (size_t i = 0; i < wordLength; ++i) {
            ++counts[i][(word >> (8 * i)) & 0xff];
        }
    }

    std::array<GrayHistogram, wordLength> counts{};
};

/// The number of each pixel value in \a image, which has eight bits per pixel.
GrayHistogram countBytes(const QImage &image)
{
    GrayHistogram histogram{};
    LevelCounter counter;
    for (int y = 0; y < image.height(); ++y) {
        counter.add(image.constScanLine(y), image.width());
    }
    counter.addTo(histogram);
    return histogram;
}

/// Finds the gray levels of the 256 indexes of a palette image. Returns false if
/// memory runs out.
bool findLevels(const QImage &image, std::array<uchar, 256> &levels)
{
    QImage indexes = everyPixelValue(image);
    QList<QRgb> colors = image.colorTable();
    colors.resize(qsizetype(levels.size()), 0xff000000U); // Qt reads beyond the end of a short table
    indexes.setColorTable(colors);
    const QImage converted = indexes.convertToFormat(QImage::Format_Grayscale8);
    if (converted.isNull()) {
        return false;
    }
    std::copy_n(converted.constScanLine(0), levels.size(), levels.begin());
    return true;
}

} // namespace

GrayHistogram grayHistogram(const QImage &gray)
{
    return countBytes(gray);
}

GrayScan::GrayScan(const QImage &image)
    : source(image)
{
    if (scan()) {
        size = image.size();
    }
}

GrayScan::~GrayScan() = default;

const uchar *GrayScan::levels(int y, int from, int to) const
{
    if (source.format() == QImage::Format_Indexed8) {
        const uchar *indexes = source.constScanLine(y);
        std::transform(indexes + from, indexes + to, row.begin(), [this](uchar index) { return indexLevels[index]; });
        return row.data();
    }
    if (table == nullptr || isConverted[size_t(y)]) {
        return gray.constScanLine(y) + from;
    }
    table->toLevels(colorRow(source, y) + from, to - from, row.data());
    return row.data();
}

bool GrayScan::scan()
{
    if (source.depth() == 32 && source.pixelFormat().colorModel() == QPixelFormat::RGB) {
        return scanColors();
    }
    if (source.format() == QImage::Format_Indexed8) {
        return scanIndexes();
    }
    gray = grayImage(source);
    m_histogram = grayHistogram(gray);
    return !gray.isNull();
}

bool GrayScan::scanIndexes()
{
    if (!findLevels(source, indexLevels)) {
        return false;
    }
    row.resize(size_t(source.width()));
    const GrayHistogram counts = countBytes(source);
    for (size_t index = 0; index < counts.size(); ++index) {
        m_histogram[indexLevels[index]] += counts[index];
    }
    return true;
}

bool GrayScan::scanColors()
{
    table = std::make_unique<GrayTable>(source);
    isConverted.resize(size_t(source.height()), false);
    row.resize(size_t(source.width()));
    for (int y = 0; y < source.height();) {
        if (table->count(colorRow(source, y), source.width())) {
            ++y;
        } else {
            const int bottom = std::min(y + rowsConvertedByQt, source.height());
            if (!convertRows(y, bottom)) {
                return false;
            }
            y = bottom;
        }
    }
    if (!table->convert()) {
        return false;
    }
    table->addTo(m_histogram);
    return true;
}

/// Lets Qt convert the rows from \a top up to, but not including, \a bottom.
bool GrayScan::convertRows(int top, int bottom)
{
    if (gray.isNull()) {
        gray = QImage(source.size(), QImage::Format_Grayscale8);
    }
    const QRect part(0, top, source.width(), bottom - top);
    const QImage rows = grayImage(rowsView(source, part));
    if (gray.isNull() || rows.isNull()) {
        return false;
    }
    LevelCounter counter;
    for (int y = top; y < bottom; ++y) {
        const uchar *converted = rows.constScanLine(y - top);
        std::memcpy(gray.scanLine(y), converted, size_t(source.width()));
        counter.add(converted, source.width());
        isConverted[size_t(y)] = true;
    }
    counter.addTo(m_histogram);
    return true;
}
