#include "pdf/jpegbands.h"

#include "pdf/jpegbits.h"
#include "pdf/jpegcoefficients.h"

#include <algorithm>

namespace {

constexpr int sampleBits = 8;

} // namespace

JpegBands::JpegBands(const Frame &frame)
    : layout(frame)
{
}

std::shared_ptr<const JpegBands> JpegBands::read(const QByteArray &jpeg)
{
    if (auto bits = JpegBits::read(jpeg)) {
        return bits;
    }
    return JpegCoefficients::read(jpeg);
}

PackedBand JpegBands::pack(int first, int end) const
{
    const int unit = layout.unitHeight;
    const int height = layout.size.height();
    const int top = std::max(0, first - layout.context) / unit * unit;
    const int bottom = std::min(height, (end + layout.context + unit - 1) / unit * unit);
    PackedBand band;
    band.firstRow = top;
    band.colors = packedImage(layout.size.width(), bottom - top, layout.channels, sampleBits);
    band.colors.coding = PackedImage::Coding::Jpeg;
    band.colors.bytes = copyRows(top, bottom);
    return band;
}
