#include "page/pageitem.h"
#include "pixels/blankborders.h"
#include "shownwindow.h"
#include "steps.h"
#include "ui/leftview.h"
#include "ui/mainview.h"

#include <QImageReader>

#include <cstring>

namespace {

void openProgram(benchmark::State &state, const OpenImagePtr &image)
{
    ShownWindow &shown = *image->shown;
    const PaintWatcher mainPaints(shown.mainView->viewport());
    const PaintWatcher leftPaints(shown.leftView->viewport());
    int opened = 0;
    for (auto _ : state) {
        shown.window.loadImageFile(image->file.path);
        shown.paintRequested();
        ++opened;
    }
    if (mainPaints.paints() < opened || leftPaints.paints() < opened) {
        state.SetLabel("a view was not painted");
    }
}

void openFloor(benchmark::State &state, const OpenImagePtr &image)
{
    QImageReader::setAllocationLimit(0);
    QImage pixels;
    for (auto _ : state) {
        QImageReader reader(image->file.path);
        reader.setAutoTransform(true);
        pixels = reader.read();
        benchmark::DoNotOptimize(pixels.constBits());
    }
}

void placeProgram(benchmark::State &state, const OpenImagePtr &image)
{
    for (auto _ : state) {
        state.PauseTiming();
        image->shown->resetCuts(); // or the second placement would take the first back
        state.ResumeTiming();
        image->shown->window.onAutoCutClicked();
    }
}

/// The parts of the image that a placement from the regular cuts looks at.
std::vector<QRect> searchWindows(const OpenImage &image)
{
    image.shown->resetCuts();
    std::vector<QRect> windows;
    const QList<PageItem *> strips = image.shown->strips();
    for (PageItem *strip : strips) {
        if (strip->nextItem() != nullptr) {
            const QRectF band = strip->sourceRect();
            const double height = 0.3 * band.height();
            const QRectF around(band.x(), band.y() + band.height() - height * 0.5, band.width(), height);
            windows.push_back(around.toAlignedRect() & image.pixels.rect());
            strip->autoPlaceCut();
        }
    }
    return windows;
}

/// One plain pass over the bytes of \a part.
quint64 wordSum(const QImage &image, const QRect &part)
{
    const qsizetype pixelBytes = image.depth() / 8;
    const qsizetype length = part.width() * pixelBytes;
    quint64 sum = 0;
    for (int y = part.top(); y <= part.bottom(); ++y) {
        const uchar *row = image.constScanLine(y) + part.left() * pixelBytes;
        qsizetype x = 0;
        for (; x + 8 <= length; x += 8) {
            quint64 word = 0;
            std::memcpy(&word, row + x, sizeof word);
            sum += word;
        }
        for (; x < length; ++x) {
            sum += row[x];
        }
    }
    return sum;
}

void placeFloor(benchmark::State &state, const OpenImagePtr &image)
{
    const std::vector<QRect> windows = searchWindows(*image);
    for (auto _ : state) {
        quint64 sum = 0;
        for (const QRect &window : windows) {
            sum += wordSum(image->pixels, window);
        }
        benchmark::DoNotOptimize(sum);
    }
}

/// The row with the most pixels of a red of 192 or more, pixel by pixel.
int plainBrightestRow(const QImage &window)
{
    int bestRow = 0;
    int best = 0;
    for (int y = 0; y < window.height(); ++y) {
        int bright = 0;
        for (int x = 0; x < window.width(); ++x) {
            const QColor color(window.pixel(x, y));
            bright += color.red() >= 192 ? 1 : 0;
        }
        if (bright > best) {
            best = bright;
            bestRow = y;
        }
    }
    return bestRow;
}

void placePlainly(benchmark::State &state, const OpenImagePtr &image)
{
    const std::vector<QRect> windows = searchWindows(*image);
    const QPixmap source = QPixmap::fromImage(image->pixels, Qt::NoFormatConversion);
    for (auto _ : state) {
        int sum = 0;
        for (const QRect &window : windows) {
            sum += plainBrightestRow(source.copy(window).toImage());
        }
        benchmark::DoNotOptimize(sum);
    }
}

void trimProgram(benchmark::State &state, const OpenImagePtr &image)
{
    for (auto _ : state) {
        const GrayScan scan(image->pixels);
        const auto bounds = contentBounds(scan, inkThreshold(scan.histogram()));
        const QPixmap trimmed = bounds ? QPixmap::fromImage(image->pixels.copy(*bounds)) : QPixmap();
        benchmark::DoNotOptimize(trimmed.cacheKey());
    }
}

void trimFloor(benchmark::State &state, const OpenImagePtr &image)
{
    const GrayScan scan(image->pixels);
    const auto bounds = contentBounds(scan, inkThreshold(scan.histogram()));
    for (auto _ : state) {
        const QImage gray = image->pixels.convertToFormat(QImage::Format_Grayscale8);
        benchmark::DoNotOptimize(wordSum(gray, gray.rect()));
        const QPixmap trimmed = bounds ? QPixmap::fromImage(image->pixels.copy(*bounds)) : QPixmap();
        benchmark::DoNotOptimize(trimmed.cacheKey());
    }
}

Measured with(const OpenImagePtr &image, void (*measured)(benchmark::State &, const OpenImagePtr &))
{
    return [=](benchmark::State &state) { measured(state, image); };
}

} // namespace

std::vector<Comparison> intakeComparisons(const OpenImagePtr &image)
{
    const std::string &name = image->file.name;
    std::vector<Comparison> group = {
        {"open", name, 1.03, with(image, openProgram), with(image, openFloor)},
        {"place cuts", name, image->file.lightPage ? 0.25 : 1.0, with(image, placeProgram), with(image, placeFloor),
         1.0, Clock::Processor, Pace::Quick},
        {"trim", name, 1.1, with(image, trimProgram), with(image, trimFloor)},
    };
    if (name == "chat.png") {
        group.push_back({"place cuts, plainly", name, 0.02, with(image, placeProgram), with(image, placePlainly)});
    }
    return group;
}
