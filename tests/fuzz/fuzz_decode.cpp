#include "decode/decodecomparison.h"
#include "fuzzing.h"
#include "support/pngbytes.h"

#include <QBuffer>

namespace {

// What an input may claim to hold, so that an input takes milliseconds.
constexpr qint64 mostPixels = 1'000'000;

/// Whether the decoder takes \a bytes, and not too many pixels of them.
bool isWorthComparing(QByteArray bytes, const char *format)
{
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    const auto decoder = makeImageDecoder(buffer, format);
    return decoder && qint64(decoder->size().width()) * decoder->size().height() <= mostPixels;
}

void requireSameAsQt(const QByteArray &bytes, const char *format)
{
    if (!isWorthComparing(bytes, format)) {
        return;
    }
    const QString difference = differenceFromQt(bytes, format, DecodeThreads::Two);
    require(difference.isEmpty(), qPrintable(difference));
}

} // namespace

/// The decoders give what QImageReader gives, or leave the file to it.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const bool isSilent = (silenceWarnings(), true);
    Q_UNUSED(isSilent)
    const QByteArray bytes = bytesOf(data, size);
    requireSameAsQt(bytes, "jpeg");
    requireSameAsQt(bytes, "png");
    if (bytes.startsWith(pngSignature)) {
        requireSameAsQt(withRightChecksums(bytes), "png"); // or few changes would get beyond them
    }
    return 0;
}
