#include "app/mainwindow.h"
#include "app/settings.h"
#include "batch/batchoptions.h"
#include "batchprogram.h"
#include "output/previewitem.h"
#include "page/pageitem.h"
#include "support/configvalues.h"
#include "support/dialoganswer.h"
#include "support/imagecomparison.h"
#include "support/pdffacts.h"
#include "support/pictures.h"
#include "support/testmain.h"
#include "support/windowprobe.h"

#include <QDir>
#include <QFileDialog>
#include <QImageReader>
#include <QPainter>

using namespace Qt::StringLiterals;

namespace {

constexpr int dotsPerInch = 72;

/// Exports \a image from the window to the PDF file \a path: opens it with the
/// margin of \a options stored, then selects the other options.
void exportFromWindow(const QString &image, const PageOptions &options, const QString &path)
{
    writeConfigValue(configFilePath(), u"marginsc"_s, QString::number(options.marginPercent));
    MainWindow window;
    window.setAutoPage(options.autoCut);
    window.setCutRule(options.cutRule);
    window.loadImageFile(image);
    if (options.trim) {
        trigger(window, "autoTrimAction");
    }
    if (options.columns == 2) {
        trigger(window, "twoColsAction");
    }
    if (options.pageNumbers != showPageNumbers()) {
        trigger(window, "pageNumAction");
    }
    QFile::remove(path); // otherwise the dialog asks whether to replace it
    const NextDialog next = onNextDialog<QFileDialog>([path](QFileDialog *dialog) { choosePath(dialog, path); });
    trigger(window, "exportPdfAction");
}

QStringList argumentsFor(const PageOptions &options)
{
    QStringList arguments{u"--columns"_s, QString::number(options.columns), u"--margin"_s,
                          QString::number(options.marginPercent)};
    if (options.pageNumbers) {
        arguments.append(u"--page-numbers"_s);
    }
    if (options.trim) {
        arguments.append(u"--trim"_s);
    }
    if (!options.autoCut) {
        arguments.append(u"--no-auto-cut"_s);
    } else if (options.cutRule == CutRule::Bright) {
        arguments.append({u"--cuts"_s, u"bright"_s});
    }
    if (options.lossless) {
        arguments.append(u"--lossless"_s);
    }
    return arguments;
}

BatchEnd convert(const QString &image, const PageOptions &options, const QString &path)
{
    return runBatchProgram(argumentsFor(options) + QStringList{image, u"-o"_s, path});
}

/// Dark lines of text on light paper with a wide blank border and a block of
/// color: every option changes its pages.
QImage article()
{
    QImage image(360, 3200, QImage::Format_RGB32);
    image.fill(QColor(248, 248, 244));
    QPainter painter(&image);
    painter.drawImage(30, 50, textPicture(300, 3100, 46));
    painter.fillRect(60, 1190, 200, 150, QColor(40, 90, 160));
    return image;
}

QImage paletteOf(QImage image, bool isTransparent)
{
    image = image.convertToFormat(QImage::Format_Indexed8);
    if (isTransparent) {
        image.setColor(0, qRgba(0, 0, 0, 0));
    }
    return image;
}

} // namespace

class TestBatchPages : public QObject
{
    Q_OBJECT

private slots:
    void cleanup();

    void writesWhatTheWindowWrites_data();
    void writesWhatTheWindowWrites();
    void everyOptionChangesThePages_data();
    void everyOptionChangesThePages();
    void reportsNothingToTrim();
    void doesNotTrimTooMuch();
    void losslessKeepsEveryPixel_data();
    void losslessKeepsEveryPixel();
    void losslessLooksTheSame();
    void jpegIsTheDefault();
};

void TestBatchPages::cleanup()
{
    clearConfigValues();
    for (const QString &name : fileNamesIn(QDir::currentPath())) {
        QFile::remove(name);
    }
    if (showPageNumbers()) {
        PageItem strip(QPixmap(11, 11), QRectF(0, 0, 11, 11));
        PreviewItem(&strip, 1).togglePageNumbers();
    }
}

