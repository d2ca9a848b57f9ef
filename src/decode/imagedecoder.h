#pragma once

#include "decode/decodethreads.h"

#include <QByteArray>
#include <QImage>
#include <QSize>

#include <memory>

class QIODevice;

/// Decodes one image to what QImageReader would read from the same file, turned
/// upright, but faster. Whatever is unusual or damaged is left to QImageReader.
class ImageDecoder
{
public:
    ImageDecoder() = default;
    virtual ~ImageDecoder() = default;
    ImageDecoder(const ImageDecoder &) = delete;
    ImageDecoder &operator=(const ImageDecoder &) = delete;

    /// The size that the file states, in pixels, before it is turned upright.
    virtual QSize size() const = 0;

    /// The image; null if QImageReader must read the file. Keeps to the
    /// allocation limit of QImageReader. No thread outlives the call.
    virtual QImage read(DecodeThreads threads) = 0;
};

/// A decoder of the file that \a device holds, whose format is \a format as
/// QImageReader names it; null if QImageReader must read the file. The device
/// must be open and must outlive the decoder.
std::unique_ptr<ImageDecoder> makeImageDecoder(QIODevice &device, const QByteArray &format);
