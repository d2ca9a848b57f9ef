#include "page/pageitem.h"
#include "shownwindow.h"
#include "steps.h"

#include <QBuffer>
#include <QImageWriter>

namespace {

// The quality with which the toolkit's PDF engine stores images.
constexpr int pdfQuality = 94;

void exportOneColumn(benchmark::State &state, const OpenImagePtr &image)
{
    for (auto _ : state) {
        image->shown->exportPdf(image->pdfPath);
    }
}

void exportTwoColumns(benchmark::State &state, const OpenImagePtr &image)
{
    image->shown->window.onTwoColsClicked();
    exportOneColumn(state, image);
    image->shown->window.onTwoColsClicked();
}

/// The bands of the strips in the 32-bit format that the PDF engine encodes.
std::vector<QImage> encodedBands(const OpenImage &image)
{
    const bool alpha = image.pixels.hasAlphaChannel();
    std::vector<QImage> bands;
    const QList<PageItem *> strips = image.shown->strips();
    for (const PageItem *strip : strips) {
        const QRect band = strip->sourceRect().toRect() & image.pixels.rect();
        if (!band.isEmpty()) {
            bands.push_back(
                image.pixels.copy(band).convertToFormat(alpha ? QImage::Format_ARGB32 : QImage::Format_RGB32));
        }
    }
    return bands;
}

void exportFloor(benchmark::State &state, const OpenImagePtr &image)
{
    const std::vector<QImage> bands = encodedBands(*image);
    for (auto _ : state) {
        for (const QImage &band : bands) {
            QByteArray bytes;
            QBuffer buffer(&bytes);
            QImageWriter writer(&buffer, "jpeg");
            writer.setQuality(pdfQuality);
            writer.write(band);
            benchmark::DoNotOptimize(bytes.constData());
        }
    }
}

} // namespace

std::vector<Comparison> exportComparisons(const OpenImagePtr &image)
{
    const std::string &name = image->file.name;
    const auto with = [&image](void (*measured)(benchmark::State &, const OpenImagePtr &)) {
        return [image, measured](benchmark::State &state) { measured(state, image); };
    };
    return {
        {"export, one column", name, 1.05, with(exportOneColumn), with(exportFloor)},
        {"export, two columns", name, 1.05, with(exportTwoColumns), with(exportFloor)},
    };
}
