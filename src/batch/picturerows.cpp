#include "batch/picturerows.h"

#include "pdf/jpegbands.h"
#include "pixels/rowviews.h"

#include <new>

PictureRows::PictureRows(const QImage &image)
    : pixels(image)
{
}

PictureRows::PictureRows(std::shared_ptr<const JpegBands> jpeg)
    : file(std::move(jpeg))
{
}

QSize PictureRows::size() const
{
    return file ? file->size() : pixels.size();
}

QImage PictureRows::rows(int first, int end) const
{
    if (!file) {
        return rowsView(pixels, QRect(0, first, pixels.width(), end - first));
    }
    const PackedBand band = file->pack(first, end);
    const QImage decoded = QImage::fromData(band.colors.bytes, "jpeg");
    if (decoded.isNull()) {
        throw std::bad_alloc();
    }
    return rowsView(decoded, QRect(0, first - band.firstRow, decoded.width(), end - first));
}
