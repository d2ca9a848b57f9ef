// Takes the place of imagedecoder.cpp where the libraries of the decoders are missing.
#include "decode/imagedecoder.h"

std::unique_ptr<ImageDecoder> makeImageDecoder(QIODevice & /*device*/, const QByteArray & /*format*/)
{
    return nullptr;
}
