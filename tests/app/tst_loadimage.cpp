#include "app/mainwindow.h"
#include "imagebytes.h"
#include "output/previewitem.h"
#include "page/pageitem.h"
#include "support/configvalues.h"
#include "support/imagecomparison.h"
#include "support/pictures.h"
#include "support/testmain.h"
#include "support/windowprobe.h"
#include "ui/mainview.h"

#include <QAction>
#include <QDir>
#include <QFile>
#include <QGraphicsScene>
#include <QImageReader>
#include <QImageWriter>
#include <QPainter>

#ifdef Q_OS_UNIX
#include <sys/stat.h>
#include <unistd.h>
#endif

#include <algorithm>
#include <iterator>
#include <limits>

using namespace Qt::StringLiterals;

namespace {

constexpr int side = 32; // of one square of the test picture, in pixels
constexpr QSize pictureSize(2 * side, 2 * side);
const QString failure = u"不支持的图片格式或文件已损坏"_s;

const QList<QRgb> squareColors{qRgb(200, 30, 40), qRgb(240, 240, 240), qRgb(30, 40, 180), qRgb(60, 160, 60)};
const QList<QRgb> blackAndWhite{qRgb(0, 0, 0), qRgb(255, 255, 255), qRgb(255, 255, 255), qRgb(0, 0, 0)};

/// Four squares: upper left and right, lower left and right.
QImage squares(const QList<QRgb> &colors, QImage::Format format = QImage::Format_RGB32)
{
    QImage image(pictureSize, format);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            image.setPixel(x, y, colors.at(y / side * 2 + x / side));
        }
    }
    return image;
}

QImage paletteSquares(const QList<QRgb> &colors)
{
    QImage image(pictureSize, QImage::Format_Indexed8);
    image.setColorTable(colors);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            image.setPixel(x, y, uint(y / side * 2 + x / side));
        }
    }
    return image;
}

QStringList enabledActions(const MainWindow &window)
{
    QStringList names;
    const QList<QAction *> actions = window.findChildren<QAction *>();
    for (const QAction *action : actions) {
        if (action->isEnabled() && !action->objectName().isEmpty()) {
            names.append(action->objectName());
        }
    }
    return names;
}

} // namespace

class TestLoadImage : public QObject
{
    Q_OBJECT

private slots:
    void cleanup();

    void allocationLimitFollowsTheDeclaredSize_data();
    void allocationLimitFollowsTheDeclaredSize();
    void allocationLimitIsHighForUnknownSize_data();
    void allocationLimitIsHighForUnknownSize();
    void pdfNameKeepsTheAllocationLimit();

    void refusesPdfByItsName_data();
    void refusesPdfByItsName();
    void checksTheSuffixOnlyForPdf();
    void needsElevenPixelsOnASide_data();
    void needsElevenPixelsOnASide();
    void turnsUpright_data();
    void turnsUpright();
    void readsFormat_data();
    void readsFormat();
    void readsTheFormatFromTheContent();
    void findsAFileWithoutItsSuffix();
    void readsScaledNameAtFullSize();
    void paletteKeepsItsColors_data();
    void paletteKeepsItsColors();
    void paletteCutsAtItsBrightRow();
    void refusesFile_data();
    void refusesFile();
    void pipeDoesNotHang();
    void failedOpenKeepsThePages_data();
    void failedOpenKeepsThePages();
    void trimWithoutASourceIsSilent();
    void trimOfARefusedImageKeepsThePages();
    void goodOpenEndsTheDetachedState();
};

void TestLoadImage::cleanup()
{
    clearConfigValues();
}

