// The rules of strips and cuts, for images of all shapes.

#include "app/mainwindow.h"
#include "page/pageitem.h"
#include "pixels/brightcount.h"
#include "support/configvalues.h"
#include "support/documentinvariants.h"
#include "support/pictures.h"
#include "support/testmain.h"
#include "support/windowprobe.h"

#include <QRandomGenerator>

#include <algorithm>
#include <cmath>
#include <set>

using namespace Qt::StringLiterals;

namespace {

constexpr double tolerance = 1e-6;
constexpr int highestImage = 4000;

using Paint = uchar (*)(int x, int y, QRandomGenerator &random);

struct Kind
{
    const char *name;
    Paint paint;
};

const QList<Kind> kinds{
    {"bright", [](int, int, QRandomGenerator &) { return uchar(250); }},
    {"dark", [](int, int, QRandomGenerator &) { return uchar(30); }},
    {"noise", [](int, int, QRandomGenerator &random) { return uchar(random.bounded(256)); }},
    {"text", [](int x, int y, QRandomGenerator &) { return uchar(y % 19 < 12 && x % 7 < 4 ? 20 : 245); }},
};

QImage picture(const Kind &kind, int width, int height)
{
    QRandomGenerator random(quint32(width * 5000 + height));
    QImage image(width, height, QImage::Format_Grayscale8);
    for (int y = 0; y < height; ++y) {
        uchar *row = image.scanLine(y);
        for (int x = 0; x < width; ++x) {
            row[x] = kind.paint(x, y, random);
        }
    }
    return image;
}

/// Heights around the multiples of the page height for \a width, exact and
/// truncated, up to the maximum: the last strip is full, empty or one row high.
std::set<int> criticalHeights(int width)
{
    const double pageHeight = width / 0.7;
    const int pages = int(highestImage / pageHeight);
    std::set<int> heights{11, 12, highestImage};
    for (const int count : {1, 2, 3, 4, 5, 8, 9, pages / 2, pages - 1, pages}) {
        for (const int edge : {int(count * pageHeight), count * int(pageHeight)}) {
            for (const int height : {edge - 1, edge, edge + 1}) {
                if (height >= 11 && height <= highestImage) {
                    heights.insert(height);
                }
            }
        }
    }
    return heights;
}

/// The number of bright pixels in each row.
QList<int> brightPixels(const QImage &image)
{
    QList<int> counts;
    for (int y = 0; y < image.height(); ++y) {
        const uchar *row = image.constScanLine(y);
        counts.append(int(std::count_if(row, row + image.width(), [](uchar level) { return level >= brightLevel; })));
    }
    return counts;
}

/// The automatic cut below a strip from \a top to its regular end \a bottom.
double ruledCut(double top, double bottom, const QList<int> &bright)
{
    const double windowHeight = 0.3 * (bottom - top);
    const double windowTop = bottom - windowHeight * 0.5;
    const auto first = qsizetype(std::floor(windowTop));
    const qsizetype end = std::min(qsizetype(std::ceil(windowTop + windowHeight)), bright.size());
    if (first >= end) {
        return windowTop; // entirely below the image
    }
    const auto best = std::max_element(bright.begin() + first, bright.begin() + end);
    return *best > 0 ? windowTop + double(best - (bright.begin() + first)) : windowTop;
}

/// The cuts of \a window that break the rule, for an image whose rows have
/// \a bright bright pixels; empty if none does.
QString brokenRule(const MainWindow &window, const QList<int> &bright, int width)
{
    const double pageHeight = width / 0.7;
    const double regular = std::trunc(pageHeight);
    const QList<PageItem *> strips = stripsOf(window);
    for (qsizetype i = 0; i < strips.size(); ++i) {
        const QRectF band = strips.at(i)->sourceRect();
        const QString place = u"strip %1 of %2: "_s.arg(i).arg(strips.size());
        // A cut moves by at most 0.15 of its strip, and the cut above by at most
        // 0.15 of 1.18: no strip becomes nearly empty.
        if (band.height() < 0.7 * regular - 2 || band.height() > 1.36 * regular + 2) {
            return place + u"it is %1 high"_s.arg(band.height());
        }
        if (i + 1 == strips.size()) {
            break;
        }
        const double bottom = std::trunc(double(i) * pageHeight) + regular;
        const double cut = band.y() + band.height();
        const double half = 0.15 * (bottom - band.y());
        if (std::abs(cut - ruledCut(band.y(), bottom, bright)) > tolerance) {
            return place + u"the cut is at %1 and not at %2"_s.arg(cut).arg(ruledCut(band.y(), bottom, bright));
        }
        if (cut < bottom - half - tolerance || cut > bottom + half + 1) {
            return place + u"the cut has left its window"_s;
        }
        if (std::floor(bottom - half) < double(bright.size()) && cut >= double(bright.size())) {
            return place + u"the cut has left the image"_s;
        }
    }
    return {};
}

} // namespace

class TestGeometry : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void cutsEveryShapeByTheRules_data();
    void cutsEveryShapeByTheRules();
    void cutsRegularlyWithoutPlacement_data();
    void cutsRegularlyWithoutPlacement();
};

void TestGeometry::init()
{
    clearConfigValues();
}

void TestGeometry::cutsEveryShapeByTheRules_data()
{
    QTest::addColumn<int>("width");
    for (const int width :
         {11, 12, 13, 14, 15, 17, 20, 21, 28, 35, 49, 50, 69, 70, 71, 100, 139, 140, 210, 256, 301, 399, 400}) {
        QTest::addRow("%d wide", width) << width;
    }
}

void TestGeometry::cutsEveryShapeByTheRules()
{
    QFETCH(int, width);
    MainWindow window;
    for (const int height : criticalHeights(width)) {
        for (const Kind &kind : kinds) {
            const QImage image = picture(kind, width, height);
            window.loadImageFile(savedPicture(image, u"shape.pgm"_s));
            const QString shape = u"%1, %2 high: "_s.arg(QLatin1StringView(kind.name)).arg(height);
            const QStringList broken = brokenInvariants(window, image.size());
            QVERIFY2(broken.isEmpty(), qPrintable(shape + broken.join("; "_L1)));
            const QString rule = brokenRule(window, brightPixels(image), width);
            QVERIFY2(rule.isEmpty(), qPrintable(shape + rule));
        }
    }
}

void TestGeometry::cutsRegularlyWithoutPlacement_data()
{
    cutsEveryShapeByTheRules_data();
}

void TestGeometry::cutsRegularlyWithoutPlacement()
{
    QFETCH(int, width);
    MainWindow window;
    window.setAutoPage(false);
    for (const int height : criticalHeights(width)) {
        window.loadImageFile(savedPicture(picture(kinds.first(), width, height), u"shape.pgm"_s));
        const QStringList broken = brokenInvariants(window, QSize(width, height));
        QVERIFY2(broken.isEmpty(), qPrintable(u"%1 high: "_s.arg(height) + broken.join("; "_L1)));
        const QList<PageItem *> strips = stripsOf(window);
        for (qsizetype i = 0; i < strips.size(); ++i) {
            const double pageHeight = width / 0.7;
            QCOMPARE(strips.at(i)->sourceRect(),
                     QRectF(0, std::trunc(double(i) * pageHeight), width, std::trunc(pageHeight)));
        }
    }
}

QUILLMARCH_TEST_MAIN(TestGeometry)
#include "tst_geometry.moc"
