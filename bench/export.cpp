#include "page/pageitem.h"
#include "shownwindow.h"
#include "steps.h"

#include <QBuffer>
#include <QImageWriter>
#include <QPainter>
#include <QPdfWriter>

#include <algorithm>

namespace {

// The JPEG quality with which Qt's PDF engine stores images.
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

/// A band as the PDF file stores it.
struct StoredBand
{
    QImage colors; // in the 32-bit format that the PDF engine encodes
    QByteArray mask; // its transparency, before compression; empty if there is none
};

/// The transparency of \a band as the PDF engine stores it: one byte per pixel, or
/// one bit if no pixel is partly transparent.
QByteArray maskOf(const QImage &band)
{
    const QImage alpha = band.convertToFormat(QImage::Format_Alpha8);
    bool partly = false;
    bool any = false;
    for (int y = 0; y < alpha.height(); ++y) {
        const uchar *row = alpha.constScanLine(y);
        any = any || std::any_of(row, row + alpha.width(), [](uchar level) { return level != 255; });
        partly = partly || std::any_of(row, row + alpha.width(), [](uchar level) { return level % 255 != 0; });
    }
    const QImage mask = partly ? alpha : band.createAlphaMask();
    return any ? QByteArray(reinterpret_cast<const char *>(mask.constBits()), mask.sizeInBytes()) : QByteArray();
}

std::vector<StoredBand> storedBands(const OpenImage &image)
{
    std::vector<StoredBand> bands;
    const QList<PageItem *> strips = image.shown->strips();
    for (const PageItem *strip : strips) {
        const QRect rect = strip->sourceRect().toRect() & image.pixels.rect();
        if (!rect.isEmpty()) {
            const QImage band = image.pixels.copy(rect);
            const bool alpha = band.hasAlphaChannel();
            const QImage colors = band.convertToFormat(alpha ? QImage::Format_ARGB32 : QImage::Format_RGB32);
            bands.push_back({colors, alpha ? maskOf(colors) : QByteArray()});
        }
    }
    return bands;
}

void exportFloor(benchmark::State &state, const OpenImagePtr &image)
{
    const std::vector<StoredBand> bands = storedBands(*image);
    for (auto _ : state) {
        for (const StoredBand &band : bands) {
            QByteArray bytes;
            QBuffer buffer(&bytes);
            QImageWriter writer(&buffer, "jpeg");
            writer.setQuality(pdfQuality);
            writer.write(band.colors);
            const QByteArray mask = band.mask.isEmpty() ? QByteArray() : qCompress(band.mask);
            benchmark::DoNotOptimize(bytes.constData());
            benchmark::DoNotOptimize(mask.constData());
        }
    }
}

/// Qt's PDF writer alone, with the same bands in the format that it uses.
void exportByWriter(benchmark::State &state, const OpenImagePtr &image)
{
    const std::vector<StoredBand> bands = storedBands(*image);
    for (auto _ : state) {
        QPdfWriter writer(image->pdfPath);
        QPainter painter(&writer);
        for (const StoredBand &band : bands) {
            painter.drawImage(painter.viewport(), band.colors);
            if (&band != &bands.back()) {
                writer.newPage();
            }
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
    std::vector<Comparison> group = {
        {"export, one column", name, 1.05, with(exportOneColumn), with(exportFloor)},
        {"export, two columns", name, 1.05, with(exportTwoColumns), with(exportFloor)},
    };
    if (image->file.kind == SampleKind::Palette || image->file.kind == SampleKind::Alpha) {
        // Shows how long the writer takes for the masks, compared with the encoding.
        group.push_back({"export against the writer", name, 1.05, with(exportOneColumn), with(exportByWriter)});
    }
    return group;
}