void TestLoadImage::allocationLimitFollowsTheDeclaredSize_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("limit");
    const auto add = [](int width, int height, int limit) {
        QTest::addRow("%dx%d", width, height) << brokenPng(quint32(width), quint32(height)) << limit;
    };
    add(1, 1, 256);
    add(1080, 50000, 256);
    add(1024, 57344, 256); // exactly 224 MiB
    add(1024, 57345, 257); // a fraction of a MiB more
    add(2000, 60000, 490);
    add(4000, 100000, 1558);
    add(60000, 60000, 13765);
    constexpr int greatest = std::numeric_limits<int>::max();
    const QString picture = uR"(<svg xmlns="http://www.w3.org/2000/svg" width="%1" height="%1"/>)"_s;
    QTest::newRow("no width") << picture.arg(0).toLatin1() << 256;
    QTest::newRow("greatest size") << picture.arg(greatest).toLatin1() << greatest;
}

void TestLoadImage::allocationLimitFollowsTheDeclaredSize()
{
    QFETCH(QByteArray, bytes);
    QFETCH(int, limit);
    QImageReader::setAllocationLimit(77);
    MainWindow window;
    window.loadImageFile(savedBytes(bytes, u"header"_s));
    QCOMPARE(QImageReader::allocationLimit(), limit);
    QCOMPARE(toastText(window), failure);
    QVERIFY(stripsOf(window).isEmpty());
}

void TestLoadImage::allocationLimitIsHighForUnknownSize_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("no image") << savedBytes("no image at all", u"text.png"_s);
    QTest::newRow("empty file") << savedBytes({}, u"empty.png"_s);
    QTest::newRow("no file") << QDir::current().absoluteFilePath(u"absent.png"_s);
    QTest::newRow("directory") << QDir::currentPath();
}

void TestLoadImage::allocationLimitIsHighForUnknownSize()
{
    QFETCH(QString, path);
    QImageReader::setAllocationLimit(77);
    MainWindow window;
    window.loadImageFile(path);
    QCOMPARE(QImageReader::allocationLimit(), 1024);
}

void TestLoadImage::pdfNameKeepsTheAllocationLimit()
{
    QImageReader::setAllocationLimit(77);
    MainWindow window;
    window.loadImageFile(savedPicture(squares(squareColors), u"picture.pdf"_s, "PNG"));
    QCOMPARE(QImageReader::allocationLimit(), 77);
}

void TestLoadImage::refusesPdfByItsName_data()
{
    QTest::addColumn<QString>("name");
    for (const char *name : {"a.pdf", "A.PDF", "a.Pdf", "a.png.pDF", ".pdf"}) {
        QTest::newRow(name) << QString::fromLatin1(name);
    }
}

void TestLoadImage::refusesPdfByItsName()
{
    QFETCH(QString, name);
    const QString path = savedPicture(squares(squareColors), name, "PNG");
    MainWindow window;
    window.loadImageFile(path);
    QCOMPARE(toastText(window), failure);
    QVERIFY(stripsOf(window).isEmpty());
}

void TestLoadImage::checksTheSuffixOnlyForPdf()
{
    for (const QString &name : {u"a.pdf.png"_s, u"a.pdfx.png"_s, u"pdf.png"_s}) {
        MainWindow window;
        window.loadImageFile(savedPicture(squares(squareColors), name, "PNG"));
        QCOMPARE(toastText(window), QString());
        QCOMPARE(stripsOf(window).size(), 1);
    }
}

void TestLoadImage::needsElevenPixelsOnASide_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<int>("strips");
    const auto add = [](int width, int height, int strips) {
        QTest::addRow("%dx%d", width, height) << QSize(width, height) << strips;
    };
    add(1, 1, 0);
    add(10, 10, 0);
    add(10, 5000, 0);
    add(5000, 10, 0);
    add(11, 10, 0);
    add(10, 11, 0);
    add(11, 11, 1);
    add(11, 14, 1);
    add(11, 15, 2); // the strips are 15 high
    add(5000, 11, 1);
    add(11, 5000, 334);
}

