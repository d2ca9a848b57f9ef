#pragma once

#include <QString>

class QGraphicsView;
class QPainter;
class QRectF;

/// The style sheet of both graphics views: no frame, and slim scroll bars with
/// a rounded handle.
QString viewStyleSheet();

/// Fills \a exposed, in scene units, with the colour of the scene's background
/// and in whole pixels: the toolkit gives it smooth edges, which cost time and
/// lie outside of what is painted.
void fillBackground(const QGraphicsView *view, QPainter *painter, const QRectF &exposed);
