#pragma once

#include "page/cutrule.h"

#include <QGraphicsItem>
#include <QList>
#include <QPixmap>

#include <memory>

class PreviewItem;
class RowConverter;

/// The smallest width-to-height ratio of any strip since the last reset, one
/// value for the whole program. It sets the scale of all one-strip pages.
[[nodiscard]] double minAspect();

/// Resets `minAspect` to the proportions of an A4 page, 0.70707071.
void resetMinAspect();

/// A strip: a horizontal band of the source image, and the cut handle below it.
///
/// All lengths are source-image pixels; item coordinates start at the top left
/// corner of the band. Strips form a chain, top to bottom. The scene owns the
/// strips; the pointers between strips and output pages own nothing.
class PageItem : public QGraphicsItem
{
public:
    /// A strip that shows \a band of \a pixmap, whose pixels are shared. The band
    /// may extend beyond the image; nothing is drawn there.
    PageItem(const QPixmap &pixmap, const QRectF &band);
    ~PageItem() override;

    QRectF boundingRect() const override;
    void paint(QPainter *painter, const QStyleOptionGraphicsItem *option, QWidget *widget) override;

    PageItem *nextItem() const { return m_nextItem; }
    PageItem *prevItem() const { return m_prevItem; }
    void setPrevItem(PageItem *item) { m_prevItem = item; }

    /// Zero-based place in the chain.
    int pageIndex() const { return m_pageIndex; }
    void setPageIndex(int index) { m_pageIndex = index; }

    int handleHeight() const { return m_handleHeight; }
    void setHandleHeight(int height) { m_handleHeight = height; }

    /// The image part of the strip, in item coordinates.
    QRectF bodyRect() const { return m_bodyRect; }
    void setBodyRect(QRectF rect) { m_bodyRect = rect; }

    /// The band of the source image that the strip shows, in source pixels.
    QRectF sourceRect() const { return m_sourceRect; }
    void setSourceRect(QRectF rect) { m_sourceRect = rect; }

    /// The cut handle, in item coordinates.
    QRectF handleRect() const { return m_handleRect; }
    void setHandleRect(QRectF rect) { m_handleRect = rect; }

    /// The top edge of this rectangle is the rubber line of a running drag, in
    /// item coordinates.
    QRectF dragRect() const { return m_dragRect; }
    void setDragRect(QRectF rect) { m_dragRect = rect; }

    /// Whether the cut handle of this strip or of the strip above is being dragged.
    bool isDragging() const { return dragging; }
    void setDragging(bool on) { dragging = on; }

    /// Makes \a other the next strip, links both ways and places it directly
    /// under this one.
    void linkNext(PageItem *other);

    /// Moves the cut below this strip by \a delta pixels, positive downward:
    /// this strip grows and the next one shrinks; the bottom edge of the next one
    /// stays. Does no range check: both strips must keep a positive height.
    void moveCut(double delta);

    /// Draws the band stretched to \a target. Rows of the band outside the image
    /// leave their share of \a target untouched; an empty band draws nothing.
    void drawSource(QPainter *painter, const QRectF &target);

    /// Frees the buffer in which all strips of the chain convert rows for drawing.
    /// Views use few rows of it, but an export uses all rows of a band.
    void freeConvertedRows();

    /// Draws the band in its own proportions, centered in \a target and `minAspect`
    /// times as wide as \a target is high. Does not clip to \a target.
    void drawSourceFitted(QPainter *painter, const QRectF &target);

    /// Moves the cut below this strip by \a rule. A second call undoes the move, a
    /// third repeats it. Does nothing on the last strip.
    ///
    /// Bright: to the brightest row within 0.15 of the strip's height above and
    /// below it. Calm: to the calm row near its regular place, as far as a cut
    /// between two strips of the regular height can be dragged; the cut stays if
    /// one of the strips would become too low because its other cut was dragged.
    void autoPlaceCut(CutRule rule = CutRule::Bright);

    /// Whether the last search for a calm row found none, so that the cut below
    /// this strip goes through content.
    bool isCutThroughContent() const { return cutThroughContent; }

    /// See brightestRow().
    int findBrightestRow(const QImage &window) const;

    /// Adds an output page that shows this strip.
    void addPreview(PreviewItem *preview) { previews.append(preview); }

    /// The first output page that was added. There must be one.
    PreviewItem *firstPreview() const { return previews.at(0); }

    /// The output pages that show this strip: its one-column page first.
    const QList<PreviewItem *> &outputPages() const { return previews; }

protected:
    void hoverMoveEvent(QGraphicsSceneHoverEvent *event) override;
    void mousePressEvent(QGraphicsSceneMouseEvent *event) override;
    void mouseMoveEvent(QGraphicsSceneMouseEvent *event) override;
    void mouseReleaseEvent(QGraphicsSceneMouseEvent *event) override;
    void mouseDoubleClickEvent(QGraphicsSceneMouseEvent *event) override;

private:
    double shiftToBrightestRow() const;
    double shiftToCalmRow();

    void paintIdleHandle(QPainter *painter) const;
    void paintHoverHandle(QPainter *painter) const;
    void paintDragHandle(QPainter *painter) const;

    QPixmap sourcePixmap;
    QRectF initialRect; // the band at construction
    QRectF m_sourceRect;
    std::shared_ptr<RowConverter> converter; // one for the whole chain
    QRectF m_bodyRect;
    QRectF m_handleRect;
    QRectF m_dragRect;
    int m_pageIndex = 0;
    int m_handleHeight = 20;
    PageItem *m_prevItem = nullptr;
    PageItem *m_nextItem = nullptr;
    bool dragging = false;
    bool hovering = false; // the pointer was last seen on this strip's handle
    double lastShift = 0.0; // applied by the last automatic placement
    bool cutThroughContent = false;
    double pressOffset = 0.0; // from the top of the handle to the press
    QList<PreviewItem *> previews;

    // Reserved: stored, and read nowhere.
    [[maybe_unused]] double reservedScaleX = 1.05;
    [[maybe_unused]] double reservedScaleY = 1.05;
    [[maybe_unused]] PageItem *reservedLink = nullptr;
    double lastMinAspect = 0.0; // `minAspect` at the last automatic placement that searched
};

/// Calls autoPlaceCut() with \a rule on \a strip and the strips below it, from top
/// to bottom. Does nothing if \a strip is null.
void placeCuts(PageItem *strip, CutRule rule = CutRule::Bright);
