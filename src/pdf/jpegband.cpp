#include "pdf/jpegband.h"

#include "pdf/jpegcompressor.h"
#include "pixels/rowviews.h"

#include <algorithm>
#include <array>
#include <new>

namespace {

constexpr int rowsAtATime = 16;
constexpr int pixelsOfByte = 3; // about, in a file of quality 94

/// How libjpeg reads the rows of an image.
struct RowLayout
{
    QImage::Format format; ///< rows of other formats are converted to it
    J_COLOR_SPACE space;
};

RowLayout layoutOf(const QImage &image)
{
    switch (image.format()) {
    case QImage::Format_Grayscale8:
    case QImage::Format_Grayscale16:
        return {QImage::Format_Grayscale8, JCS_GRAYSCALE};
    case QImage::Format_Indexed8:
        return image.allGray() ? RowLayout{QImage::Format_Grayscale8, JCS_GRAYSCALE}
                               : RowLayout{QImage::Format_RGB32, JCS_EXT_BGRX};
    case QImage::Format_RGB888:
        return {image.format(), JCS_EXT_RGB};
    case QImage::Format_BGR888:
        return {image.format(), JCS_EXT_BGR};
    case QImage::Format_RGBX8888:
    case QImage::Format_RGBA8888:
        return {image.format(), JCS_EXT_RGBX};
    case QImage::Format_ARGB32:
        return {image.format(), JCS_EXT_BGRX};
    default:
        return {image.hasAlphaChannel() ? QImage::Format_ARGB32 : QImage::Format_RGB32, JCS_EXT_BGRX};
    }
}

/// The rows of a palette image from \a first on, as many as \a target has; a conversion
/// by QImage would read the table again for each few rows.
void writePalette(const QImage &image, int first, QImage &target)
{
    QList<QRgb> colors = image.colorTable();
    colors.resize(256, 0xff000000U);
    for (int y = 0; y < target.height(); ++y) {
        const uchar *row = image.constScanLine(first + y);
        const QRgb *table = colors.constData();
        if (target.format() == QImage::Format_Grayscale8) {
            std::transform(row, row + image.width(), target.scanLine(y),
                           [table](uchar index) { return uchar(qRed(table[index])); });
        } else {
            std::transform(row, row + image.width(), pixelRow<QRgb>(target, y),
                           [table](uchar index) { return table[index]; });
        }
    }
}

QImage convertedRows(const QImage &image, int first, int count, QImage::Format format)
{
    if (image.format() != QImage::Format_Indexed8) {
        return rowsView(image, QRect(0, first, image.width(), count)).convertToFormat(format, Qt::NoOpaqueDetection);
    }
    QImage rows(image.width(), count, format);
    if (!rows.isNull()) {
        writePalette(image, first, rows);
    }
    return rows;
}

void begin(JpegCompressor &compressor, QSize size, J_COLOR_SPACE space, int quality)
{
    compressor.run([=](jpeg_compress_struct &info) {
        info.image_width = JDIMENSION(size.width());
        info.image_height = JDIMENSION(size.height());
        info.in_color_space = space;
        info.input_components = space == JCS_GRAYSCALE ? 1 : space == JCS_EXT_RGB || space == JCS_EXT_BGR ? 3 : 4;
        jpeg_set_defaults(&info);
        jpeg_set_quality(&info, quality, TRUE);
        jpeg_start_compress(&info, TRUE);
    });
}

void writeRows(JpegCompressor &compressor, const QImage &rows)
{
    std::array<JSAMPROW, rowsAtATime> lines{};
    for (int y = 0; y < rows.height(); ++y) {
        lines[size_t(y)] = const_cast<JSAMPROW>(rows.constScanLine(y)); // libjpeg only reads them
    }
    compressor.run(
        [&](jpeg_compress_struct &info) { jpeg_write_scanlines(&info, lines.data(), JDIMENSION(rows.height())); });
}

} // namespace

bool isForJpeg(const QImage &image)
{
    return image.depth() > 1 && image.width() <= JPEG_MAX_DIMENSION;
}

bool isForJpeg(int rows)
{
    return rows <= JPEG_MAX_DIMENSION;
}

PackedImage packJpeg(const QImage &image, int first, int end, int quality)
{
    const RowLayout layout = layoutOf(image);
    const QSize size(image.width(), end - first);
    JpegCompressor compressor(qsizetype(size.width()) * size.height() / pixelsOfByte);
    begin(compressor, size, layout.space, quality);
    for (int y = first; y < end; y += rowsAtATime) {
        const QImage rows = convertedRows(image, y, std::min(rowsAtATime, end - y), layout.format);
        if (rows.isNull()) {
            throw std::bad_alloc();
        }
        writeRows(compressor, rows);
    }
    compressor.run([](jpeg_compress_struct &info) { jpeg_finish_compress(&info); });
    PackedImage packed = packedImage(size.width(), size.height(), layout.space == JCS_GRAYSCALE ? 1 : 3, 8);
    packed.coding = PackedImage::Coding::Jpeg;
    packed.bytes = compressor.takeBytes();
    return packed;
}
