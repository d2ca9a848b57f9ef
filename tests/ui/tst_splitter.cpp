#include "support/imagecomparison.h"
#include "support/testmain.h"
#include "ui/customsplitter.h"

#include <QLinearGradient>
#include <QMouseEvent>
#include <QPainter>
#include <QRegularExpression>

#include <functional>

using namespace Qt::StringLiterals;

namespace {

enum class Look { Normal, Hover, Pressed };

void dot(QPainter &painter, double centerX, double centerY, double size)
{
    painter.drawEllipse(QRectF(centerX - size / 2, centerY - size / 2, size, size));
}

void line(QPainter &painter, double x1, double y1, double x2, double y2)
{
    painter.drawLine(QLineF(x1, y1, x2, y2));
}

void paintNormal(QPainter &painter, QSize size, double cx, double cy)
{
    QLinearGradient gradient(0, 0, size.width() - 1, 0);
    gradient.setColorAt(0.0, QColor(0, 0, 0, 20));
    gradient.setColorAt(0.5, QColor(0, 0, 0, 8));
    gradient.setColorAt(1.0, QColor(0, 0, 0, 20));
    painter.fillRect(0, 0, size.width(), size.height(), gradient);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(255, 255, 255, 100));
    dot(painter, cx - 2.5, cy - 4, 3);
    dot(painter, cx - 2.5, cy, 3);
    dot(painter, cx - 2.5, cy + 4, 3);
    dot(painter, cx + 2.5, cy - 4, 3);
    dot(painter, cx + 2.5, cy, 3);
    dot(painter, cx + 2.5, cy + 4, 3);
}

void paintHover(QPainter &painter, QSize size, double cx, double cy)
{
    painter.fillRect(0, 0, size.width(), size.height(), QColor(74, 144, 226, 90));
    painter.setPen(QPen(QColor(255, 255, 255, 230), 2.0, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin));
    painter.setBrush(Qt::NoBrush);
    line(painter, cx + 2.5, cy - 5, cx - 2.5, cy);
    line(painter, cx - 2.5, cy, cx + 2.5, cy + 5);
    line(painter, cx - 2.5, cy - 5, cx + 2.5, cy);
    line(painter, cx + 2.5, cy, cx - 2.5, cy + 5);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(255, 255, 255, 180));
    for (const double y : {25.0, size.height() - 25.0}) {
        dot(painter, cx - 3, y, 3);
        dot(painter, cx, y, 3);
        dot(painter, cx + 3, y, 3);
    }
}

void paintPressed(QPainter &painter, QSize size, double cx, double cy)
{
    painter.fillRect(0, 0, size.width(), size.height(), QColor(0, 102, 204, 215));
    painter.setPen(QPen(QColor(255, 255, 255, 255), 2.5, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin));
    painter.setBrush(Qt::NoBrush);
    line(painter, cx + 2, cy - 6, cx - 4, cy);
    line(painter, cx - 4, cy, cx + 2, cy + 6);
    line(painter, cx - 2, cy - 6, cx + 4, cy);
    line(painter, cx + 4, cy, cx - 2, cy + 6);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(255, 255, 255, 220));
    for (const double y : {20.0, size.height() - 20.0}) {
        dot(painter, cx - 8, y, 4);
        dot(painter, cx - 4, y, 4);
        dot(painter, cx, y, 4);
        dot(painter, cx + 4, y, 4);
        dot(painter, cx + 8, y, 4);
    }
}

/// The expected look of the handle over a background of one color.
QImage expectedLook(Look look, QSize size, QRgb background)
{
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(QColor::fromRgba(background));
    const double cx = (size.width() - 1) / 2;
    const double cy = (size.height() - 1) / 2;
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    switch (look) {
    case Look::Normal:
        paintNormal(painter, size, cx, cy);
        break;
    case Look::Hover:
        paintHover(painter, size, cx, cy);
        break;
    case Look::Pressed:
        paintPressed(painter, size, cx, cy);
        break;
    }
    return image;
}

