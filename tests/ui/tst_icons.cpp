#include "support/imagecomparison.h"
#include "support/testmain.h"
#include "ui/iconframe.h"
#include "ui/windowaccess.h"

#include <QPainter>
#include <QPushButton>

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

const QColor mainColor(0x6c, 0x6c, 0x6c);
const QColor secondColor(0x9c, 0x9c, 0x9c);

int truncated(double value)
{
    return int(std::trunc(value));
}

int rounded(double value)
{
    return int(std::round(value));
}

QPen roundPen(const QColor &color, double width)
{
    return QPen(QBrush(color), width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
}

/// A transparent square to draw an icon on, with its painter, the inner rectangle
/// and the measures that the drawings use.
class Canvas
{
public:
    Canvas(int side, int margin)
        : image(side, side, QImage::Format_ARGB32_Premultiplied)
        , L(margin)
        , T(margin)
        , X(side - 1 - margin)
        , Y(side - 1 - margin)
        , w(X + 1 - L)
        , h(Y + 1 - T)
        , cx((L + X) / 2)
        , cy((T + Y) / 2)
    {
        image.fill(Qt::transparent);
        p.begin(&image);
        p.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform | QPainter::TextAntialiasing);
        p.setPen(roundPen(mainColor, 3));
        p.setBrush(Qt::NoBrush);
    }

    QImage take()
    {
        p.end();
        return image;
    }

    void frame() { p.drawRect(QRect(QPoint(L, T), QPoint(X, Y))); }
    void circle(int x, int y, int radius) { p.drawEllipse(QRect(x - radius, y - radius, 2 * radius, 2 * radius)); }

    QImage image;
    QPainter p;
    int L;
    int T;
    int X;
    int Y;
    int w;
    int h;
    int cx;
    int cy;
};

QImage drawOpen(int side)
{
    Canvas s(side, 4);
    s.frame();
    const QPoint foot(truncated(s.L + 0.2 * s.w), truncated(s.Y - 0.1 * s.h));
    const QPoint peak(truncated(s.cx - 0.1 * s.w), truncated(s.Y - 0.3 * s.h));
    const QPoint end(truncated(s.L + 0.6 * s.w), truncated(s.Y - 0.1 * s.h));
    s.p.drawLine(foot, peak);
    s.p.drawLine(peak, end);
    const int q = truncated(0.15 * s.w);
    const int x = truncated(s.X - 0.25 * s.w);
    const int y = truncated(s.T + 0.25 * s.h);
    s.circle(x, y, q);
    s.p.setBrush(mainColor);
    s.circle(x, y, truncated(0.4 * q));
    return s.take();
}

QImage drawExportPdf(int side)
{
    Canvas s(side, 4);
    s.p.drawLine(s.L, s.T, s.L + s.w / 2, s.T);
    s.p.drawLine(s.X, s.T + s.h / 2, s.X, s.Y);
    s.p.drawLine(s.X, s.Y, s.L, s.Y);
    s.p.drawLine(s.L, s.Y, s.L, s.T);
    s.p.drawLine(s.cx, s.cy, s.X, s.T);
    const int q = std::min(s.w, s.h) / 4;
    s.p.drawLine(s.X, s.T, s.X - q, s.T);
    s.p.drawLine(s.X, s.T, s.X, s.T + q);
    return s.take();
}

QImage drawPrint(int side)
{
    Canvas s(side, 4);
    const int y1 = truncated(0.3 * s.h + s.T);
    const int y2 = truncated(0.65 * s.h + s.T);
    s.p.drawRect(s.L, y1, s.w, y2 - y1);
    const int paper = truncated(0.6 * s.w);
    const int a = (s.w - paper) / 2 + s.L;
    const int b = a + paper;
    s.p.drawLine(a, s.T, a, y1);
    s.p.drawLine(b, s.T, b, y1);
    s.p.drawLine(a, s.T, b, s.T);
    s.p.drawLine(a, y2, a, s.Y);
    s.p.drawLine(b, y2, b, s.Y);
    s.p.drawLine(a, s.Y, b, s.Y);
    s.p.drawEllipse(QRect(s.X - 8, y1 + 4, 3, 3));
    return s.take();
}

QImage drawHelp(int side)
{
    Canvas s(side, 2);
    const int q = rounded(0.4 * std::min(s.w, s.h));
    s.circle(s.cx, s.cy, q);
    const int a = rounded(0.6 * q);
    s.p.drawRect(s.cx - a, s.cy + q, rounded(1.2 * q), rounded(0.3 * q));
    s.p.setPen(roundPen(mainColor, 1));
    s.p.drawLine(s.cx, s.cy - a, s.cx, s.cy + a);
    s.p.drawLine(s.cx - a, s.cy, s.cx + a, s.cy);
    const int b = rounded(0.7 * a);
    s.p.drawLine(s.cx - b, s.cy - b, s.cx + b, s.cy + b);
    s.p.drawLine(s.cx + b, s.cy - b, s.cx - b, s.cy + b);
    return s.take();
}

