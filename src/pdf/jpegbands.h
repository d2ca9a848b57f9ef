#pragma once

#include "pdf/packedband.h"

#include <QByteArray>
#include <QSize>

#include <memory>

/// A JPEG file from which bands are copied without decoding them.
///
/// A band is again a JPEG file. It has whole blocks, and those rows around the wanted
/// ones from which a decoder computes their colors, so that these come out as from the
/// whole file.
class JpegBands
{
public:
    /// The bands of the file \a jpeg; null if it is damaged, or of a kind of which a copy
    /// could show other colors: neither gray nor YCbCr nor RGB with 8 bits.
    static std::shared_ptr<const JpegBands> read(const QByteArray &jpeg);

    virtual ~JpegBands() = default;
    JpegBands(const JpegBands &) = delete;
    JpegBands &operator=(const JpegBands &) = delete;

    QSize size() const { return layout.size; }

    /// The rows from \a first to before \a end, and those around them that are needed.
    /// May be called on several threads.
    PackedBand pack(int first, int end) const;

protected:
    struct Frame
    {
        QSize size;
        int channels = 1;
        int unitHeight = 8; ///< rows that are decoded together
        int context = 0; ///< rows around a band that its colors depend on
    };

    explicit JpegBands(const Frame &frame);

    /// The file with the rows from \a first, a multiple of the unit height, to before
    /// \a end, another one or the end of the picture.
    virtual QByteArray copyRows(int first, int end) const = 0;

private:
    Frame layout;
};