void TestLoadImage::needsElevenPixelsOnASide()
{
    QFETCH(QSize, size);
    QFETCH(int, strips);
    MainWindow window;
    window.loadImageFile(savedPicture(blockPicture(size.width(), size.height()), u"small.png"_s));
    QCOMPARE(stripsOf(window).size(), strips);
    QCOMPARE(toastText(window), strips == 0 ? failure : QString());
}

void TestLoadImage::turnsUpright_data()
{
    QTest::addColumn<int>("orientation");
    QTest::addColumn<QList<int>>(
        "corners"); // index of the stored square at the upper left and right, lower left and right
    QTest::newRow("1 as stored") << 1 << QList<int>{0, 1, 2, 3};
    QTest::newRow("2 mirrored") << 2 << QList<int>{1, 0, 3, 2};
    QTest::newRow("3 upside down") << 3 << QList<int>{3, 2, 1, 0};
    QTest::newRow("4 flipped") << 4 << QList<int>{2, 3, 0, 1};
    QTest::newRow("5 transposed") << 5 << QList<int>{0, 2, 1, 3};
    QTest::newRow("6 turn right") << 6 << QList<int>{2, 0, 3, 1};
    QTest::newRow("7 transversed") << 7 << QList<int>{3, 1, 2, 0};
    QTest::newRow("8 turn left") << 8 << QList<int>{1, 3, 0, 2};
}

void TestLoadImage::turnsUpright()
{
    QFETCH(int, orientation);
    QFETCH(QList<int>, corners);
    const QSize stored(2 * side, 4 * side); // not square, so that the size shows the rotation, too
    const QImage image = squares(squareColors).scaled(stored);
    const QSize upright = orientation >= 5 ? stored.transposed() : stored;

    MainWindow window;
    window.setAutoPage(false);
    window.loadImageFile(savedBytes(withOrientation(encodedPicture(image, "JPG"), orientation), u"turned.jpg"_s));
    QCOMPARE(mainViewOf(window)->scene()->sceneRect().width(), double(upright.width()));
    QImage expected(2, 2, QImage::Format_RGB32);
    for (int i = 0; i < 4; ++i) {
        expected.setPixel(i % 2, i / 2, squareColors.at(corners.at(i)));
    }
    const QImage shown = shownPicture(window, upright);
    QImage actual(2, 2, QImage::Format_RGB32);
    for (int i = 0; i < 4; ++i) {
        const int x = (i % 2 * 2 + 1) * upright.width() / 4;
        const int y = (i / 2 * 2 + 1) * upright.height() / 4;
        actual.setPixel(i % 2, i / 2, shown.pixel(x, y));
    }
    QCOMPARE(firstDifference(actual, expected, 6), QString());
}

void TestLoadImage::readsFormat_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QList<QRgb>>("colors");
    const QList<QByteArray> readable = QImageReader::supportedImageFormats();
    for (const char *format :
         {"png", "bmp", "ppm", "xpm", "jpg", "jpeg", "webp", "tif", "tiff", "ico", "cur", "icns"}) {
        if (readable.contains(format) && QImageWriter::supportedImageFormats().contains(format)) {
            QTest::newRow(format) << encodedPicture(squares(squareColors), format) << squareColors;
        }
    }
    for (const char *format : {"pbm", "xbm", "wbmp", "pgm"}) {
        if (readable.contains(format) && QImageWriter::supportedImageFormats().contains(format)) {
            QTest::newRow(format) << encodedPicture(squares(blackAndWhite).convertToFormat(QImage::Format_Mono), format)
                                  << blackAndWhite;
        }
    }
    const auto add = [&readable](const char *format, const QByteArray &bytes) {
        if (readable.contains(format)) {
            QTest::newRow(format) << bytes << squareColors;
        }
    };
    add("gif", gifOf(paletteSquares(squareColors)));
    add("tga", tgaOf(squares(squareColors)));
    add("mng", mngOf(squares(squareColors)));
    add("svg", svgOf(side, squareColors));
    add("svgz", gzipOf(svgOf(side, squareColors)));
    const auto grayLevel = [](QRgb color) { return qRgb(qGray(color), qGray(color), qGray(color)); };
    QList<QRgb> grays;
    std::transform(squareColors.begin(), squareColors.end(), std::back_inserter(grays), grayLevel);
    for (const auto &[name, format] : {std::pair("PNG in 8-bit gray", QImage::Format_Grayscale8),
                                       std::pair("PNG in 16-bit gray", QImage::Format_Grayscale16)}) {
        QTest::newRow(name) << encodedPicture(squares(grays).convertToFormat(format), "PNG") << grays;
    }
    QTest::newRow("PNG in 64 bits") << encodedPicture(squares(squareColors).convertToFormat(QImage::Format_RGBA64),
                                                      "PNG")
                                    << squareColors;
    QTest::newRow("PNG with alpha") << encodedPicture(squares(squareColors).convertToFormat(QImage::Format_ARGB32),
                                                      "PNG")
                                    << squareColors;
}