QImage drawMargin(int side, double share)
{
    Canvas s(side, 4);
    s.frame();
    const int inner = rounded(share * s.w);
    const int q = rounded(0.5 * inner);
    s.p.setPen(roundPen(secondColor, 2));
    s.p.drawRect(s.cx - q, s.cy - q, inner, inner);
    return s.take();
}

QImage drawDecreaseMargin(int side)
{
    return drawMargin(side, 0.7);
}

QImage drawIncreaseMargin(int side)
{
    return drawMargin(side, 0.4);
}

QImage drawZoomIn(int side)
{
    Canvas s(side, 4);
    s.frame();
    s.p.setPen(roundPen(mainColor, 2));
    const int a = rounded(0.28 * std::min(s.w, s.h));
    s.p.drawLine(s.cx - a, s.cy, s.cx + a, s.cy);
    s.p.drawLine(s.cx, s.cy - a, s.cx, s.cy + a);
    return s.take();
}

QImage drawZoomOut(int side)
{
    Canvas s(side, 4);
    s.frame();
    s.p.setPen(roundPen(mainColor, 2));
    const int a = rounded(0.28 * std::min(s.w, s.h));
    s.p.drawLine(s.cx - a, s.cy, s.cx + a, s.cy);
    return s.take();
}

QImage drawTwoCols(int side)
{
    Canvas s(side, 4);
    s.p.setPen(QPen(QBrush(mainColor), 2, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin));
    s.p.drawRoundedRect(QRectF(s.L, s.T, s.w, s.h), 2, 2, Qt::AbsoluteSize);
    s.p.setPen(Qt::NoPen);
    s.p.setBrush(mainColor);
    const int c = (s.X - s.L - 10) / 2;
    const int d = (s.Y - s.T - 5) / 2;
    s.p.drawRect(s.L + 4, s.T + 3, c, d);
    s.p.drawRect(s.L + 7 + c, s.T + 3, c, d);
    s.p.drawRect(s.L + 4, s.T + 4 + d, c, d);
    s.p.drawRect(s.L + 7 + c, s.T + 4 + d, c, d);
    return s.take();
}

QImage drawAutoTrim(int side)
{
    Canvas s(side, 4);
    s.frame();
    s.p.fillRect(QRect(QPoint(s.L + 4, s.T + 4), QPoint(s.X - 4, s.Y - 4)), QColor(0x6c, 0x6c, 0x6c, 80));
    s.p.drawLine(s.L, s.T + 6, s.L + 6, s.T + 6);
    s.p.drawLine(s.L + 6, s.T, s.L + 6, s.T + 6);
    s.p.drawLine(s.X, s.T + 6, s.X - 6, s.T + 6);
    s.p.drawLine(s.X - 6, s.T, s.X - 6, s.T + 6);
    s.p.drawLine(s.L, s.Y - 6, s.L + 6, s.Y - 6);
    s.p.drawLine(s.L + 6, s.Y, s.L + 6, s.Y - 6);
    s.p.drawLine(s.X, s.Y - 6, s.X - 6, s.Y - 6);
    s.p.drawLine(s.X - 6, s.Y, s.X - 6, s.Y - 6);
    return s.take();
}

QImage drawPageNum(int side)
{
    Canvas s(side, 4);
    s.frame();
    QFont font;
    font.setPixelSize(truncated(0.6 * s.h));
    font.setWeight(QFont::Weight(700));
    s.p.setFont(font);
    s.p.drawText(QRect(s.L, s.T, s.w, s.h), 132, u"1"_s);
    return s.take();
}

QImage drawUpdate()
{
    QImage image(20, 20, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    painter.setPen(QPen(QColor(255, 159, 10), 2, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin));
    painter.drawLine(QLineF(10, 4, 10, 14));
    const QPointF head[]{{6, 10}, {10, 14}, {14, 10}};
    painter.drawPolyline(head, 3);
    painter.drawLine(QLineF(4, 17, 16, 17));
    painter.end();
    return image;
}

/// The side of the icons, in pixels, at the density of this run.
int sideOfRun()
{
    const double ratio = screenDensityOfRun();
    if (ratio >= 1.4) {
        return 41;
    }
    return ratio >= 1.15 ? 37 : 33;
}

using Drawing = QImage (*)(int side);

} // namespace

