#include "output/previewitem.h"
#include "page/pageitem.h"
#include "support/imagecomparison.h"
#include "support/pictures.h"
#include "support/plaindrawing.h"
#include "support/testmain.h"

#include <QPainter>
#include <QPen>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

namespace {

constexpr int width = 140;
constexpr int height = 200;

/// Strips of 140 x 200 pixels of one source, and the page of the first strips.
struct Sheet
{
    Sheet(const QPixmap &pixmap, int count, unsigned int kind, int onPage)
        : source(pixmap)
    {
        for (int i = 0; i < count; ++i) {
            strips.push_back(std::make_unique<PageItem>(source, QRectF(0, i * height, width, height)));
            strips.back()->setPageIndex(i);
            if (i > 0) {
                strips.at(size_t(i) - 1)->linkNext(strips.back().get());
            }
        }
        page = std::make_unique<PreviewItem>(strips.front().get(), kind);
        for (int i = 1; i < onPage; ++i) {
            page->addStrip(strips.at(size_t(i)).get());
        }
        shown = onPage;
        layoutKind = kind;
    }

    QPixmap source;
    std::vector<std::unique_ptr<PageItem>> strips;
    std::unique_ptr<PreviewItem> page;
    int shown;
    unsigned int layoutKind;
};

void drawNumberLiterally(QPainter *painter, QSizeF sheet, int number)
{
    const double boxWidth = std::trunc(sheet.width() / 5);
    const double boxHeight = std::trunc(sheet.width() / 15);
    painter->drawPixmap(
        QRectF(std::trunc(sheet.width() - boxWidth), std::trunc(sheet.height() - boxHeight), boxWidth, boxHeight),
        plainPageNumber(QString::number(number + 1)), QRectF(0, 0, 180, 60));
}

/// The expected page of \a sheet, drawn step by step. \a aspect is the smallest
/// aspect of the document; \a tallest, the tallest column so far, is updated.
void drawLiterally(QPainter *painter, const Sheet &sheet, double aspect, double &tallest, bool numbered)
{
    const QRectF outer = sheet.page->boundingRect();
    const QRectF margins = sheet.page->margins();
    painter->fillRect(outer, QColor(255, 255, 255));
    const QRectF content(margins.x(), margins.y(), outer.width() - margins.x() - margins.width(),
                         outer.height() - margins.y() - margins.height());
    const auto draw = [&](const PageItem &strip, const QRectF &target) {
        plainDrawBand(painter, target, sheet.source, strip.sourceRect());
    };
    if (sheet.layoutKind == 1) {
        const QRectF band = sheet.strips.front()->sourceRect();
        const double a = aspect * content.height();
        const double b = a * band.height() / band.width();
        draw(*sheet.strips.front(),
             QRectF(content.x() + (content.width() - a) * 0.5, content.y() + (content.height() - b) * 0.5, a, b));
    } else if (sheet.layoutKind == 4) {
        quint32 sum = 0;
        for (int i = 0; i < sheet.shown; ++i) {
            sum = quint32(qint64(sum + sheet.strips.at(size_t(i))->bodyRect().height()));
            tallest = std::max(tallest, double(sum));
            if (i == 1) {
                sum = 0;
            }
        }
        double s = content.height() / tallest;
        if (s >= 1.0) {
            s = 0.5;
        }
        const double stripWidth = sheet.strips.front()->bodyRect().width() * s;
        const double inset = (content.width() * 0.5 - stripWidth) * 0.5;
        double x = content.x() + inset;
        double y = content.y();
        for (int i = 0; i < sheet.shown; ++i) {
            const double stripHeight = sheet.strips.at(size_t(i))->bodyRect().height() * s;
            draw(*sheet.strips.at(size_t(i)), QRectF(x, y, stripWidth, stripHeight));
            y += stripHeight;
            if (i == 1) {
                y = content.y();
                x = inset + (content.width() * 0.5 + content.x() + inset);
            }
        }
    }
    if (numbered) {
        drawNumberLiterally(painter, outer.size(), sheet.page->pageNumber());
    }
}

/// What \a draw draws at \a scale, with some pixels of space around it.
template <typename Draw>
QImage picture(double scale, Draw draw)
{
    QImage image(int(190 * scale) + 30, int(280 * scale) + 30, QImage::Format_RGB32);
    image.fill(QColor(90, 120, 150));
    QPainter painter(&image);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing | QPainter::SmoothPixmapTransform);
    painter.translate(10, 10);
    painter.scale(scale, scale);
    draw(&painter);
    return image;
}