void TestLoadImage::readsFormat()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QList<QRgb>, colors);
    MainWindow window;
    window.loadImageFile(
        savedBytes(bytes, u"picture."_s + QString::fromLatin1(QTest::currentDataTag()).section(u' ', 0, 0)));
    QCOMPARE(toastText(window), QString());
    QCOMPARE(stripsOf(window).size(), 1);
    const QImage shown = shownPicture(window, pictureSize);
    for (int i = 0; i < 4; ++i) {
        const QRect middle(i % 2 * side + side / 4, i / 2 * side + side / 4, side / 2, side / 2);
        QImage expected(middle.size(), QImage::Format_RGB32);
        expected.fill(colors.at(i));
        QCOMPARE(firstDifference(shown.copy(middle), expected, 8), QString());
    }
}

void TestLoadImage::readsTheFormatFromTheContent()
{
    MainWindow window;
    window.loadImageFile(savedPicture(squares(squareColors), u"really.png.jpg"_s, "BMP"));
    QCOMPARE(firstDifference(shownPicture(window, pictureSize), squares(squareColors)), QString());
    window.loadImageFile(savedPicture(squares(blackAndWhite), u"no suffix"_s, "PNG"));
    QCOMPARE(firstDifference(shownPicture(window, pictureSize), squares(blackAndWhite)), QString());
}

void TestLoadImage::findsAFileWithoutItsSuffix()
{
    const QString path = savedPicture(squares(squareColors), u"found.png"_s);
    MainWindow window;
    window.loadImageFile(path.chopped(4));
    QCOMPARE(firstDifference(shownPicture(window, pictureSize), squares(squareColors)), QString());
}

void TestLoadImage::readsScaledNameAtFullSize()
{
    const QImage image = blockPicture(200, 700);
    MainWindow window;
    window.setAutoPage(false);
    window.loadImageFile(savedPicture(image, u"screen@2x.png"_s));
    QCOMPARE(stripsOf(window).size(), 3);
    QCOMPARE(mainViewOf(window)->scene()->sceneRect().width(), 200.0);
    QCOMPARE(firstDifference(shownPicture(window, QSize(200, 285)), image.copy(0, 0, 200, 285)), QString());
}

void TestLoadImage::paletteKeepsItsColors_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QImage::Format>("format"); // after reading; the GIF reader expands the palette
    QTest::addColumn<bool>("transparent"); // the lower left square
    QList<QRgb> withHole = squareColors;
    withHole[2] = qRgba(0, 0, 0, 0);
    for (const bool transparent : {false, true}) {
        const QImage image = paletteSquares(transparent ? withHole : squareColors);
        const char *suffix = transparent ? " with transparency" : "";
        QTest::addRow("png%s", suffix) << encodedPicture(image, "PNG") << QImage::Format_Indexed8 << transparent;
        QTest::addRow("gif%s", suffix) << gifOf(image) << (transparent ? QImage::Format_ARGB32 : QImage::Format_RGB32)
                                       << transparent;
    }
    QTest::newRow("bmp") << encodedPicture(paletteSquares(squareColors), "BMP") << QImage::Format_Indexed8 << false;
    QTest::newRow("tiff") << encodedPicture(paletteSquares(squareColors), "TIFF") << QImage::Format_Indexed8 << false;
}