void TestBatchPages::writesWhatTheWindowWrites_data()
{
    QTest::addColumn<QImage>("image");
    QTest::addColumn<QString>("name");
    QTest::addColumn<PageOptions>("options");
    const auto row = [](const char *title, const PageOptions &options) {
        QTest::newRow(title) << article() << u"a.png"_s << options;
    };
    row("default", {});
    row("two columns", {.columns = 2});
    row("no margin", {.marginPercent = 0});
    row("wide margin", {.marginPercent = 30});
    row("odd margin", {.columns = 2, .marginPercent = 7});
    row("numbers", {.pageNumbers = true});
    row("trim", {.trim = true});
    row("no auto cut", {.autoCut = false});
    row("bright cuts", {.cutRule = CutRule::Bright});
    row("bright cuts, two columns, trim", {.columns = 2, .trim = true, .cutRule = CutRule::Bright});
    row("all in one column", {1, 20, true, true, false, false});
    row("all in two columns", {2, 20, true, true, true, false});
    row("two columns, no auto cut", {.columns = 2, .autoCut = false});
    row("two columns, no margin, numbers", {.columns = 2, .marginPercent = 0, .pageNumbers = true});
    QTest::newRow("one strip") << blockPicture(70, 60) << u"a.png"_s << PageOptions();
    QTest::newRow("one strip, two columns") << blockPicture(70, 60) << u"a.png"_s << PageOptions{.columns = 2};
    QTest::newRow("smallest") << blockPicture(11, 11) << u"a.png"_s << PageOptions();
    QTest::newRow("blank last page") << blockPicture(70, 300) << u"a.png"_s << PageOptions();
    QTest::newRow("alpha") << translucentPicture(210, 700) << u"a.png"_s << PageOptions();
    QTest::newRow("gray") << article().convertToFormat(QImage::Format_Grayscale8) << u"a.png"_s << PageOptions();
    QTest::newRow("palette") << paletteOf(article(), false) << u"a.png"_s << PageOptions{.columns = 2};
    QTest::newRow("palette with transparency") << paletteOf(article(), true) << u"a.png"_s << PageOptions();
    QTest::newRow("bits") << article().convertToFormat(QImage::Format_Mono) << u"a.png"_s << PageOptions{.trim = true};
    QTest::newRow("jpeg") << blockPicture(210, 700) << u"a.jpg"_s << PageOptions();
}

void TestBatchPages::writesWhatTheWindowWrites()
{
    QFETCH(QImage, image);
    QFETCH(QString, name);
    QFETCH(PageOptions, options);
    const QString path = savedPicture(image, name);
    exportFromWindow(path, options, QDir::current().filePath(u"window.pdf"_s));
    const BatchEnd end = convert(path, options, u"batch.pdf"_s);
    QCOMPARE(end.errors, QByteArray());
    QCOMPARE(end.code, 0);

    const PdfFacts expected = pdfFacts(u"window.pdf"_s);
    const PdfFacts facts = pdfFacts(u"batch.pdf"_s);
    QVERIFY(expected.pages > 0);
    QCOMPARE(facts.pages, expected.pages);
    QCOMPARE(facts.pageSizes, expected.pageSizes);
    const QList<QImage> expectedSheets = pdfPictures(u"window.pdf"_s, dotsPerInch);
    const QList<QImage> sheets = pdfPictures(u"batch.pdf"_s, dotsPerInch);
    QCOMPARE(sheets.size(), facts.pages);
    QCOMPARE(expectedSheets.size(), facts.pages);
    for (int i = 0; i < facts.pages; ++i) {
        QCOMPARE(firstDifference(sheets.at(i), expectedSheets.at(i)), QString());
    }
}

void TestBatchPages::everyOptionChangesThePages_data()
{
    QTest::addColumn<PageOptions>("options");
    QTest::newRow("columns") << PageOptions{.columns = 2};
    QTest::newRow("margin") << PageOptions{.marginPercent = 0};
    QTest::newRow("numbers") << PageOptions{.pageNumbers = true};
    QTest::newRow("trim") << PageOptions{.trim = true};
    QTest::newRow("no auto cut") << PageOptions{.autoCut = false};
    QTest::newRow("bright cuts") << PageOptions{.cutRule = CutRule::Bright};
}

void TestBatchPages::everyOptionChangesThePages()
{
    QFETCH(PageOptions, options);
    const QString path = savedPicture(article(), u"a.png"_s);
    QCOMPARE(convert(path, PageOptions(), u"plain.pdf"_s).code, 0);
    QCOMPARE(convert(path, options, u"other.pdf"_s).code, 0);
    const QList<QImage> plain = pdfPictures(u"plain.pdf"_s, dotsPerInch);
    const QList<QImage> other = pdfPictures(u"other.pdf"_s, dotsPerInch);
    QVERIFY(!plain.isEmpty() && !other.isEmpty());
    QVERIFY(!firstDifference(other.first(), plain.first()).isEmpty());
}

