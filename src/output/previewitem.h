#pragma once

#include <QGraphicsItem>
#include <QList>

class PageItem;

/// The greatest height of a column on any two-column page since the last
/// reset, in source pixels; one value for the whole program. It sets the scale
/// of all two-column pages and grows while they are painted.
[[nodiscard]] double columnMaxHeight();

/// Resets `columnMaxHeight` to 0.
void resetColumnMaxHeight();

/// Whether output pages show their number; one flag for both layouts and for
/// all documents of a run.
[[nodiscard]] bool showPageNumbers();

/// An output page: one sheet of the result, which draws the current bands of its
/// strips whenever it is painted.
///
/// A page holds no pixels. Its coordinates are source-image pixels; the
/// painter's transform maps them to the screen or the paper. The scene owns the
/// page; the page does not own its strips.
class PreviewItem : public QGraphicsItem
{
public:
    /// A page whose first strip is \a strip; its page index must be set. \a kind
    /// is 1 for one strip on a page or 4 for up to four in two columns. The outer
    /// size is fixed here, for margins of 10 percent.
    PreviewItem(PageItem *strip, unsigned int kind);
    ~PreviewItem() override;

    QRectF boundingRect() const override;
    void paint(QPainter *painter, const QStyleOptionGraphicsItem *option, QWidget *widget) override;

    /// The content rectangle within the margins.
    QRectF innerRect() const { return m_innerRect; }
    void setInnerRect(QRectF rect) { m_innerRect = rect; }

    /// The margins as one rectangle: x left, y top, width right, height bottom.
    QRectF margins() const { return {marginLeft, marginTop, marginRight, marginBottom}; }
    void setMargins(QRectF margins);

    /// Free space below the page in its scene.
    double pageGap() const { return m_pageGap; }
    void setPageGap(double gap) { m_pageGap = gap; }

    /// Reserved; null unless a caller has set it.
    PreviewItem *prevPage() const { return m_prevPage; }
    void setPrevPage(PreviewItem *page) { m_prevPage = page; }

    /// The following page of the same layout; null on the last.
    PreviewItem *nextPage() const { return m_nextPage; }
    void setNextPage(PreviewItem *page) { m_nextPage = page; }

    /// Zero-based number of the page within its layout.
    int pageNumber() const { return m_pageNumber; }
    void setPageNumber(int number) { m_pageNumber = number; }

    /// Sets the margins to \a percent percent of the first strip's current size,
    /// with its handle. The outer size of the page stays; the content rectangle
    /// changes. Does no range check.
    void setMarginPercent(unsigned int percent);

    /// Subtracts 5 from the percent unless it is exactly 0. Returns the new percent.
    unsigned int decreaseMargin();

    /// Adds 5 to the percent unless it is above 29. Returns the new percent.
    unsigned int increaseMargin();

    /// Adds a strip to a two-column page.
    void addStrip(PageItem *strip);

    /// The strips on this page, top of the left column first.
    const QList<PageItem *> &shownStrips() const { return strips; }

    /// Switches page numbers on or off for all pages; repaints this page and
    /// the next one.
    void togglePageNumbers();

    /// Repaints this page and the next one, after a cut has moved.
    void refresh();

    /// Draws the sheet, its strips and its number, but no selection frame.
    void renderPage(QPainter *painter);

protected:
    void mouseReleaseEvent(QGraphicsSceneMouseEvent *event) override;
    void mouseDoubleClickEvent(QGraphicsSceneMouseEvent *event) override;

private:
    QRectF contentRect() const;
    void renderColumns(QPainter *painter, const QRectF &content);

    QRectF m_innerRect;
    double marginLeft = 0.0;
    double marginTop = 0.0;
    double marginRight = 0.0;
    double marginBottom = 0.0;
    QList<PageItem *> strips;
    double m_pageGap = 32.0;
    PreviewItem *m_nextPage = nullptr;
    unsigned int marginPercent = 10;
    int m_pageNumber = 0;
    unsigned int layoutKind = 1;

    // Reserved: no page sets it or reads it.
    PreviewItem *m_prevPage = nullptr;
};
