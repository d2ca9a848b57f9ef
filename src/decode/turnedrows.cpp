#include "decode/turnedrows.h"

#include <algorithm>
#include <vector>

namespace {

template <typename Pixel>
void writeMirrored(const uchar *stored, uchar *to, int width)
{
    const auto *pixels = reinterpret_cast<const Pixel *>(stored);
    std::reverse_copy(pixels, pixels + width, reinterpret_cast<Pixel *>(to));
}

/// Writes \a lines, one beside the other, as columns from \a to on downward.
template <typename Pixel>
void writeColumns(std::span<const uchar *const> lines, int length, uchar *to, qsizetype stride)
{
    for (int i = 0; i < length; ++i) {
        auto *out = reinterpret_cast<Pixel *>(to + i * stride);
        for (const uchar *line : lines) {
            *out++ = reinterpret_cast<const Pixel *>(line)[i];
        }
    }
}

} // namespace

int Turn::lineOf(int storedRow) const
{
    const bool isReversed = wanted.testFlag(QImageIOHandler::TransformationFlip) != swapsSides();
    return isReversed ? stored.height() - 1 - storedRow : storedRow;
}

void Turn::write(std::span<const uchar *const> rows, int firstRow, uchar *bits, qsizetype stride, int depth) const
{
    const bool isMirrored = wanted.testFlag(QImageIOHandler::TransformationMirror);
    if (!swapsSides()) {
        for (size_t i = 0; i < rows.size(); ++i) {
            uchar *to = bits + lineOf(firstRow + int(i)) * stride;
            depth == 32 ? writeMirrored<quint32>(rows[i], to, stored.width())
                        : writeMirrored<uchar>(rows[i], to, stored.width());
        }
        return;
    }
    const int lastRow = firstRow + int(rows.size()) - 1;
    std::vector<const uchar *> lines(rows.begin(), rows.end());
    if (lineOf(lastRow) < lineOf(firstRow)) {
        std::reverse(lines.begin(), lines.end());
    }
    uchar *to = bits + qsizetype(std::min(lineOf(firstRow), lineOf(lastRow))) * (depth / 8)
        + (isMirrored ? (stored.width() - 1) * stride : 0);
    const qsizetype step = isMirrored ? -stride : stride;
    depth == 32 ? writeColumns<quint32>(lines, stored.width(), to, step)
                : writeColumns<uchar>(lines, stored.width(), to, step);
}
