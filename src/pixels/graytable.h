#pragma once

#include "pixels/grayscan.h"

#include <QColorSpace>
#include <QImage>

#include <vector>

/// The colours of an image of 32-bit colours, how often they occur, and their
/// gray levels: a hash table with open addressing.
class GrayTable
{
public:
    /// For colours in the format and the colour space of \a image.
    explicit GrayTable(const QImage &image);

    /// Counts the colours of \a pixels. False, and nothing is counted, if there
    /// are too many for the table.
    bool count(const QRgb *pixels, qsizetype length);

    /// Finds the levels of all colours. Call it once, after the last count().
    /// False without the memory for that.
    bool convert();

    /// Adds the counted pixels to \a histogram by their levels.
    void addTo(GrayHistogram &histogram) const;

    /// Puts the levels of \a pixels, whose colours were counted, into \a row.
    void toLevels(const QRgb *pixels, qsizetype length, uchar *row) const;

private:
    size_t slotOf(QRgb color) const;
    quint32 *countOf(QRgb color);

    QImage::Format format;
    QColorSpace colorSpace;
    std::vector<quint64> slotted; // the colour in the low half, 1 + its place in the lists above it
    std::vector<QRgb> colors;
    std::vector<quint32> counts;
    std::vector<uchar> levels;
};