Q_DECLARE_METATYPE(Drawing)

class TestIcons : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void sizeDependsOnTheDensity();
    void drawsEachCommand_data();
    void drawsEachCommand();
    void exitHasNoIcon();
    void drawsTheUpdateButton();
    void frameHasOddSides_data();
    void frameHasOddSides();

private:
    std::unique_ptr<MainWindow> window;
};

void TestIcons::initTestCase()
{
    QVERIFY(hasRequestedDensity());
    forgetEverything();
    window = std::make_unique<MainWindow>();
}

void TestIcons::sizeDependsOnTheDensity()
{
    const QList<QSize> sizes = actionOf(*window, "openAction")->icon().availableSizes();
    QCOMPARE(sizes, QList<QSize>{QSize(sideOfRun(), sideOfRun())});
    static const QHash<int, int> sides{{110, 33}, {111, 37}, {115, 37}, {144, 41}};
    const int dotsPerInch = qEnvironmentVariableIntValue("QT_FONT_DPI");
    QCOMPARE(sizes.first().width(), sides.value(dotsPerInch, sideOfRun()));
}

void TestIcons::drawsEachCommand_data()
{
    QTest::addColumn<QByteArray>("action");
    QTest::addColumn<Drawing>("drawing");
    const std::pair<const char *, Drawing> drawings[]{
        {"guideAction", drawHelp},
        {"decreaseMarginAction", drawDecreaseMargin},
        {"increaseMarginAction", drawIncreaseMargin},
        {"zoomInAction", drawZoomIn},
        {"zoomOutAction", drawZoomOut},
        {"openAction", drawOpen},
        {"exportPdfAction", drawExportPdf},
        {"printAction", drawPrint},
        {"twoColsAction", drawTwoCols},
        {"pageNumAction", drawPageNum},
        {"autoTrimAction", drawAutoTrim},
        {"aboutAction", drawHelp},
    };
    for (const auto &[action, drawing] : drawings) {
        QTest::newRow(action) << QByteArray(action) << drawing;
    }
}

void TestIcons::drawsEachCommand()
{
    QFETCH(QByteArray, action);
    QFETCH(Drawing, drawing);
    const int side = sideOfRun();
    const QPixmap pixmap = actionOf(*window, action.constData())->icon().pixmap(QSize(side, side));
    QCOMPARE(pixmap.devicePixelRatio(), 1.0);
    QVERIFY(pixmap.hasAlpha());
    const QImage expected = drawing(side);
    QVERIFY(expected.pixelColor(side / 2, 0).alpha() == 0);
    QCOMPARE(firstDifference(pixmap.toImage(), expected), QString());
}

void TestIcons::exitHasNoIcon()
{
    QVERIFY(actionOf(*window, "exitAction")->icon().isNull());
}

void TestIcons::drawsTheUpdateButton()
{
    auto *button = childOf<QPushButton>(*window, "updateButton");
    QCOMPARE(button->icon().availableSizes(), QList<QSize>{QSize(20, 20)});
    QCOMPARE(firstDifference(button->icon().pixmap(QSize(20, 20)).toImage(), drawUpdate()), QString());
}

void TestIcons::frameHasOddSides_data()
{
    QTest::addColumn<QRect>("outer");
    QTest::addColumn<int>("margin");
    QTest::addColumn<QRect>("frame");
    const auto add = [](QRect outer, int margin, int left, int top, int right, int bottom) {
        QTest::addRow("%dx%d less %d", outer.width(), outer.height(), margin)
            << outer << margin << QRect(QPoint(left, top), QPoint(right, bottom));
    };
    add(QRect(0, 0, 33, 33), 4, 4, 4, 28, 28);
    add(QRect(0, 0, 33, 33), 2, 2, 2, 30, 30);
    add(QRect(0, 0, 37, 37), 4, 4, 4, 32, 32);
    add(QRect(0, 0, 41, 41), 4, 4, 4, 36, 36);
    add(QRect(0, 0, 41, 41), 2, 2, 2, 38, 38);
    add(QRect(0, 0, 32, 32), 4, 4, 4, 26, 26);
    add(QRect(0, 0, 32, 33), 4, 4, 4, 26, 28);
    add(QRect(0, 0, 33, 40), 0, 0, 0, 32, 38);
    add(QRect(0, 0, 9, 9), 4, 4, 4, 4, 4);
}

void TestIcons::frameHasOddSides()
{
    QFETCH(QRect, outer);
    QFETCH(int, margin);
    QTEST(iconFrame(outer, margin), "frame");
}

QUILLMARCH_TEST_MAIN(TestIcons)
#include "tst_icons.moc"
