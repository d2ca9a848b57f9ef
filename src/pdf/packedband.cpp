#include "pdf/packedband.h"

PackedImage packedImage(int width, int height, int channels, int bits)
{
    PackedImage image;
    image.width = width;
    image.height = height;
    image.channels = channels;
    image.bits = bits;
    return image;
}
