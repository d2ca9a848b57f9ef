#include "decode/pngdecoder.h"

#include "decode/decodedimage.h"
#include "decode/memoryahead.h"
#include "decode/pngrows.h"
#include "decode/rowsource.h"

#include <algorithm>

namespace {

constexpr qint64 worthSecondThread = qint64(2) << 20; // bytes of rows
constexpr qint64 mostRowBytes = qint64(0xffff0000); // the library counts in 32 bits

QImage::Format formatOf(const PngFile &file)
{
    constexpr char palette = 3;
    switch (file.channels) {
    case 1:
        return file.header.at(9) == palette ? QImage::Format_Indexed8 : QImage::Format_Grayscale8;
    case 3:
        return QImage::Format_RGB32;
    default:
        return QImage::Format_ARGB32;
    }
}

PngRowDecoder rowDecoderOf(const PngFile &file)
{
    const PngRowDecoders &decoders = fastestPngRowDecoders();
    return file.channels == 1 ? decoders.bytes : file.channels == 3 ? decoders.rgb : decoders.rgba;
}

/// Whether a row of an image with a palette names only colors that exist.
bool isWithinPalette(const QImage &image, const uchar *row, qsizetype colors)
{
    const auto all = std::size_t(image.width());
    uchar highest = 0;
    for (std::size_t x = 0; x < all; ++x) {
        highest = std::max(highest, row[x]);
    }
    return highest < colors;
}

class PngDecoder : public ImageDecoder
{
public:
    PngDecoder(std::unique_ptr<SharedDevice> shared, PngFile parsed)
        : device(std::move(shared))
        , file(std::move(parsed))
    {
    }

    QSize size() const override { return file.size; }
    QImage read(DecodeThreads threads) override;

private:
    bool readRows(QImage &image, qsizetype colors, DecodeThreads threads);

    std::unique_ptr<SharedDevice> device;
    PngFile file;
};

QImage PngDecoder::read(DecodeThreads threads)
{
    const QImage standIn = readByQt(pngStandIn(file), "png");
    if (standIn.format() != formatOf(file)) {
        return {}; // refused, or made something else by a chunk
    }
    QImage image = allocatedImage(file.size, standIn.format());
    if (image.isNull() || !readRows(image, standIn.colorCount(), threads)) {
        return {};
    }
    return copyMetadata(standIn, image) ? image : QImage();
}

bool PngDecoder::readRows(QImage &image, qsizetype colors, DecodeThreads threads)
{
    const qsizetype rowBytes = 1 + qsizetype(image.width()) * file.channels;
    const qint64 allBytes = rowBytes * image.height();
    if (allBytes > mostRowBytes) {
        return false;
    }
    InflateStream stream(*device, file.data);
    RowSource source(stream, rowBytes, image.height(), allBytes < worthSecondThread ? DecodeThreads::One : threads);
    const PngRowDecoder decode = rowDecoderOf(file);
    const std::vector<uchar> noRow(size_t(image.bytesPerLine()));
    uchar *to = image.bits();
    const uchar *above = noRow.data();
    uchar *end = to + image.sizeInBytes();
    MemoryAhead memory(to, end);
    while (to != end) {
        memory.reach(to);
        const std::span<const uchar> rows = source.next();
        if (rows.empty()) {
            return false;
        }
        for (size_t at = 0; at < rows.size(); at += size_t(rowBytes)) {
            if (!decode(rows[at], rows.data() + at + 1, to, above, image.width())
                || (colors > 0 && !isWithinPalette(image, to, colors))) {
                return false;
            }
            above = to;
            to += image.bytesPerLine();
        }
    }
    return source.isIntact();
}

} // namespace

std::unique_ptr<ImageDecoder> makePngDecoder(QIODevice &device)
{
    auto shared = std::make_unique<SharedDevice>(device);
    std::optional<PngFile> file = parsePng(*shared);
    if (!file) {
        return nullptr;
    }
    return std::make_unique<PngDecoder>(std::move(shared), std::move(*file));
}