void TestLoadImage::paletteKeepsItsColors()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QImage::Format, format);
    QFETCH(bool, transparent);
    QCOMPARE(QImage::fromData(bytes).format(), format);
    MainWindow window;
    window.resize(900, 700);
    window.show();
    window.loadImageFile(savedBytes(bytes, u"palette.image"_s));
    QImage expected = squares(squareColors);
    if (transparent) {
        QPainter(&expected).fillRect(0, side, side, side, Qt::magenta);
    }
    QCOMPARE(firstDifference(shownPicture(window, pictureSize), expected), QString());

    const MainView *view = mainViewOf(window);
    const QImage screen = view->viewport()->grab().toImage();
    for (int i = 0; i < 4; ++i) {
        const QPoint at = view->mapFromScene(QPointF(i % 2 * side + side / 2, i / 2 * side + side / 2));
        const QRgb ground = qRgb(150, 150, 150);
        QCOMPARE(screen.pixel(at), transparent && i == 2 ? ground : squareColors.at(i));
    }
}

void TestLoadImage::paletteCutsAtItsBrightRow()
{
    QImage image(140, 600, QImage::Format_Indexed8); // strips of 200, the first window from 170 to 230
    image.setColorTable({qRgb(255, 255, 255), qRgb(10, 10, 10)});
    image.fill(1);
    constexpr int brightRow = 190;
    for (int x = 0; x < image.width(); ++x) {
        image.setPixel(x, brightRow, 0);
    }
    MainWindow window;
    window.loadImageFile(savedPicture(image, u"cuts.png"_s));
    QCOMPARE(stripsOf(window).first()->sourceRect(), QRectF(0, 0, 140, brightRow));
}

void TestLoadImage::refusesFile_data()
{
    QTest::addColumn<QString>("path");
    const QByteArray png = encodedPicture(blockPicture(200, 900), "PNG");
    QTest::newRow("damaged") << savedBytes(QByteArray(png).replace("IDAT", "XDAT"), u"damaged.png"_s);
    QTest::newRow("truncated") << savedBytes(png.left(png.size() / 2), u"truncated.png"_s);
    QTest::newRow("text") << savedBytes("no image", u"text.jpg"_s);
    QTest::newRow("empty") << savedBytes({}, u"empty.jpg"_s);
    QTest::newRow("absurd PNG header") << savedBytes(brokenPng(60000, 60000), u"absurd.png"_s);
    QTest::newRow("zero size") << savedBytes(headerOfPpm(0, 0), u"zero.ppm"_s);
    QTest::newRow("directory") << QDir::currentPath();
    QTest::newRow("missing file") << QDir::current().absoluteFilePath(u"nowhere/absent.png"_s);
    QTest::newRow("no name") << QString();
#ifdef Q_OS_UNIX
    const QString locked = savedPicture(blockPicture(100, 100), u"locked.png"_s);
    if (geteuid() != 0) { // root can read everything
        QFile::setPermissions(locked, {});
        QTest::newRow("unreadable") << locked;
    }
#endif
}

void TestLoadImage::refusesFile()
{
    QFETCH(QString, path);
    MainWindow window;
    window.loadImageFile(path);
    QCOMPARE(toastText(window), failure);
    QVERIFY(stripsOf(window).isEmpty());
    QVERIFY(!enabledActions(window).contains(u"exportPdfAction"_s));
}

void TestLoadImage::pipeDoesNotHang()
{
#ifdef Q_OS_UNIX
    const QString path = QDir::current().absoluteFilePath(u"pipe.png"_s);
    QCOMPARE(mkfifo(QFile::encodeName(path).constData(), 0600), 0);
    MainWindow window;
    window.loadImageFile(path);
    QCOMPARE(toastText(window), failure);
#endif
}

