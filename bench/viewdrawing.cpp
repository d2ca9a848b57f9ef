#include "viewdrawing.h"

#include "output/previewitem.h"
#include "page/pageitem.h"
#include "shownwindow.h"
#include "steps.h"
#include "ui/leftview.h"
#include "ui/mainview.h"

#include <QGraphicsScene>

namespace {

QImage rowsOf(const QImage &image, const QRectF &rect)
{
    const QRect part = rect.toRect() & image.rect();
    QImage rows(image.constScanLine(part.top()), part.width(), part.height(), image.bytesPerLine(), image.format());
    rows.setColorTable(image.colorTable());
    return rows;
}

ViewDrawing emptyDrawing(const QGraphicsView &view)
{
    return {view.viewport()->size(), view.renderHints(), view.scene()->backgroundBrush(), {}};
}

/// Adds \a strip, drawn to the rectangle \a target of \a item, if it is visible in
/// \a view.
void addBand(ViewDrawing &drawing, const QGraphicsView &view, const QGraphicsItem &item, const QRectF &sheet,
             const QRectF &target, const PageItem &strip, const QImage &image)
{
    const QTransform transform = item.sceneTransform() * view.viewportTransform();
    const bool inImage = strip.sourceRect().toRect().intersects(image.rect());
    if (inImage && transform.mapRect(target).intersects(QRectF(view.viewport()->rect()))) {
        drawing.bands.push_back(
            {transform, sheet, target, rowsOf(image, strip.sourceRect()), strip.sourceRect().size()});
    }
}

QRectF contentOf(const PreviewItem &page)
{
    const QRectF margins = page.margins();
    const QRectF sheet = page.boundingRect();
    return {margins.x(), margins.y(), sheet.width() - margins.x() - margins.width(),
            sheet.height() - margins.y() - margins.height()};
}

} // namespace

ViewDrawing stripDrawing(const OpenImage &image)
{
    const MainView &view = *image.shown->mainView;
    ViewDrawing drawing = emptyDrawing(view);
    const QList<PageItem *> strips = image.shown->strips();
    for (const PageItem *strip : strips) {
        addBand(drawing, view, *strip, {}, QRectF(QPointF(), strip->sourceRect().size()), *strip, image.pixels);
    }
    return drawing;
}

ViewDrawing oneColumnDrawing(const OpenImage &image)
{
    const LeftView &view = *image.shown->leftView;
    ViewDrawing drawing = emptyDrawing(view);
    const QList<PageItem *> strips = image.shown->strips();
    for (const PageItem *strip : strips) {
        const PreviewItem &page = *strip->firstPreview();
        const QRectF content = contentOf(page);
        const double width = minAspect() * content.height();
        QRectF target(0, 0, width, width * strip->sourceRect().height() / strip->sourceRect().width());
        target.moveCenter(content.center());
        addBand(drawing, view, page, page.boundingRect(), target, *strip, image.pixels);
    }
    return drawing;
}

void draw(const ViewDrawing &drawing, QImage &canvas, const QRect &clip)
{
    QPainter painter(&canvas);
    painter.setRenderHints(drawing.hints);
    painter.setClipRect(clip);
    painter.fillRect(clip, drawing.background);
    for (const BandDrawing &band : drawing.bands) {
        painter.setTransform(band.transform);
        if (!band.sheet.isEmpty()) {
            painter.fillRect(band.sheet, Qt::white);
        }
        painter.drawImage(band.target, band.band, QRectF(QPointF(), band.size));
    }
}
