#include "cutquality/cutspeed.h"

#include "cutquality/kinds.h"
#include "pixels/calmrow.h"

#include <QElapsedTimer>

#include <algorithm>
#include <cstring>
#include <limits>

namespace {

constexpr int stripCount = 33;
constexpr double stripHeight = 1527.4;

QImage tallPicture()
{
    constexpr int height = 25000; // painters draw nothing beyond 32767
    LongPicture page(QSize(1080, height), 1);
    paintArticle(page);
    const QImage half = page.image.convertToFormat(QImage::Format_RGB32);
    QImage tall(1080, 2 * height, half.format());
    for (int y = 0; y < tall.height(); ++y) {
        std::memcpy(tall.scanLine(y), half.constScanLine(y % height), size_t(half.bytesPerLine()));
    }
    return tall;
}

quint64 sumOfBytes(const QImage &image, const CutPlace &place)
{
    quint64 sum = 0;
    const int wordsOfRow = image.width() / 2;
    for (int y = place.regular - place.near; y < place.regular + place.near; ++y) {
        const auto *words = reinterpret_cast<const quint64 *>(image.constScanLine(y));
        for (int i = 0; i < wordsOfRow; ++i) {
            sum += words[i];
        }
    }
    return sum;
}

/// The shortest of some runs of \a work over all places.
template <typename Work>
double milliseconds(Work work)
{
    constexpr int repeats = 15;
    double best = std::numeric_limits<double>::max();
    volatile quint64 kept = 0; // or the work would be left out
    for (int i = 0; i < repeats; ++i) {
        QElapsedTimer timer;
        timer.start();
        for (int strip = 1; strip < stripCount; ++strip) {
            kept = kept + work(cutPlace(stripHeight * strip, stripHeight));
        }
        best = std::min(best, double(timer.nsecsElapsed()) / 1e6);
    }
    return best;
}

} // namespace

CutSpeed measureCutSpeed()
{
    const QImage image = tallPicture();
    return {milliseconds([&](const CutPlace &place) { return sumOfBytes(image, place); }),
            milliseconds([&](const CutPlace &place) { return quint64(calmRow(image, place).row); })};
}
