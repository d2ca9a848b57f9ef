#include "ui/customsplitter.h"

#include <QLinearGradient>
#include <QMouseEvent>
#include <QPainter>

namespace {

constexpr int handleThickness = 6;

QPen strokePen(int alpha, double width)
{
    return QPen(QBrush(QColor(255, 255, 255, alpha), Qt::SolidPattern), width, Qt::SolidLine, Qt::SquareCap,
                Qt::BevelJoin);
}

/// The handle's rectangle, and its center in whole pixels.
struct Frame
{
    explicit Frame(const QWidget *handle)
        : rect(handle->rect())
        , cx(rect.right() / 2)
        , cy(rect.bottom() / 2)
        , height(handle->height())
    {
    }

    QRect rect;
    double cx;
    double cy;
    double height;
};

void drawDot(QPainter *painter, double x, double y, double size)
{
    painter->drawEllipse(QRectF(x - size / 2, y - size / 2, size, size));
}

/// A row of \a count dots, one dot's size apart, centered on (\a x, \a y).
void drawDotRow(QPainter *painter, double x, double y, int count, double size)
{
    for (int i = -(count / 2); i <= count / 2; ++i) {
        drawDot(painter, x + size * i, y, size);
    }
}

} // namespace

CustomSplitter::CustomSplitter(QWidget *parent)
    : QSplitter(parent)
{
    setChildrenCollapsible(false);
    setHandleWidth(handleThickness);
}

CustomSplitter::CustomSplitter(Qt::Orientation orientation, QWidget *parent)
    : QSplitter(orientation, parent)
{
    setChildrenCollapsible(false);
    setHandleWidth(handleThickness);
}

QSplitterHandle *CustomSplitter::createHandle()
{
    return new CustomSplitterHandle(orientation(), this);
}

CustomSplitterHandle::CustomSplitterHandle(Qt::Orientation orientation, QSplitter *parent)
    : QSplitterHandle(orientation, parent)
{
    setAttribute(Qt::WA_MouseTracking, true);
}

void CustomSplitterHandle::mousePressEvent(QMouseEvent *event)
{
    pressed = true;
    update();
    QSplitterHandle::mousePressEvent(event);
}

void CustomSplitterHandle::mouseReleaseEvent(QMouseEvent *event)
{
    pressed = false;
    update();
    QSplitterHandle::mouseReleaseEvent(event);
}

void CustomSplitterHandle::enterEvent(QEnterEvent *event)
{
    hovered = true;
    update();
    QWidget::enterEvent(event);
}

void CustomSplitterHandle::leaveEvent(QEvent *event)
{
    hovered = false;
    update();
    QWidget::leaveEvent(event);
}

void CustomSplitterHandle::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (pressed) {
        paintPressed(&painter);
    } else if (hovered) {
        paintHover(&painter);
    } else {
        paintNormal(&painter);
    }
}

void CustomSplitterHandle::paintNormal(QPainter *painter) const
{
    const Frame frame(this);
    painter->save();
    QLinearGradient gradient(0, 0, frame.rect.right(), 0);
    gradient.setColorAt(0.0, QColor(0, 0, 0, 20));
    gradient.setColorAt(0.5, QColor(0, 0, 0, 8));
    gradient.setColorAt(1.0, QColor(0, 0, 0, 20));
    painter->fillRect(frame.rect, gradient);

    painter->setPen(Qt::NoPen);
    painter->setBrush(QColor(255, 255, 255, 100));
    for (const double x : {frame.cx - 2.5, frame.cx + 2.5}) {
        for (int i = -1; i <= 1; ++i) {
            drawDot(painter, x, frame.cy + 4 * i, 3);
        }
    }
    painter->restore();
}

void CustomSplitterHandle::paintHover(QPainter *painter) const
{
    const Frame frame(this);
    const double cx = frame.cx;
    const double cy = frame.cy;
    painter->save();
    painter->fillRect(frame.rect, QColor(74, 144, 226, 90));
    painter->setPen(strokePen(230, 2.0));
    painter->setBrush(Qt::NoBrush);
    painter->drawLine(QLineF(cx + 2.5, cy - 5, cx - 2.5, cy));
    painter->drawLine(QLineF(cx - 2.5, cy, cx + 2.5, cy + 5));
    painter->drawLine(QLineF(cx - 2.5, cy - 5, cx + 2.5, cy));
    painter->drawLine(QLineF(cx + 2.5, cy, cx - 2.5, cy + 5));

    painter->setPen(Qt::NoPen);
    painter->setBrush(QColor(255, 255, 255, 180));
    drawDotRow(painter, cx, 25, 3, 3);
    drawDotRow(painter, cx, frame.height - 25, 3, 3);
    painter->restore();
}

void CustomSplitterHandle::paintPressed(QPainter *painter) const
{
    const Frame frame(this);
    const double cx = frame.cx;
    const double cy = frame.cy;
    painter->save();
    painter->fillRect(frame.rect, QColor(0, 102, 204, 215));
    painter->setPen(strokePen(255, 2.5));
    painter->setBrush(Qt::NoBrush);
    painter->drawLine(QLineF(cx + 2, cy - 6, cx - 4, cy));
    painter->drawLine(QLineF(cx - 4, cy, cx + 2, cy + 6));
    painter->drawLine(QLineF(cx - 2, cy - 6, cx + 4, cy));
    painter->drawLine(QLineF(cx + 4, cy, cx - 2, cy + 6));

    painter->setPen(Qt::NoPen);
    painter->setBrush(QColor(255, 255, 255, 220));
    drawDotRow(painter, cx, 20, 5, 4);
    drawDotRow(painter, cx, frame.height - 20, 5, 4);
    painter->restore();
}
