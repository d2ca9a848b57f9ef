#pragma once

#include <QString>

class QGraphicsView;
class QPainter;
class QRectF;

/// The style sheet of both graphics views: no frame, and slim scroll bars with
/// a rounded handle.
QString viewStyleSheet();

/// Fills \a exposed, in scene units, if the background of \a view is nothing but
/// an opaque color of its scene, and in whole pixels: Qt gives it smooth edges,
/// which cost time and lie outside of what is painted.
///
/// Returns false for any other background, which QGraphicsView::drawBackground()
/// has to draw. Below it \a exposed then shows the color of the viewport, as it
/// does where Qt fills a widget before it is painted.
bool fillBackground(const QGraphicsView *view, QPainter *painter, const QRectF &exposed);
