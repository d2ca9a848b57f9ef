#pragma once

class QGraphicsView;
class QResizeEvent;

/// Whether the resize \a event of the viewport of \a view comes from its
/// vertical scroll bar, which has just gone, and a scene of the scale \a scale
/// would bring it back at once.
///
/// A view that fits its scene to the width would then go on for ever: with the
/// bar the scene is small enough to do without it, and without the bar it is
/// too large.
bool bringsScrollBarBack(const QGraphicsView *view, const QResizeEvent *event, double scale);
