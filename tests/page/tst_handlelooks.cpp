#include "page/handledriver.h"
#include "page/stripdocument.h"
#include "support/imagecomparison.h"
#include "support/plaindrawing.h"
#include "support/testmain.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPen>
#include <QStyleOptionGraphicsItem>

#include <array>

using namespace handledriver;

namespace {

enum class Look { idle, hover, drag };

/// Two strips of \a width x 60 that show noise.
struct Document : StripDocument
{
    explicit Document(int width)
        : StripDocument(keptPixmap(noisePicture({width, 120}, QImage::Format_RGB32, 51)), equalBands(2, width, 60))
    {
    }
};

QPen pen(QColor color, double width, Qt::PenStyle style)
{
    return QPen(QBrush(color, Qt::SolidPattern), width, style, Qt::SquareCap, Qt::BevelJoin);
}

void drawIdle(QPainter &painter, const QRectF &handle, double cx, double cy)
{
    QLinearGradient gradient(QPointF(handle.x(), handle.y()), QPointF(handle.x(), handle.y() + handle.height()));
    gradient.setColorAt(0.0, QColor(0, 0, 0, 13));
    gradient.setColorAt(0.5, QColor(0, 0, 0, 20));
    gradient.setColorAt(1.0, QColor(0, 0, 0, 13));
    painter.fillRect(handle, gradient);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(153, 153, 153, 255));
    painter.drawEllipse(QRectF(cx - 10, cy - 2, 4, 4));
    painter.drawEllipse(QRectF(cx - 2, cy - 2, 4, 4));
    painter.drawEllipse(QRectF(cx + 6, cy - 2, 4, 4));
}

void drawHover(QPainter &painter, const QRectF &handle, double cx, double cy)
{
    painter.fillRect(handle, QColor(74, 144, 226, 230));
    painter.setPen(pen(QColor(255, 255, 255, 240), 2.5, Qt::SolidLine));
    painter.setBrush(Qt::NoBrush);
    painter.drawLine(QPointF(cx - 6, cy + 3), QPointF(cx, cy - 3));
    painter.drawLine(QPointF(cx, cy - 3), QPointF(cx + 6, cy + 3));
    painter.drawLine(QPointF(cx - 6, cy - 3), QPointF(cx, cy + 3));
    painter.drawLine(QPointF(cx, cy + 3), QPointF(cx + 6, cy - 3));
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(255, 255, 255, 180));
    for (const double left : {28.0, handle.width() - 32}) {
        painter.drawEllipse(QRectF(left, cy - 6, 4, 4));
        painter.drawEllipse(QRectF(left, cy - 2, 4, 4));
        painter.drawEllipse(QRectF(left, cy + 2, 4, 4));
    }
}

void drawDrag(QPainter &painter, const QRectF &handle, double cx, double cy, const QRectF &line)
{
    painter.fillRect(handle, QColor(0, 102, 204, 250));
    painter.setPen(pen(QColor(255, 255, 255, 255), 3.0, Qt::SolidLine));
    painter.setBrush(Qt::NoBrush);
    painter.drawLine(QPointF(cx - 7, cy + 2.5), QPointF(cx, cy - 4.5));
    painter.drawLine(QPointF(cx, cy - 4.5), QPointF(cx + 7, cy + 2.5));
    painter.drawLine(QPointF(cx - 7, cy - 2.5), QPointF(cx, cy + 4.5));
    painter.drawLine(QPointF(cx, cy + 4.5), QPointF(cx + 7, cy - 2.5));
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(255, 255, 255, 220));
    for (const double left : {22.5, handle.width() - 27.5}) {
        for (int i = -2; i <= 2; ++i) {
            painter.drawEllipse(QRectF(left, i * 5 + cy - 2.5, 5, 5));
        }
    }
    painter.setPen(pen(QColor(255, 255, 255, 180), 3.0, Qt::DashLine));
    painter.drawLine(QPointF(line.x(), line.y()), QPointF(line.x() + line.width(), line.y()));
}

QImage emptyPage(int width, double scale)
{
    QImage page(int((width + 20) * scale), int(120 * scale), QImage::Format_RGB32);
    page.fill(qRgb(150, 150, 150));
    return page;
}

void preparePainter(QPainter &painter, double scale)
{
    painter.scale(scale, scale);
    painter.translate(10, 5.25);
    painter.setPen(Qt::red);
    painter.setBrush(Qt::green);
}

QImage paintedStrip(PageItem *strip, double scale)
{
    QImage page = emptyPage(int(strip->bodyRect().width()), scale);
    QPainter painter(&page);
    preparePainter(painter, scale);
    const QStyleOptionGraphicsItem option;
    strip->paint(&painter, &option, nullptr);
    return page;
}

QImage expectedStrip(const PageItem *strip, const QPixmap &source, double scale, Look look)
{
    QImage page = emptyPage(int(strip->bodyRect().width()), scale);
    QPainter painter(&page);
    preparePainter(painter, scale);
    const QRectF band = strip->sourceRect();
    plainDrawBand(&painter, QRectF(QPointF(), band.size()), source, band);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF handle = strip->handleRect();
    const double cx = handle.width() * 0.5 + handle.x();
    const double cy = handle.height() * 0.5 + handle.y();
    switch (look) {
    case Look::idle:
        drawIdle(painter, handle, cx, cy);
        break;
    case Look::hover:
        drawHover(painter, handle, cx, cy);
        break;
    case Look::drag:
        drawDrag(painter, handle, cx, cy, strip->dragRect());
        break;
    }
    return page;
}