/// What the handle paints over a background of one color.
QImage paintedLook(QWidget *handle, QRgb background)
{
    QImage image(handle->size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(QColor::fromRgba(background));
    handle->render(&image, QPoint(), QRegion(), QWidget::RenderFlags());
    return image;
}

void enter(QWidget *widget)
{
    QEnterEvent event(QPointF(3, 50), QPointF(3, 50), QPointF(3, 50));
    QApplication::sendEvent(widget, &event);
}

void leave(QWidget *widget)
{
    QEvent event(QEvent::Leave);
    QApplication::sendEvent(widget, &event);
}

void mouse(QWidget *widget, QEvent::Type type, Qt::MouseButton button, QPoint at = QPoint(3, 50))
{
    const Qt::MouseButtons held = type == QEvent::MouseButtonRelease ? Qt::NoButton : button;
    QMouseEvent event(type, at, widget->mapToGlobal(at), button, held, Qt::NoModifier);
    QApplication::sendEvent(widget, &event);
}

class PaintCounter : public QObject
{
public:
    bool eventFilter(QObject *, QEvent *event) override
    {
        count += event->type() == QEvent::Paint ? 1 : 0;
        return false;
    }

    int count = 0;
};

/// A splitter with two plain widgets.
struct Pair
{
    explicit Pair(QSize size)
    {
        splitter.addWidget(left);
        splitter.addWidget(right);
        splitter.setSizes({50000, 50000});
        splitter.resize(size);
        splitter.show();
    }

    QWidget *handle() const { return splitter.handle(1); }

    CustomSplitter splitter{nullptr};
    QWidget *left = new QWidget;
    QWidget *right = new QWidget;
};

} // namespace

Q_DECLARE_METATYPE(Look)

class TestSplitter : public QObject
{
    Q_OBJECT

private slots:
    void isNarrowAndNotCollapsible();
    void takesAnOrientation();
    void createsItsOwnHandles();
    void paintsTheThreeLooks_data();
    void paintsTheThreeLooks();
    void looksFollowTheEvents();
    void repaintsAfterEachEvent();
    void pressMovesTheHandle();
    void draggingCollapsesNoWidget();
    void startsWithEqualWidgets_data();
    void startsWithEqualWidgets();
};

void TestSplitter::isNarrowAndNotCollapsible()
{
    QWidget parent;
    const CustomSplitter splitter(&parent);
    QCOMPARE(splitter.parentWidget(), &parent);
    QCOMPARE(splitter.orientation(), Qt::Horizontal);
    QCOMPARE(splitter.handleWidth(), 6);
    QVERIFY(!splitter.childrenCollapsible());
}

void TestSplitter::takesAnOrientation()
{
    for (const Qt::Orientation orientation : {Qt::Horizontal, Qt::Vertical}) {
        QWidget parent;
        const CustomSplitter splitter(orientation, &parent);
        QCOMPARE(splitter.parentWidget(), &parent);
        QCOMPARE(splitter.orientation(), orientation);
        QCOMPARE(splitter.handleWidth(), 6);
        QVERIFY(!splitter.childrenCollapsible());
    }
}

void TestSplitter::createsItsOwnHandles()
{
    for (const Qt::Orientation orientation : {Qt::Horizontal, Qt::Vertical}) {
        CustomSplitter splitter(orientation, nullptr);
        splitter.addWidget(new QWidget);
        splitter.addWidget(new QWidget);
        auto *handle = qobject_cast<CustomSplitterHandle *>(splitter.handle(1));
        QVERIFY(handle);
        QCOMPARE(handle->orientation(), orientation);
        QCOMPARE(handle->splitter(), &splitter);
        QVERIFY(handle->hasMouseTracking());
    }
}

void TestSplitter::paintsTheThreeLooks_data()
{
    QTest::addColumn<Look>("look");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QRgb>("background");
    const std::pair<const char *, Look> looks[]{
        {"normal", Look::Normal}, {"hover", Look::Hover}, {"pressed", Look::Pressed}};
    for (const auto &[name, look] : looks) {
        for (const QSize size : {QSize(6, 200), QSize(6, 201), QSize(6, 47), QSize(6, 10), QSize(7, 90)}) {
            for (const QRgb background : {0xffffffffU, 0xff102030U, 0U}) {
                QTest::addRow("%s %dx%d on %08x", name, size.width(), size.height(), background)
                    << look << size << background;
            }
        }
    }
}

void TestSplitter::paintsTheThreeLooks()
{
    QTest::failOnWarning(QRegularExpression(u"QPainter"_s)); // a saved state that is not restored
    QFETCH(Look, look);
    QFETCH(QSize, size);
    QFETCH(QRgb, background);
    Pair pair(QSize(400 + size.width(), size.height()));
    pair.splitter.setHandleWidth(size.width());
    QWidget *const handle = pair.handle();
    QTRY_COMPARE(handle->size(), size);
    if (look == Look::Hover) {
        enter(handle);
    } else if (look == Look::Pressed) {
        enter(handle);
        mouse(handle, QEvent::MouseButtonPress, Qt::LeftButton);
    }
    QCOMPARE(firstDifference(paintedLook(handle, background), expectedLook(look, size, background)), QString());
}

