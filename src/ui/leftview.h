#pragma once

#include <QGraphicsView>

/// The preview of the output pages, which always takes 0.8 of its width.
class LeftView : public QGraphicsView
{
    Q_OBJECT

public:
    explicit LeftView(QWidget *parent);

    /// Scales the scene to 0.8 of \a width pixels. Other than in the large
    /// view the transform is set at every call.
    void fitToWidth(double width);

    /// Lets the scroll bars come up as needed; they are off at first.
    void showScrollBars();

protected:
    void resizeEvent(QResizeEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dropEvent(QDropEvent *event) override;
    void drawBackground(QPainter *painter, const QRectF &exposed) override;
};