/// Empty if the strip is painted with \a look.
QString difference(PageItem *strip, const QPixmap &source, Look look, double scale = 1.0)
{
    return firstDifference(paintedStrip(strip, scale), expectedStrip(strip, source, scale, look));
}

} // namespace

class TestHandleLooks : public QObject
{
    Q_OBJECT

private slots:
    void paintsTheLook_data();
    void paintsTheLook();
    void looksDiffer();
    void isIdleUntilThePointerEnters();
    void hoverLookStaysOnLeaving();
    void dragLookOverridesHover();
    void partnerShowsTheDragLook();
    void lookAfterARelease();
};

void TestHandleLooks::paintsTheLook_data()
{
    QTest::addColumn<Look>("look");
    QTest::addColumn<int>("width");
    QTest::addColumn<double>("scale");
    for (const int width : {20, 71, 200, 333}) {
        for (const double scale : {0.37, 0.5, 1.0, 2.3}) {
            QTest::addRow("idle, %d wide at %g", width, scale) << Look::idle << width << scale;
            QTest::addRow("hover, %d wide at %g", width, scale) << Look::hover << width << scale;
            QTest::addRow("drag, %d wide at %g", width, scale) << Look::drag << width << scale;
        }
    }
}

void TestHandleLooks::paintsTheLook()
{
    QFETCH(Look, look);
    QFETCH(int, width);
    QFETCH(double, scale);
    const Document document(width);
    for (const double delta : {0.0, 3.3, -7.75}) {
        document.upper()->moveCut(delta);
        const QPointF onHandle = document.upper()->handleRect().center();
        if (look != Look::idle) {
            hover(document.upper(), onHandle);
        }
        if (look == Look::drag) {
            press(document.upper(), onHandle);
            move(document.upper(), {1, 55.5});
        }
        QCOMPARE(difference(document.upper(), document.source, look, scale), QString());
        if (look == Look::drag) {
            QCOMPARE(difference(document.lower(), document.source, look, scale), QString());
        }
        document.upper()->setDragging(false);
    }
}

void TestHandleLooks::looksDiffer()
{
    const Document document(200);
    const std::array looks{Look::idle, Look::hover, Look::drag};
    for (const Look look : looks) {
        for (const Look other : looks) {
            QCOMPARE(expectedStrip(document.upper(), document.source, 1.0, look)
                         == expectedStrip(document.upper(), document.source, 1.0, other),
                     look == other);
        }
    }
}

void TestHandleLooks::isIdleUntilThePointerEnters()
{
    const Document document(200);
    QCOMPARE(difference(document.upper(), document.source, Look::idle), QString());
    hover(document.upper(), {100, 30}); // on the body
    QCOMPARE(difference(document.upper(), document.source, Look::idle), QString());
    hover(document.upper(), {100, 70});
    QCOMPARE(difference(document.upper(), document.source, Look::hover), QString());
    hover(document.upper(), {100, 59});
    QCOMPARE(difference(document.upper(), document.source, Look::idle), QString());
}

void TestHandleLooks::hoverLookStaysOnLeaving()
{
    const Document document(200);
    hover(document.upper(), {100, 70});
    QGraphicsSceneHoverEvent leave(QEvent::GraphicsSceneHoverLeave);
    document.upper()->scene()->sendEvent(document.upper(), &leave);
    hover(document.lower(), {100, 1});
    QVERIFY(!document.upper()->hasCursor());
    QCOMPARE(difference(document.upper(), document.source, Look::hover), QString());
    hover(document.upper(), {100, 30});
    QCOMPARE(difference(document.upper(), document.source, Look::idle), QString());
}

void TestHandleLooks::dragLookOverridesHover()
{
    const Document document(200);
    hover(document.upper(), {100, 70});
    press(document.upper(), {100, 70});
    QCOMPARE(difference(document.upper(), document.source, Look::drag), QString());
    QCOMPARE(difference(document.lower(), document.source, Look::idle), QString());
}

void TestHandleLooks::partnerShowsTheDragLook()
{
    const Document document(200);
    hover(document.upper(), {100, 70});
    press(document.upper(), {100, 70});
    move(document.upper(), {100, 65});
    QCOMPARE(difference(document.lower(), document.source, Look::drag), QString());
    move(document.upper(), {100, 50});
    QCOMPARE(document.lower()->dragRect(), document.lower()->handleRect());
    QCOMPARE(difference(document.lower(), document.source, Look::drag), QString());
}

void TestHandleLooks::lookAfterARelease()
{
    const Document document(200);
    hover(document.upper(), {100, 70});
    press(document.upper(), {100, 70});
    move(document.upper(), {100, 65});
    release(document.upper(), {100, 65});
    QCOMPARE(difference(document.upper(), document.source, Look::hover), QString());
    QCOMPARE(difference(document.lower(), document.source, Look::idle), QString());
}

QUILLMARCH_TEST_MAIN(TestHandleLooks)
#include "tst_handlelooks.moc"
