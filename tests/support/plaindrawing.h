#pragma once

#include <QPixmap>
#include <QRectF>

class QPainter;

/// Draws the part \a band of \a source into \a target through a copy: the
/// oracle for the drawing of strips.
void plainDrawBand(QPainter *painter, const QPixmap &source, const QRectF &band, const QRectF &target);
