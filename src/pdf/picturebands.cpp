#include "pdf/picturebands.h"

#include "pdf/flateband.h"
#include "pdf/jpegband.h"
#include "pdf/jpegbands.h"
#include "pdf/samplerows.h"

#include <QColorSpace>

#include <optional>

struct PictureBands::Source
{
    QImage image;
    SampleRows samples;
    std::optional<JpegTables> jpegTables; ///< nothing if no band becomes JPEG
    int quality;
    QColorSpace colorSpace;
    std::shared_ptr<const JpegBands> file; ///< null if the picture is no JPEG file that is copied
};

namespace {

/// The JPEG file that \a picture is copied from; null if its pixels are packed.
std::shared_ptr<const JpegBands> copiedFile(const PdfPicture &picture, bool isLossless)
{
    const bool isCopied = isLossless && picture.jpeg && picture.jpeg->size() == picture.size();
    return isCopied ? picture.jpeg : nullptr;
}

std::optional<JpegTables> tablesOf(const PdfPicture &picture, const PdfOptions &options)
{
    const bool isJpeg = !options.lossless && isForJpeg(picture.image);
    return isJpeg ? std::optional(jpegTablesFor(picture.image, options.quality)) : std::nullopt;
}

} // namespace

PictureBands::PictureBands(const PdfPicture &picture, const PdfOptions &options)
    : source(std::make_unique<const Source>(Source{picture.image, SampleRows(picture.image), tablesOf(picture, options),
                                                   options.quality, picture.colorSpace,
                                                   copiedFile(picture, options.lossless)}))
{
}

PictureBands::~PictureBands() = default;

PackedBand PictureBands::pack(int first, int end) const
{
    if (source->file) {
        return source->file->pack(first, end);
    }
    const int width = source->image.width();
    const bool isJpeg = source->jpegTables && isForJpeg(end - first);
    PackedBand band;
    band.firstRow = first;
    band.colors = isJpeg ? packJpeg(source->image, first, end, source->quality, *source->jpegTables)
                         : packColors(source->samples, width, first, end);
    if (source->samples.hasTransparency(first, end)) {
        band.alpha = packAlpha(source->samples, width, first, end);
    }
    return band;
}

QByteArray PictureBands::colorProfile() const
{
    const QColorSpace &space = source->colorSpace;
    return space.isValid() && space != QColorSpace(QColorSpace::SRgb) ? space.iccProfile() : QByteArray();
}