void TestLoadImage::failedOpenKeepsThePages_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("PDF") << savedBytes("%PDF-1.4", u"some.pdf"_s);
    QTest::newRow("text") << savedBytes("no image", u"text.png"_s);
    QTest::newRow("10 pixels wide") << savedPicture(blockPicture(10, 500), u"narrow.png"_s);
}

void TestLoadImage::failedOpenKeepsThePages()
{
    QFETCH(QString, path);
    const QImage image = blockPicture(140, 900);
    MainWindow window;
    window.setAutoPage(false);
    window.loadImageFile(savedPicture(image, u"good.png"_s));
    const QList<PageItem *> strips = stripsOf(window);
    const QStringList enabled = enabledActions(window);
    const QRectF sceneRect = mainViewOf(window)->scene()->sceneRect();

    window.loadImageFile(path);
    QCOMPARE(toastText(window), failure);
    QCOMPARE(stripsOf(window), strips);
    QCOMPARE(enabledActions(window), enabled);
    QCOMPARE(mainViewOf(window)->scene()->sceneRect(), sceneRect);
    QCOMPARE(firstDifference(shownPicture(window, image.size()), image), QString());

    strips.first()->moveCut(10); // the strips still show the old image
    QCOMPARE(firstDifference(shownPicture(window, image.size()), image), QString());
    const double before = pagesOf(window).first()->innerRect().width();
    trigger(window, "decreaseMarginAction");
    QVERIFY(pagesOf(window).first()->innerRect().width() > before);
}

void TestLoadImage::trimWithoutASourceIsSilent()
{
    MainWindow window;
    window.loadImageFile(savedPicture(blockPicture(140, 900), u"good.png"_s));
    window.loadImageFile(savedBytes("no image", u"text.png"_s));
    QCOMPARE(toastText(window), failure);
    hideToast(window);
    const QList<PageItem *> strips = stripsOf(window);
    trigger(window, "autoTrimAction");
    QCOMPARE(toastText(window), QString());
    QCOMPARE(stripsOf(window), strips);
}

void TestLoadImage::trimOfARefusedImageKeepsThePages()
{
    const QImage good = blockPicture(140, 900);
    MainWindow window;
    window.setAutoPage(false);
    window.loadImageFile(savedPicture(good, u"good.png"_s));
    window.loadImageFile(savedPicture(blockPicture(10, 500), u"narrow.png"_s));
    hideToast(window);
    const QList<PageItem *> strips = stripsOf(window);
    trigger(window, "autoTrimAction");
    QCOMPARE(toastText(window), QString());
    QCOMPARE(stripsOf(window), strips);
    QCOMPARE(firstDifference(shownPicture(window, good.size()), good), QString());

    QImage blank(10, 500, QImage::Format_RGB32);
    blank.fill(Qt::white);
    window.loadImageFile(savedPicture(blank, u"blank.png"_s));
    hideToast(window);
    trigger(window, "autoTrimAction");
    QCOMPARE(toastText(window), u"未检测到可裁剪的空白边"_s);
    QCOMPARE(stripsOf(window), strips);
}

void TestLoadImage::goodOpenEndsTheDetachedState()
{
    const QImage second = blockPicture(70, 250, 2);
    MainWindow window;
    window.setAutoPage(false);
    window.loadImageFile(savedPicture(blockPicture(140, 900), u"good.png"_s));
    window.loadImageFile(savedBytes("no image", u"text.png"_s));
    hideToast(window);
    window.loadImageFile(savedPicture(second, u"second.png"_s));
    QCOMPARE(toastText(window), QString());
    QCOMPARE(stripsOf(window).size(), 3);
    QCOMPARE(firstDifference(shownPicture(window, second.size()), second), QString());
}

QUILLMARCH_TEST_MAIN(TestLoadImage)
#include "tst_loadimage.moc"