void TestSplitter::looksFollowTheEvents()
{
    const Pair pair(QSize(406, 200));
    QWidget *const handle = pair.handle();
    QCOMPARE(handle->size(), QSize(6, 200));
    const auto shows = [&](Look look) {
        return paintedLook(handle, 0xffffffffU) == expectedLook(look, QSize(6, 200), 0xffffffffU);
    };
    QVERIFY(shows(Look::Normal));
    enter(handle);
    QVERIFY(shows(Look::Hover));
    leave(handle);
    QVERIFY(shows(Look::Normal));

    enter(handle);
    mouse(handle, QEvent::MouseButtonPress, Qt::LeftButton);
    QVERIFY(shows(Look::Pressed));
    leave(handle);
    QVERIFY(shows(Look::Pressed));
    mouse(handle, QEvent::MouseButtonRelease, Qt::LeftButton);
    QVERIFY(shows(Look::Normal));

    mouse(handle, QEvent::MouseButtonPress, Qt::RightButton);
    QVERIFY(shows(Look::Pressed));
    enter(handle);
    QVERIFY(shows(Look::Pressed));
    mouse(handle, QEvent::MouseButtonRelease, Qt::RightButton);
    QVERIFY(shows(Look::Hover));
}

void TestSplitter::repaintsAfterEachEvent()
{
    Pair pair(QSize(406, 200));
    QVERIFY(QTest::qWaitForWindowExposed(&pair.splitter));
    QWidget *const handle = pair.handle();
    PaintCounter counter;
    handle->installEventFilter(&counter);
    const std::function<void()> events[]{
        [&] { enter(handle); },
        [&] { mouse(handle, QEvent::MouseButtonPress, Qt::RightButton); },
        [&] { mouse(handle, QEvent::MouseButtonRelease, Qt::RightButton); },
        [&] { leave(handle); },
    };
    for (const auto &sendEvent : events) {
        QCoreApplication::processEvents();
        counter.count = 0;
        sendEvent();
        QTRY_VERIFY(counter.count > 0);
    }
}

void TestSplitter::pressMovesTheHandle()
{
    const Pair pair(QSize(406, 200));
    QWidget *const handle = pair.handle();
    QCOMPARE(pair.left->width(), 200);
    mouse(handle, QEvent::MouseButtonPress, Qt::LeftButton);
    mouse(handle, QEvent::MouseMove, Qt::LeftButton, QPoint(53, 50));
    mouse(handle, QEvent::MouseButtonRelease, Qt::LeftButton);
    QCOMPARE(pair.left->width(), 250);
    QCOMPARE(pair.right->width(), 150);
}

void TestSplitter::draggingCollapsesNoWidget()
{
    const Pair pair(QSize(406, 200));
    pair.left->setMinimumWidth(30);
    pair.right->setMinimumWidth(40);
    QWidget *const handle = pair.handle();
    mouse(handle, QEvent::MouseButtonPress, Qt::LeftButton);
    mouse(handle, QEvent::MouseMove, Qt::LeftButton, QPoint(-900, 50));
    mouse(handle, QEvent::MouseButtonRelease, Qt::LeftButton);
    QCOMPARE(pair.left->width(), 30);
    mouse(handle, QEvent::MouseButtonPress, Qt::LeftButton);
    mouse(handle, QEvent::MouseMove, Qt::LeftButton, QPoint(900, 50));
    mouse(handle, QEvent::MouseButtonRelease, Qt::LeftButton);
    QCOMPARE(pair.right->width(), 40);
}

void TestSplitter::startsWithEqualWidgets_data()
{
    QTest::addColumn<int>("width");
    for (const int width : {300, 301, 777, 1280, 3839}) {
        QTest::addRow("%d", width) << width;
    }
}

void TestSplitter::startsWithEqualWidgets()
{
    QFETCH(int, width);
    const Pair pair(QSize(width, 100));
    QCOMPARE(pair.left->width() + pair.right->width(), width - 6);
    QVERIFY(std::abs(pair.left->width() - pair.right->width()) <= 1);
}

QUILLMARCH_TEST_MAIN(TestSplitter)
#include "tst_splitter.moc"
