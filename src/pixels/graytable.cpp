#include "pixels/graytable.h"

#include "pixels/grayimage.h"

#include <array>
#include <cstring>

namespace {

constexpr int slotBits = 17;
constexpr size_t slotCount = size_t(1) << slotBits;
constexpr size_t maxColors = slotCount / 2;

/// The number of equal pixels at the start of \a pixels, 1 to \a length.
qsizetype runLength(const QRgb *pixels, qsizetype length)
{
    constexpr qsizetype pixelsPerStep = 8;
    const QRgb first = pixels[0];
    const quint64 two = (quint64(first) << 32) | first;
    qsizetype run = 0;
    while (run + pixelsPerStep <= length) {
        std::array<quint64, 4> words{};
        std::memcpy(words.data(), pixels + run, sizeof words);
        if (((words[0] ^ two) | (words[1] ^ two) | (words[2] ^ two) | (words[3] ^ two)) != 0) {
            break;
        }
        run += pixelsPerStep;
    }
    while (run < length && pixels[run] == first) {
        ++run;
    }
    return run;
}

size_t indexOf(quint64 slot)
{
    return size_t(slot >> 32) - 1;
}

} // namespace

GrayTable::GrayTable(const QImage &image)
    : format(image.format())
    , colorSpace(image.colorSpace())
    , hashSlots(slotCount, 0)
{
}

bool GrayTable::count(const QRgb *pixels, qsizetype length)
{
    for (qsizetype x = 0; x < length;) {
        const qsizetype run = runLength(pixels + x, length - x);
        quint32 *const counted = countOf(pixels[x]);
        if (counted == nullptr) {
            for (qsizetype taken = 0; taken < x; ++taken) {
                --*countOf(pixels[taken]);
            }
            return false;
        }
        *counted += quint32(run);
        x += run;
    }
    return true;
}

bool GrayTable::convert()
{
    if (colors.empty()) {
        return true;
    }
    QImage line(reinterpret_cast<const uchar *>(colors.data()), int(colors.size()), 1, format);
    line.setColorSpace(colorSpace);
    const QImage gray = grayImage(line);
    if (gray.isNull()) {
        return false;
    }
    levels.assign(gray.constScanLine(0), gray.constScanLine(0) + colors.size());
    return true;
}

void GrayTable::addTo(GrayHistogram &histogram) const
{
    for (size_t i = 0; i < levels.size(); ++i) {
        histogram[levels[i]] += counts[i];
    }
}

void GrayTable::toLevels(const QRgb *pixels, qsizetype length, uchar *row) const
{
    for (qsizetype x = 0; x < length;) {
        const qsizetype run = runLength(pixels + x, length - x);
        std::memset(row + x, levels[indexOf(hashSlots[slotOf(pixels[x])])], size_t(run));
        x += run;
    }
}

/// The slot that holds \a color, or the free slot where it belongs.
size_t GrayTable::slotOf(QRgb color) const
{
    size_t index = (color * 0x9e3779b1U) >> (32 - slotBits);
    while (hashSlots[index] != 0 && QRgb(hashSlots[index]) != color) {
        index = (index + 1) % slotCount;
    }
    return index;
}

/// The count of \a color, which is added if it is new; null if the table is full.
quint32 *GrayTable::countOf(QRgb color)
{
    quint64 &slot = hashSlots[slotOf(color)];
    if (slot == 0) {
        if (colors.size() == maxColors) {
            return nullptr;
        }
        colors.push_back(color);
        counts.push_back(0);
        slot = (quint64(colors.size()) << 32) | color;
    }
    return &counts[indexOf(slot)];
}