QImage renderedPicture(const Sheet &sheet, double scale = 1.0)
{
    return picture(scale, [&](QPainter *painter) { sheet.page->renderPage(painter); });
}

QImage literalPicture(const Sheet &sheet, double aspect, double &tallest, bool numbered = false, double scale = 1.0)
{
    return picture(scale, [&](QPainter *painter) { drawLiterally(painter, sheet, aspect, tallest, numbered); });
}

QPixmap sourcePixmap(int strips, QImage::Format format = QImage::Format_RGB32)
{
    return keptPixmap(blockPicture(width, height * strips).convertToFormat(format));
}

constexpr double fixedAspect = 0.70707071;

} // namespace

class TestRenderPage : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void oneStrip_data();
    void oneStrip();
    void oneStripFollowsTheSmallestAspect();
    void shortenedStripIsCentered();
    void fourStrips_data();
    void fourStrips();
    void fourStripsWithMovedCuts_data();
    void fourStripsWithMovedCuts();
    void tallestColumnSetsTheScaleOfAllPages();
    void tallestColumnIsNeverLowered();
    void loneStripIsHalfAsLarge();
    void stripBelowTheImageLeavesWhite();
    void keepsTheColorsOf_data();
    void keepsTheColorsOf();
    void numbersThePage_data();
    void numbersThePage();
    void drawsNoNumberUnlessEnabled();
    void otherKindsShowNoStrip();
    void frameIsOnlyForTheScreen();
    void paintsNoFrameUnlessSelected();
    void wrappedMarginDrawsLikeAnyOther();
};

void TestRenderPage::init()
{
    resetMinAspect();
    resetColumnMaxHeight();
    if (showPageNumbers()) {
        Sheet(sourcePixmap(1), 1, 1, 1).page->togglePageNumbers();
    }
}

void TestRenderPage::oneStrip_data()
{
    QTest::addColumn<unsigned int>("percent");
    QTest::addColumn<double>("scale");
    for (const unsigned int percent : {0U, 5U, 10U, 29U, 30U, 34U}) {
        for (const double scale : {1.0, 0.37, 2.5}) {
            QTest::addRow("%u percent at %g", percent, scale) << percent << scale;
        }
    }
}

void TestRenderPage::oneStrip()
{
    QFETCH(unsigned int, percent);
    QFETCH(double, scale);
    const Sheet sheet(sourcePixmap(1), 1, 1, 1);
    sheet.page->setMarginPercent(percent);
    double unused = 0;
    QCOMPARE(firstDifference(renderedPicture(sheet, scale), literalPicture(sheet, fixedAspect, unused, false, scale)),
             QString());
}

void TestRenderPage::oneStripFollowsTheSmallestAspect()
{
    const Sheet sheet(sourcePixmap(3), 3, 1, 1);
    sheet.strips.at(1)->moveCut(50); // 140 / 250
    double unused = 0;
    QCOMPARE(firstDifference(renderedPicture(sheet), literalPicture(sheet, 0.56, unused)), QString());
    sheet.strips.at(1)->moveCut(-50); // does not raise the aspect again
    QCOMPARE(firstDifference(renderedPicture(sheet), literalPicture(sheet, 0.56, unused)), QString());
}

