#pragma once

#include "pixels/grayscan.h"

#include <QColorSpace>
#include <QImage>

#include <vector>

/// The colors of a 32-bit image, their counts and their gray levels: a hash table
/// with open addressing.
class GrayTable
{
public:
    /// For colors in the format and color space of \a image.
    explicit GrayTable(const QImage &image);

    /// Counts the colors of \a pixels. Returns false, and counts none of them, if
    /// there are too many for the table.
    bool count(const QRgb *pixels, qsizetype length);

    /// Finds the gray levels of all colors. Call it once, after the last count().
    /// Returns false if memory runs out.
    bool convert();

    /// Adds the counts of all pixels to \a histogram, by gray level.
    void addTo(GrayHistogram &histogram) const;

    /// Writes the gray levels of \a pixels, which must have been counted, to \a row.
    void toLevels(const QRgb *pixels, qsizetype length, uchar *row) const;

private:
    size_t slotOf(QRgb color) const;
    quint32 *countOf(QRgb color);

    QImage::Format format;
    QColorSpace colorSpace;
    std::vector<quint64> hashSlots; // color in the low half, 1 + its index in the lists in the high half; 0 if free
    std::vector<QRgb> colors;
    std::vector<quint32> counts;
    std::vector<uchar> levels;
};
