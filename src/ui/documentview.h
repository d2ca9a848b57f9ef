#pragma once

#include <QGraphicsView>

/// What the two views of a document share: slim scroll bars, which are off until
/// there is a document, a background in whole pixels, and no drops of their own.
class DocumentView : public QGraphicsView
{
    Q_OBJECT

public:
    explicit DocumentView(QWidget *parent);

    /// Lets the scroll bars come up as needed; they are off at first.
    void showScrollBars();

    /// Shows the top of the scene; the horizontal place stays.
    void scrollToTop();

protected:
    /// Whether the resize \a event comes from the vertical scroll bar, which has
    /// just disappeared, and a scene of the scale \a scale would bring it back at
    /// once.
    ///
    /// A view that fits its scene to the width would then go on for ever: with the
    /// bar the scene is small enough to do without it, and without the bar it is
    /// too large.
    bool wouldShowScrollBarAgain(const QResizeEvent *event, double scale) const;

    void dragEnterEvent(QDragEnterEvent *event) override;
    void dropEvent(QDropEvent *event) override;
    void drawBackground(QPainter *painter, const QRectF &exposed) override;

private:
    bool hasPlainBackground() const;
};