void TestRenderPage::shortenedStripIsCentered()
{
    const Sheet sheet(sourcePixmap(2), 2, 1, 1);
    sheet.strips.at(0)->moveCut(-60);
    const double aspect = 140.0 / 260;
    double unused = 0;
    const QImage image = renderedPicture(sheet);
    QCOMPARE(firstDifference(image, literalPicture(sheet, aspect, unused)), QString());
    const auto inkAt = [&image](int y) { return image.pixel(10 + 84, 10 + y) != qRgb(255, 255, 255); };
    const int contentMiddle = 22 + 100;
    const int drawn = int(aspect * 200);
    QVERIFY(!inkAt(contentMiddle - drawn / 2 - 3) && inkAt(contentMiddle - drawn / 2 + 3));
    QVERIFY(inkAt(contentMiddle + drawn / 2 - 3) && !inkAt(contentMiddle + drawn / 2 + 3));
}

void TestRenderPage::fourStrips_data()
{
    QTest::addColumn<int>("strips");
    QTest::addColumn<unsigned int>("percent");
    QTest::addColumn<double>("scale");
    for (int strips = 1; strips <= 4; ++strips) {
        for (const unsigned int percent : {0U, 10U, 30U}) {
            for (const double scale : {1.0, 0.37}) {
                QTest::addRow("%d strips, %u percent at %g", strips, percent, scale) << strips << percent << scale;
            }
        }
    }
}

void TestRenderPage::fourStrips()
{
    QFETCH(int, strips);
    QFETCH(unsigned int, percent);
    QFETCH(double, scale);
    const Sheet sheet(sourcePixmap(strips), strips, 4, strips);
    sheet.page->setMarginPercent(percent);
    double tallest = 0;
    const QImage expected = literalPicture(sheet, fixedAspect, tallest, false, scale);
    QCOMPARE(firstDifference(renderedPicture(sheet, scale), expected), QString());
    QCOMPARE(columnMaxHeight(), strips == 1 ? 200.0 : 400.0);
    QCOMPARE(columnMaxHeight(), tallest);
}

void TestRenderPage::fourStripsWithMovedCuts_data()
{
    QTest::addColumn<QList<double>>("shifts"); // of the cuts below strips 0, 1 and 2
    QTest::addColumn<double>("tallest");
    QTest::newRow("first down") << QList<double>{40, 0, 0} << 400.0;
    QTest::newRow("second down") << QList<double>{0, 40, 0} << 440.0;
    QTest::newRow("second up") << QList<double>{0, -40, 0} << 440.0;
    QTest::newRow("all by fractions") << QList<double>{-10.4, 20.7, -5.3} << 420.0;
}

void TestRenderPage::fourStripsWithMovedCuts()
{
    QFETCH(QList<double>, shifts);
    const Sheet sheet(sourcePixmap(4), 4, 4, 4);
    for (int i = 0; i < 3; ++i) {
        sheet.strips.at(size_t(i))->moveCut(shifts.at(i));
    }
    double tallest = 0;
    const QImage expected = literalPicture(sheet, fixedAspect, tallest);
    QCOMPARE(firstDifference(renderedPicture(sheet), expected), QString());
    QTEST(columnMaxHeight(), "tallest");
}

void TestRenderPage::tallestColumnSetsTheScaleOfAllPages()
{
    const Sheet low(sourcePixmap(4), 4, 4, 4);
    const Sheet tall(sourcePixmap(4), 4, 4, 4);
    tall.strips.at(1)->moveCut(60);
    double tallest = 0;
    const QImage before = literalPicture(low, fixedAspect, tallest);
    QCOMPARE(firstDifference(renderedPicture(low), before), QString());
    QCOMPARE(tallest, 400.0);
    QCOMPARE(firstDifference(renderedPicture(tall), literalPicture(tall, fixedAspect, tallest)), QString());
    QCOMPARE(columnMaxHeight(), 460.0);
    const QImage after = literalPicture(low, fixedAspect, tallest);
    QCOMPARE(firstDifference(renderedPicture(low), after), QString());
    QVERIFY(!firstDifference(before, after).isEmpty());
}

