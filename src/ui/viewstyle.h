#pragma once

#include <QString>

class QGraphicsView;
class QPainter;
class QRectF;

/// The style sheet of both graphics views: no frame, and slim scroll bars with
/// a rounded handle.
QString viewStyleSheet();

/// Fills \a exposed, in scene units, with the colour of the scene's background
/// where no item is going to cover it by its opaqueArea(), which has to be a
/// rectangle of an item without an opacity of its own, and in whole pixels:
/// the toolkit fills everything, with smooth edges that lie outside of what is
/// painted.
void fillBackground(const QGraphicsView *view, QPainter *painter, const QRectF &exposed);
