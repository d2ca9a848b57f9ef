#pragma once

#include <QBrush>
#include <QImage>
#include <QPainter>
#include <QTransform>

#include <vector>

struct OpenImage;

/// A band as a view draws it.
struct BandDrawing
{
    QTransform transform;
    QRectF sheet; // painted white under the band; empty for the strips
    QRectF target;
    QImage band; // shares the pixels of the image
    QSizeF size;
};

/// Everything that a view draws.
struct ViewDrawing
{
    QSize size;
    QPainter::RenderHints hints;
    QBrush background;
    std::vector<BandDrawing> bands;
};

/// The current contents of the large view of \a image.
ViewDrawing stripDrawing(const OpenImage &image);

/// The current contents of the preview, which must show the one-column layout.
ViewDrawing oneColumnDrawing(const OpenImage &image);

/// Draws \a drawing within \a clip onto \a canvas, which must have the same size: the
/// background, then each band with a single call, directly from the pixels.
void draw(const ViewDrawing &drawing, QImage &canvas, const QRect &clip);