void TestRenderPage::tallestColumnIsNeverLowered()
{
    const Sheet sheet(sourcePixmap(4), 4, 4, 4);
    sheet.strips.at(1)->moveCut(60);
    renderedPicture(sheet);
    sheet.strips.at(1)->moveCut(-60);
    double tallest = 460;
    QCOMPARE(firstDifference(renderedPicture(sheet), literalPicture(sheet, fixedAspect, tallest)), QString());
    QCOMPARE(columnMaxHeight(), 460.0);
    resetColumnMaxHeight();
    QCOMPARE(columnMaxHeight(), 0.0);
    renderedPicture(sheet);
    QCOMPARE(columnMaxHeight(), 400.0);
}

void TestRenderPage::loneStripIsHalfAsLarge()
{
    const Sheet sheet(sourcePixmap(1), 1, 4, 1);
    const QImage image = renderedPicture(sheet);
    QImage expected(190 + 30, 280 + 30, QImage::Format_RGB32);
    expected.fill(QColor(90, 120, 150));
    QPainter painter(&expected);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    painter.translate(10, 10);
    painter.fillRect(QRectF(0, 0, 168, 244), Qt::white);
    painter.drawPixmap(QRectF(14, 22, 70, 100), sheet.source, QRectF(0, 0, 140, 200));
    painter.end();
    QCOMPARE(firstDifference(image, expected), QString());
}

void TestRenderPage::stripBelowTheImageLeavesWhite()
{
    for (const unsigned int kind : {1U, 4U}) {
        PageItem strip(sourcePixmap(1), QRectF(0, height, width, height));
        PreviewItem page(&strip, kind);
        const QImage actual = picture(1.0, [&](QPainter *painter) { page.renderPage(painter); });
        const QImage expected =
            picture(1.0, [](QPainter *painter) { painter->fillRect(QRectF(0, 0, 168, 244), Qt::white); });
        QCOMPARE(firstDifference(actual, expected), QString());
    }
}

void TestRenderPage::keepsTheColorsOf_data()
{
    QTest::addColumn<QImage>("image");
    QImage translucent = blockPicture(width, 4 * height).convertToFormat(QImage::Format_ARGB32);
    for (int y = 0; y < translucent.height(); ++y) {
        for (int x = 0; x < translucent.width(); ++x) {
            const QRgb pixel = translucent.pixel(x, y);
            translucent.setPixel(x, y, qRgba(qRed(pixel), qGreen(pixel), qBlue(pixel), (x + y) % 256));
        }
    }
    QTest::newRow("RGB32") << blockPicture(width, 4 * height);
    QTest::newRow("ARGB32") << translucent;
    for (const auto &[name, format] :
         {std::pair("premultiplied", QImage::Format_ARGB32_Premultiplied), std::pair("RGBA64", QImage::Format_RGBA64),
          std::pair("RGBA8888", QImage::Format_RGBA8888)}) {
        QTest::newRow(name) << translucent.convertToFormat(format);
    }
    for (const auto &[name, format] :
         {std::pair("RGB888", QImage::Format_RGB888), std::pair("gray", QImage::Format_Grayscale8),
          std::pair("16-bit gray", QImage::Format_Grayscale16), std::pair("RGB16", QImage::Format_RGB16)}) {
        QTest::newRow(name) << blockPicture(width, 4 * height).convertToFormat(format);
    }
}

void TestRenderPage::keepsTheColorsOf()
{
    QFETCH(QImage, image);
    const QPixmap source = keptPixmap(image);
    QCOMPARE(source.toImage().format(), image.format());
    double tallest = 0;
    const Sheet one(source, 4, 1, 1);
    QCOMPARE(firstDifference(renderedPicture(one), literalPicture(one, fixedAspect, tallest)), QString());
    const Sheet four(source, 4, 4, 4);
    QCOMPARE(firstDifference(renderedPicture(four), literalPicture(four, fixedAspect, tallest)), QString());
}

void TestRenderPage::numbersThePage_data()
{
    QTest::addColumn<unsigned int>("kind");
    QTest::addColumn<int>("number");
    for (const int number : {0, 1, 11, 999}) {
        QTest::addRow("one strip, %d", number) << 1U << number;
        QTest::addRow("four strips, %d", number) << 4U << number;
    }
}

