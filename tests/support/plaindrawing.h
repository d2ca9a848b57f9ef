#pragma once

#include <QPixmap>
#include <QRectF>
#include <QString>

class QPainter;

/// Draws a copy of the part \a band of \a source into \a target, with a source
/// rectangle of \a size, the unrounded size of the band: the oracle for the
/// drawing of strips. A palette is converted first, since the copy of a pixmap
/// loses it.
void plainDrawBand(QPainter *painter, const QRectF &target, const QPixmap &source, const QRect &band,
                   const QSizeF &size);

/// The same for an unrounded \a band.
void plainDrawBand(QPainter *painter, const QRectF &target, const QPixmap &source, const QRectF &band);

/// The picture of the page number \a text.
[[nodiscard]] QPixmap plainPageNumber(const QString &text);
