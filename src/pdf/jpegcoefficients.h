#pragma once

#include "pdf/packedband.h"

#include <QByteArray>
#include <QSize>

#include <memory>

/// The coefficients of a JPEG file, from which bands are copied without decoding them.
///
/// A band is again a JPEG file, with the tables and the kind of the file. It has whole
/// blocks, and those rows around the wanted ones from which a decoder computes their
/// colors, so that these come out as from the whole file.
class JpegCoefficients
{
public:
    /// The coefficients of the file \a jpeg; null if it is damaged, has not the size
    /// \a size, or is of a kind of which a copy could show other colors: neither gray
    /// nor YCbCr nor RGB with 8 bits.
    static std::unique_ptr<const JpegCoefficients> read(const QByteArray &jpeg, QSize size);

    ~JpegCoefficients();
    JpegCoefficients(const JpegCoefficients &) = delete;
    JpegCoefficients &operator=(const JpegCoefficients &) = delete;

    /// The rows from \a first to before \a end, and those around them that are needed.
    /// May be called on several threads.
    PackedBand pack(int first, int end) const;

private:
    struct Decompression;

    explicit JpegCoefficients(std::unique_ptr<Decompression> opened);

    QByteArray copyRows(int first, int end, bool keepsTables) const;

    std::unique_ptr<Decompression> source;
};