void TestRenderPage::numbersThePage()
{
    QFETCH(unsigned int, kind);
    QFETCH(int, number);
    const Sheet sheet(sourcePixmap(4), 4, kind, kind == 1 ? 1 : 4);
    sheet.page->setPageNumber(number);
    sheet.page->setMarginPercent(0); // the box covers part of the image
    const QImage without = renderedPicture(sheet, 2.0);
    sheet.page->togglePageNumbers();
    double tallest = 0;
    const QImage with = renderedPicture(sheet, 2.0);
    QCOMPARE(firstDifference(with, literalPicture(sheet, fixedAspect, tallest, true, 2.0)), QString());
    QVERIFY(!firstDifference(with, without).isEmpty());
    const QRect aboveTheBox(0, 0, with.width(), 10 + 2 * (244 - 11)); // the box is 168 / 15 high
    QCOMPARE(firstDifference(with.copy(aboveTheBox), without.copy(aboveTheBox)), QString());
}

void TestRenderPage::drawsNoNumberUnlessEnabled()
{
    const Sheet sheet(sourcePixmap(1), 1, 1, 1);
    double unused = 0;
    const QImage without = literalPicture(sheet, fixedAspect, unused);
    QCOMPARE(firstDifference(renderedPicture(sheet), without), QString());
    sheet.page->togglePageNumbers();
    QVERIFY(!firstDifference(renderedPicture(sheet), without).isEmpty());
    sheet.page->togglePageNumbers();
    QCOMPARE(firstDifference(renderedPicture(sheet), without), QString());
}

void TestRenderPage::otherKindsShowNoStrip()
{
    const Sheet sheet(sourcePixmap(1), 1, 2, 1);
    const QImage expected =
        picture(1.0, [](QPainter *painter) { painter->fillRect(QRectF(0, 0, 168, 244), Qt::white); });
    QCOMPARE(firstDifference(renderedPicture(sheet), expected), QString());
}

void TestRenderPage::frameIsOnlyForTheScreen()
{
    const Sheet sheet(sourcePixmap(1), 1, 1, 1);
    sheet.page->togglePageNumbers();
    const QImage plain = renderedPicture(sheet);
    sheet.page->setSelected(true);
    QCOMPARE(firstDifference(renderedPicture(sheet), plain), QString());

    const QImage screen = picture(1.0, [&](QPainter *painter) { sheet.page->paint(painter, nullptr, nullptr); });
    double unused = 0;
    const QImage expected = picture(1.0, [&](QPainter *painter) {
        drawLiterally(painter, sheet, fixedAspect, unused, true);
        painter->setBrush(Qt::NoBrush);
        painter->setPen(QPen(Qt::black, 2));
        painter->drawRect(QRectF(0, 0, 168, 244));
        painter->setPen(QPen(Qt::lightGray, 2));
        painter->drawRect(QRectF(-2, -2, 172, 248));
    });
    QCOMPARE(firstDifference(screen, expected), QString());
    QVERIFY(!firstDifference(screen, plain).isEmpty());
}

void TestRenderPage::paintsNoFrameUnlessSelected()
{
    const Sheet sheet(sourcePixmap(1), 1, 1, 1);
    const QImage screen = picture(1.0, [&](QPainter *painter) { sheet.page->paint(painter, nullptr, nullptr); });
    QCOMPARE(firstDifference(screen, renderedPicture(sheet)), QString());
}

void TestRenderPage::wrappedMarginDrawsLikeAnyOther()
{
    for (const unsigned int kind : {1U, 4U}) {
        resetColumnMaxHeight();
        const Sheet sheet(sourcePixmap(4), 4, kind, kind == 1 ? 1 : 4);
        sheet.page->setMarginPercent(3);
        QCOMPARE(sheet.page->decreaseMargin(), 4294967294U);
        double tallest = 0;
        QCOMPARE(firstDifference(renderedPicture(sheet), literalPicture(sheet, fixedAspect, tallest)), QString());
    }
}

QUILLMARCH_TEST_MAIN(TestRenderPage)
#include "tst_renderpage.moc"
