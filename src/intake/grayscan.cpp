#include "intake/grayscan.h"

#include "page/bandview.h"

#include <QColorSpace>

#include <algorithm>
#include <cstring>
#include <vector>

namespace {

// So many rows are looked through for new colours before these are converted.
constexpr int rowsAtOnce = 16;

// So many rows are left to the toolkit where there are too many colours.
constexpr int colorfulRowsAtOnce = 256;

/// The length of the run of equal pixels at the start of \a pixels, 1 to
/// \a length.
qsizetype runLength(const QRgb *pixels, qsizetype length)
{
    constexpr qsizetype atOnce = 8;
    const QRgb first = pixels[0];
    const quint64 two = (quint64(first) << 32) | first;
    qsizetype run = 0;
    while (run + atOnce <= length) {
        std::array<quint64, 4> words{};
        std::memcpy(words.data(), pixels + run, sizeof words);
        if (((words[0] ^ two) | (words[1] ^ two) | (words[2] ^ two) | (words[3] ^ two)) != 0) {
            break;
        }
        run += atOnce;
    }
    while (run < length && pixels[run] == first) {
        ++run;
    }
    return run;
}

/// The colours met so far and their gray levels: a hash table with open
/// addressing.
class GrayTable
{
public:
    explicit GrayTable(const QImage &image)
        : format(image.format())
        , colorSpace(image.colorSpace())
        , table(slotCount, 0)
    {
    }

    /// Takes the colours of \a pixels. Returns false when there are too many.
    bool add(const QRgb *pixels, qsizetype length)
    {
        for (qsizetype x = 0; x < length; x += runLength(pixels + x, length - x)) {
            quint64 &slot = slotOf(pixels[x]);
            if (slot == 0) {
                if (colorCount == mostColors) {
                    return false;
                }
                ++colorCount;
                slot = usedMark | pixels[x];
                added.push_back(pixels[x]);
            }
        }
        return true;
    }

    /// Finds the levels of the colours that were added since the last call.
    void convertAdded()
    {
        if (added.empty()) {
            return;
        }
        QImage colors(reinterpret_cast<const uchar *>(added.data()), int(added.size()), 1, format);
        colors.setColorSpace(colorSpace);
        const QImage levels = colors.convertToFormat(QImage::Format_Grayscale8);
        const uchar *level = levels.constScanLine(0);
        for (const QRgb color : added) {
            slotOf(color) |= quint64(*level++) << levelShift;
        }
        added.clear();
    }

    uchar level(QRgb color) { return uchar(slotOf(color) >> levelShift); }

private:
    static constexpr int slotBits = 17;
    static constexpr size_t slotCount = size_t(1) << slotBits;
    static constexpr size_t mostColors = slotCount / 2;
    static constexpr int levelShift = 32;
    static constexpr quint64 usedMark = quint64(1) << 40;

    quint64 &slotOf(QRgb color)
    {
        size_t index = (color * 0x9e3779b1U) >> (32 - slotBits);
        while (table[index] != 0 && QRgb(table[index]) != color) {
            index = (index + 1) % slotCount;
        }
        return table[index];
    }

    QImage::Format format;
    QColorSpace colorSpace;
    std::vector<quint64> table; // colour in the low half, level above it, used mark on top
    std::vector<QRgb> added;
    size_t colorCount = 0;
};

const QRgb *colorRow(const QImage &image, int y)
{
    return reinterpret_cast<const QRgb *>(image.constScanLine(y));
}

/// Counts levels, a block of equal neighbours in one step, and others in several
/// histograms in turn, so that they do not wait for each other.
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
    static constexpr qsizetype wordLength = sizeof(quint64); // a byte a level
    static constexpr qsizetype blockLength = sizeof(Block);

    static quint64 eightOf(quint64 level) { return level * 0x0101010101010101; }

    void addBlock(const Block &block)
    {
        const quint64 level = block[0] & 0xff;
        const quint64 same = eightOf(level);
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

void convertRow(const QRgb *pixels, qsizetype length, GrayTable &table, uchar *grayRow, GrayHistogram &histogram)
{
    for (qsizetype x = 0; x < length;) {
        const qsizetype run = runLength(pixels + x, length - x);
        const uchar level = table.level(pixels[x]);
        std::memset(grayRow + x, level, size_t(run));
        histogram[level] += quint32(run);
        x += run;
    }
}

/// Copies \a rows into \a gray from row \a top on, and counts their levels.
void takeRows(const QImage &rows, int top, QImage &gray, LevelCounter &counter)
{
    for (int y = 0; y < rows.height(); ++y) {
        const uchar *row = rows.constScanLine(y);
        std::memcpy(gray.scanLine(top + y), row, size_t(rows.width()));
        counter.add(row, rows.width());
    }
}

bool addRows(const QImage &image, int top, int bottom, GrayTable &table)
{
    for (int y = top; y < bottom; ++y) {
        if (!table.add(colorRow(image, y), image.width())) {
            return false;
        }
    }
    return true;
}

/// For an image of 32-bit colours.
GrayScan scanColors(const QImage &image)
{
    GrayScan scan;
    scan.gray = QImage(image.size(), QImage::Format_Grayscale8);
    GrayTable table(image);
    LevelCounter counter;
    int top = 0;
    while (top < image.height() && !scan.gray.isNull()) {
        int bottom = std::min(top + rowsAtOnce, image.height());
        if (addRows(image, top, bottom, table)) {
            table.convertAdded();
            for (int y = top; y < bottom; ++y) {
                convertRow(colorRow(image, y), image.width(), table, scan.gray.scanLine(y), scan.histogram);
            }
        } else {
            bottom = std::min(top + colorfulRowsAtOnce, image.height());
            const QRect rows(0, top, image.width(), bottom - top);
            takeRows(rowsView(image, rows).convertToFormat(QImage::Format_Grayscale8), top, scan.gray, counter);
        }
        top = bottom;
    }
    counter.addTo(scan.histogram);
    return scan;
}

} // namespace

GrayHistogram grayHistogram(const QImage &gray)
{
    GrayHistogram histogram{};
    LevelCounter counter;
    for (int y = 0; y < gray.height(); ++y) {
        counter.add(gray.constScanLine(y), gray.width());
    }
    counter.addTo(histogram);
    return histogram;
}

GrayScan scanGray(const QImage &image)
{
    if (image.depth() == 32 && image.pixelFormat().colorModel() == QPixelFormat::RGB) {
        return scanColors(image);
    }
    GrayScan scan;
    scan.gray = image.convertToFormat(QImage::Format_Grayscale8);
    scan.histogram = grayHistogram(scan.gray);
    return scan;
}
