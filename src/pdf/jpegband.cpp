#include "pdf/jpegband.h"

#include "pdf/jpegcompressor.h"
#include "pdf/optimaltable.h"
#include "pixels/rowviews.h"

#include <algorithm>
#include <array>
#include <new>

namespace {

constexpr int rowsAtATime = 16;
constexpr int pixelsOfByte = 3; // about, in a file of quality 94

// The sample has one of so many groups of rows, within limits.
constexpr int groupsOfSampled = 32;
constexpr int leastGroups = 8;
constexpr int mostGroups = 1024;

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

/// Writes the header of a file with \a tables, or of one with tables of its own if that
/// is null.
void begin(JpegCompressor &compressor, QSize size, J_COLOR_SPACE space, int quality, const JpegTables *tables)
{
    compressor.run([=](jpeg_compress_struct &info) {
        info.image_width = JDIMENSION(size.width());
        info.image_height = JDIMENSION(size.height());
        info.in_color_space = space;
        info.input_components = space == JCS_GRAYSCALE ? 1 : space == JCS_EXT_RGB || space == JCS_EXT_BGR ? 3 : 4;
        jpeg_set_defaults(&info);
        jpeg_set_quality(&info, quality, TRUE);
        info.optimize_coding = tables == nullptr ? TRUE : FALSE;
        for (size_t i = 0; tables != nullptr && i < tables->first.size(); ++i) {
            *info.dc_huff_tbl_ptrs[i] = tables->first[i];
            *info.ac_huff_tbl_ptrs[i] = tables->others[i];
        }
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

/// Writes the rows of \a image from \a first to before \a end.
void writeImageRows(JpegCompressor &compressor, const QImage &image, int first, int end, QImage::Format format)
{
    for (int y = first; y < end; y += rowsAtATime) {
        const QImage rows = convertedRows(image, y, std::min(rowsAtATime, end - y), format);
        if (rows.isNull()) {
            throw std::bad_alloc();
        }
        writeRows(compressor, rows);
    }
}

/// How often symbols occur in a file for which \a table is the best, by the lengths of
/// its codes.
SymbolCounts countsFrom(const JHUFF_TBL &table)
{
    SymbolCounts counts{};
    const UINT8 *symbol = table.huffval;
    for (int length = 1; length <= 16; ++length) {
        for (int i = 0; i < table.bits[length]; ++i) {
            counts[*symbol++] = 1U << unsigned(20 - length);
        }
    }
    return counts;
}

/// The table \a table with a code for each of the numbers of bits that a first
/// coefficient can have.
JHUFF_TBL tableOfFirst(const JHUFF_TBL &table)
{
    constexpr size_t mostBits = 11;
    SymbolCounts counts = countsFrom(table);
    for (size_t bits = 0; bits <= mostBits; ++bits) {
        counts[bits] = std::max(1U, counts[bits]);
    }
    return optimalTable(counts);
}

/// The table \a table with a code for each number of zeros that can precede another
/// coefficient, and each number of bits that it can have.
JHUFF_TBL tableOfOthers(const JHUFF_TBL &table)
{
    constexpr size_t mostZeros = 15;
    constexpr size_t mostBits = 10;
    SymbolCounts counts = countsFrom(table);
    for (size_t zeros = 0; zeros <= mostZeros; ++zeros) {
        for (size_t bits = 1; bits <= mostBits; ++bits) {
            counts[zeros << 4U | bits] = std::max(1U, counts[zeros << 4U | bits]);
        }
    }
    counts[0] = std::max(1U, counts[0]); // the rest of the block is zero
    counts[mostZeros << 4U] = std::max(1U, counts[mostZeros << 4U]); // 16 zeros
    return optimalTable(counts);
}

} // namespace

JpegTables jpegTablesFor(const QImage &image, int quality)
{
    const RowLayout layout = layoutOf(image);
    const int groups = std::max(1, image.height() / rowsAtATime);
    const int sampled = std::min(groups, std::clamp(groups / groupsOfSampled, leastGroups, mostGroups));
    const int height = std::min(image.height(), rowsAtATime);
    JpegCompressor compressor(qsizetype(image.width()) * sampled * height / pixelsOfByte);
    begin(compressor, QSize(image.width(), sampled * height), layout.space, quality, nullptr);
    for (int i = 0; i < sampled; ++i) {
        const int first = int(qint64(groups) * i / sampled) * height;
        writeImageRows(compressor, image, first, first + height, layout.format);
    }
    JpegTables tables{};
    compressor.run([&](jpeg_compress_struct &info) {
        jpeg_finish_compress(&info);
        for (size_t i = 0; i < tables.first.size(); ++i) {
            tables.first[i] = *info.dc_huff_tbl_ptrs[i];
            tables.others[i] = *info.ac_huff_tbl_ptrs[i];
        }
    });
    std::transform(tables.first.begin(), tables.first.end(), tables.first.begin(), tableOfFirst);
    std::transform(tables.others.begin(), tables.others.end(), tables.others.begin(), tableOfOthers);
    return tables;
}

bool isForJpeg(const QImage &image)
{
    return image.depth() > 1 && image.width() <= JPEG_MAX_DIMENSION;
}

bool isForJpeg(int rows)
{
    return rows <= JPEG_MAX_DIMENSION;
}

PackedImage packJpeg(const QImage &image, int first, int end, int quality, const JpegTables &tables)
{
    const RowLayout layout = layoutOf(image);
    const QSize size(image.width(), end - first);
    JpegCompressor compressor(qsizetype(size.width()) * size.height() / pixelsOfByte);
    begin(compressor, size, layout.space, quality, &tables);
    writeImageRows(compressor, image, first, end, layout.format);
    compressor.run([](jpeg_compress_struct &info) { jpeg_finish_compress(&info); });
    PackedImage packed = packedImage(size.width(), size.height(), layout.space == JCS_GRAYSCALE ? 1 : 3, 8);
    packed.coding = PackedImage::Coding::Jpeg;
    packed.bytes = compressor.takeBytes();
    return packed;
}
