#include "decode/pngrows.h"

#include "decode/pngrowkernels.h"

#include <QtEndian>

#include <cstdlib>
#include <cstring>

namespace {

enum Filter { None, Sub, Up, Average, Paeth };

/// The Paeth predictor, as ISO/IEC 15948 (PNG) defines it.
uchar paeth(int left, int above, int aboveLeft)
{
    const int estimate = left + above - aboveLeft;
    const int toLeft = std::abs(estimate - left);
    const int toAbove = std::abs(estimate - above);
    const int toAboveLeft = std::abs(estimate - aboveLeft);
    if (toLeft <= toAbove && toLeft <= toAboveLeft) {
        return uchar(left);
    }
    return uchar(toAbove <= toAboveLeft ? above : aboveLeft);
}

uchar predicted(int filter, int left, int above, int aboveLeft)
{
    switch (filter) {
    case Sub:
        return uchar(left);
    case Up:
        return uchar(above);
    case Average:
        return uchar((left + above) / 2);
    case Paeth:
        return paeth(left, above, aboveLeft);
    default:
        return 0;
    }
}

/// Where in a written pixel of \a Channels a stored channel goes: a 32-bit word
/// has blue in its lowest byte.
template <int Channels>
int placeOf(int channel)
{
    const int fromLow = Channels > 1 && channel < 3 ? 2 - channel : channel;
    return QSysInfo::ByteOrder == QSysInfo::LittleEndian || Channels == 1 ? fromLow : 3 - fromLow;
}

template <int Channels>
bool decodePlain(int filter, const uchar *from, uchar *to, const uchar *above, int pixels)
{
    if (filter < None || filter > Paeth) {
        return false;
    }
    constexpr int step = Channels == 1 ? 1 : 4; // bytes a written pixel
    for (int channel = 0; channel < Channels; ++channel) {
        const int place = placeOf<Channels>(channel);
        int left = 0;
        int aboveLeft = 0;
        for (qsizetype x = 0; x < pixels; ++x) {
            const int up = above[x * step + place];
            left = uchar(from[x * Channels + channel] + predicted(filter, left, up, aboveLeft));
            to[x * step + place] = uchar(left);
            aboveLeft = up;
        }
    }
    if (Channels == 3) {
        for (qsizetype x = 0; x < pixels; ++x) {
            to[x * step + placeOf<4>(3)] = 0xff;
        }
    }
    return true;
}

} // namespace

QList<PngRowDecoders> pngRowDecoders()
{
    QList<PngRowDecoders> decoders{{"any", decodePlain<1>, decodePlain<3>, decodePlain<4>}};
    addVectorPngRowDecoders(decoders);
    return decoders;
}

const PngRowDecoders &fastestPngRowDecoders()
{
    static const PngRowDecoders fastest = pngRowDecoders().last();
    return fastest;
}
