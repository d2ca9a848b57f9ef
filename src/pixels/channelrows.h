#pragma once

#include <QImage>

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

private:
    QImage source;
    bool isGray;
    QImage::Format format;
};
