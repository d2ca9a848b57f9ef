#include "decode/imagedecoder.h"

#include "decode/jpegdecoder.h"
#include "decode/pngdecoder.h"

#include <QIODevice>

std::unique_ptr<ImageDecoder> makeImageDecoder(QIODevice &device, const QByteArray &format)
{
    if (device.isSequential()) {
        return nullptr;
    }
    if (format == "png") {
        return makePngDecoder(device);
    }
    return format == "jpeg" ? makeJpegDecoder(device) : nullptr;
}
