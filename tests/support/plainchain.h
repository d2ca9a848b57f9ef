#pragma once

#include <QList>
#include <QPixmap>
#include <QPointF>
#include <QRectF>
#include <QString>

class PageItem;
class QGraphicsScene;

/// The state of a strip as plain numbers.
struct PlainStrip
{
    QRectF source;
    QRectF body;
    QRectF handle;
    QRectF drag;
    QPointF pos;
    bool dragging = false;
    double lastShift = 0.0;
};

/// A chain of strips as plain numbers, with moves written out step by step: the
/// oracle for the real chain.
class PlainChain
{
public:
    PlainChain(const QPixmap &pixmap, const QList<QRectF> &bands);

    /// Moves the cut below strip \a index by \a delta. Keep heights above zero.
    void moveCut(int index, double delta);

    /// Moves the cut below strip \a index to the brightest row nearby, or undoes
    /// the previous placement.
    void autoPlaceCut(int index);

    void autoPlaceAll();

    QList<PlainStrip> strips;
    double minAspect = 0.70707071;

private:
    QPixmap source;
};

/// Adds a linked chain of numbered strips to \a scene, which owns them.
QList<PageItem *> addChain(QGraphicsScene &scene, const QPixmap &source, const QList<QRectF> &bands);

/// Equal bands of the given height, below each other.
QList<QRectF> equalBands(int count, double width, double height);

/// Empty if the chain that starts with \a first and `minAspect` have exactly the
/// numbers of \a plain. Otherwise the first difference.
QString firstDifference(const PageItem *first, const PlainChain &plain);
