#pragma once

#include <QImage>
#include <QList>

/// The samples of a picture as PDF images have them: bytes without padding, in the
/// order red, green, blue, and those of 16 bits with the high byte first.
class SampleRows
{
public:
    enum class Kind { Bits, Indexes, Gray8, Gray16, Color8, Color16 };

    explicit SampleRows(const QImage &picture);

    Kind kind() const { return m_kind; }
    int channels() const { return m_kind == Kind::Color8 || m_kind == Kind::Color16 ? 3 : 1; }
    int bits() const { return sampleBits; }

    /// The colors of indexes, three bytes each, as many as an index can name; empty if
    /// the samples are no indexes.
    const QByteArray &palette() const { return m_palette; }

    /// Bytes of a row of colors, and of one of the alpha channel.
    qsizetype rowBytes() const { return (qsizetype(image.width()) * channels() * bits() + 7) / 8; }
    qsizetype alphaRowBytes() const { return qsizetype(image.width()) * (m_kind == Kind::Color16 ? 2 : 1); }

    /// Writes the colors of \a count rows from \a first on to \a target, row by row,
    /// each \a stride bytes after the one before.
    void writeColors(int first, int count, uchar *target, qsizetype stride) const;

    /// The same for the alpha channel. For pictures with one.
    void writeAlpha(int first, int count, uchar *target, qsizetype stride) const;

    /// Whether any pixel from row \a first to before \a end is not opaque.
    bool hasTransparency(int first, int end) const;

private:
    QImage image;
    Kind m_kind;
    int sampleBits; ///< 1, 2 or 4 for few colors
    QByteArray m_palette;
    QByteArray paletteAlpha; ///< of each index; empty if all are opaque
    QImage::Format workFormat; ///< that rows are converted to before samples are taken
};
