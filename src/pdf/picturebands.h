#pragma once

#include "pdf/packedband.h"
#include "pdf/pdfwriter.h"

#include <memory>

/// Packs the bands of one picture. All functions may be called on several threads.
class PictureBands
{
public:
    PictureBands(const PdfPicture &picture, const PdfOptions &options);
    ~PictureBands();
    PictureBands(const PictureBands &) = delete;
    PictureBands &operator=(const PictureBands &) = delete;

    /// The rows from \a first to before \a end, and perhaps some above and below.
    PackedBand pack(int first, int end) const;

    /// The ICC profile that the samples refer to; empty if they are those of sRGB or of
    /// no known color space.
    QByteArray colorProfile() const;

private:
    struct Source;

    std::unique_ptr<const Source> source;
};
