#pragma once

#include <QBrush>
#include <QImage>
#include <QPainter>
#include <QTransform>

#include <vector>

struct OpenImage;

/// One band as it stands in a view.
struct BandDrawing
{
    QTransform transform;
    QRectF sheet; // painted white under the band; empty for the strips
    QRectF target;
    QImage band; // shares the rows of the image
    QSizeF size;
};

/// All that a view shows.
struct ViewDrawing
{
    QSize size;
    QPainter::RenderHints hints;
    QBrush background;
    std::vector<BandDrawing> bands;
};

/// What the large view of \a image shows now.
ViewDrawing stripDrawing(const OpenImage &image);

/// What the preview shows now, which must be in one column.
ViewDrawing oneColumnDrawing(const OpenImage &image);

/// Draws \a drawing onto \a canvas, which is of its size, within \a clip: the
/// background, and each band with a single call, straight from the pixels.
void draw(const ViewDrawing &drawing, QImage &canvas, const QRect &clip);
