#pragma once

#include <QImage>

/// So many rows above and below an edge steppedPixels() reads.
constexpr int stepSurroundings = 6;

/// The rows of an image as bytes, one a channel, and their differences.
///
/// Colors are premultiplied, so that on transparent ground text differs by its
/// alpha, whatever its color. Gray images have one channel, all others four.
class ChannelRows
{
public:
    explicit ChannelRows(const QImage &image);

    int width() const { return source.width(); }
    int height() const { return source.height(); }
    int pixelBytes() const { return isGray ? 1 : 4; }
    /// What a squared difference counts: that of a gray level stands for three.
    quint64 weight() const { return isGray ? 3 : 1; }
    /// \a count rows from \a first. Converts if the format needs it.
    QImage rows(int first, int count) const;

    /// The sum of the squared differences between the rows \a a and \a b.
    quint64 difference(int a, int b) const;
    /// How many pixels of row \a b differ from those of row \a a by more than
    /// \a least, a sum of squares as well.
    int changedPixels(int a, int b, quint64 least) const;
    /// How many pixels of row \a y are at a sharp horizontal edge: they differ by more
    /// than \a least from the one above, and by far more than the next pixels above and
    /// below do. Only long runs of such pixels count, since shorter ones may be letters.
    /// Those at a line of up to stepSurroundings rows are subtracted.
    int steppedPixels(int y, quint64 least) const;
    /// How much of what changes along the row above \a y goes on in row \a y: at each
    /// pixel the smaller squared difference from the left neighbor, added up.
    quint64 continuedChange(int y) const;

private:
    QImage source;
    bool isGray;
    QImage::Format format;
};
