#include "decode/imagedecoder.h"

#include "decode/jpegdecoder.h"
#include "decode/pngdecoder.h"

#include <QThread>

std::unique_ptr<ImageDecoder> makeImageDecoder(QIODevice &device, const QByteArray &format)
{
    if (format == "png") {
        return makePngDecoder(device);
    }
    return format == "jpeg" ? makeJpegDecoder(device) : nullptr;
}

DecodeThreads availableDecodeThreads()
{
    return QThread::idealThreadCount() > 1 ? DecodeThreads::Two : DecodeThreads::One;
}