void TestBatchPages::reportsNothingToTrim()
{
    QImage blank(70, 90, QImage::Format_RGB32);
    blank.fill(Qt::white);
    const BatchEnd end = convert(savedPicture(blank, u"a.png"_s), {.trim = true}, u"a.pdf"_s);
    QCOMPARE(end.code, 0);
    QVERIFY(end.output.contains("(nothing to trim)"));
    QCOMPARE(pdfFacts(u"a.pdf"_s).pages, 1);
}

void TestBatchPages::doesNotTrimTooMuch()
{
    QImage speck(70, 90, QImage::Format_RGB32);
    speck.fill(Qt::white);
    QPainter(&speck).fillRect(30, 40, 9, 9, Qt::black);
    const QString path = savedPicture(speck, u"a.png"_s);
    const BatchEnd end = convert(path, {.trim = true}, u"a.pdf"_s);
    QCOMPARE(end.code, 0);
    QVERIFY(end.output.contains("(not trimmed: too little would be left)"));
    exportFromWindow(path, {.trim = true}, QDir::current().filePath(u"window.pdf"_s));
    QCOMPARE(firstDifference(pdfPictures(u"a.pdf"_s, dotsPerInch).first(),
                             pdfPictures(u"window.pdf"_s, dotsPerInch).first()),
             QString());
}

void TestBatchPages::losslessKeepsEveryPixel_data()
{
    QTest::addColumn<QImage>("image");
    QTest::newRow("noise") << noisePicture(QSize(140, 390));
    QTest::newRow("text") << article();
    QTest::newRow("gray") << noisePicture(QSize(140, 390)).convertToFormat(QImage::Format_Grayscale8);
    QTest::newRow("palette") << paletteOf(article(), false);
    QTest::newRow("bits") << noisePicture(QSize(140, 390)).convertToFormat(QImage::Format_Mono);
    QTest::newRow("16 bits a channel") << noisePicture(QSize(140, 390)).convertToFormat(QImage::Format_RGBX64);
}

void TestBatchPages::losslessKeepsEveryPixel()
{
    QFETCH(QImage, image);
    const QString path = savedPicture(image, u"a.png"_s);
    QCOMPARE(convert(path, {.autoCut = false, .lossless = true}, u"a.pdf"_s).code, 0);
    const QImage source = QImage(path).convertToFormat(QImage::Format_RGB32);
    const QList<QImage> bands = pdfImages(u"a.pdf"_s);
    const double pitch = image.width() / 0.7;
    QCOMPARE(bands.size(), int(image.height() / pitch) + 1);
    for (int i = 0; i < bands.size(); ++i) {
        const QRect band = QRect(0, int(i * pitch), source.width(), int(pitch)) & source.rect();
        const QImage stored = bands.at(i).copy(QRect(QPoint(), band.size())); // without the part below the image
        QCOMPARE(firstDifference(stored, source.copy(band)), QString());
    }
}

void TestBatchPages::losslessLooksTheSame()
{
    const QString path = savedPicture(article(), u"a.png"_s);
    // Where the picture is in the blocks of JPEG matters: colors run at its edges.
    QCOMPARE(convert(path, {.columns = 2, .cutRule = CutRule::Bright}, u"jpeg.pdf"_s).code, 0);
    QCOMPARE(convert(path, {.columns = 2, .lossless = true, .cutRule = CutRule::Bright}, u"lossless.pdf"_s).code, 0);
    const QList<QImage> jpeg = pdfPictures(u"jpeg.pdf"_s, dotsPerInch);
    const QList<QImage> lossless = pdfPictures(u"lossless.pdf"_s, dotsPerInch);
    QCOMPARE(lossless.size(), jpeg.size());
    for (int i = 0; i < jpeg.size(); ++i) {
        QCOMPARE(firstDifference(lossless.at(i), jpeg.at(i), 40), QString());
    }
}

void TestBatchPages::jpegIsTheDefault()
{
    const QString path = savedPicture(noisePicture(QSize(140, 390)), u"a.png"_s);
    QCOMPARE(convert(path, {.autoCut = false}, u"a.pdf"_s).code, 0);
    const QList<QImage> bands = pdfImages(u"a.pdf"_s);
    QCOMPARE(bands.size(), 2);
    QVERIFY(!firstDifference(bands.first(), noisePicture(QSize(140, 390)).copy(0, 0, 140, 200)).isEmpty());
}

QUILLMARCH_TEST_MAIN(TestBatchPages)
#include "tst_batchpages.moc"
