#pragma once

#include <QGraphicsView>

/// The common base of the two views of a document. It has slim scroll bars, which
/// are off until there is a document, paints its background in whole pixels, and
/// leaves drops to the window.
class DocumentView : public QGraphicsView
{
    Q_OBJECT

public:
    explicit DocumentView(QWidget *parent);

    /// Shows the scroll bars as needed from now on; they are off at first.
    void showScrollBars();

    /// Shows the top of the scene; the horizontal place stays.
    void scrollToTop();

protected:
    /// Whether the resize \a event was caused by the disappearance of the vertical
    /// scroll bar, and the scene at \a scale would bring the bar back at once.
    ///
    /// A view that fits its scene to the width would then resize forever: with the
    /// bar the scene is small enough not to need it, without the bar it is too
    /// large.
    ///
    /// Call it once for each event: it remembers the size of the view.
    bool wouldShowScrollBarAgain(const QResizeEvent *event, double scale);

    void dragEnterEvent(QDragEnterEvent *event) override;
    void dropEvent(QDropEvent *event) override;
    void drawBackground(QPainter *painter, const QRectF &exposed) override;

private:
    bool hasPlainBackground() const;

    QSize knownSize; ///< of the view with its bars, when it was last resized
};
