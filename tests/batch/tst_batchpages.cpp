#include "app/mainwindow.h"
#include "app/settings.h"
#include "batch/batchoptions.h"
#include "batchprogram.h"
#include "output/previewitem.h"
#include "page/pageitem.h"
#include "support/configvalues.h"
#include "support/dialoganswer.h"
#include "support/files.h"
#include "support/imagecomparison.h"
#include "support/pdffacts.h"
#include "support/pictures.h"
#include "support/testmain.h"
#include "support/windowprobe.h"

#include <QDir>
#include <QFileDialog>
#include <QImageReader>
#include <QPainter>

#include <cstring>

using namespace Qt::StringLiterals;

namespace {

constexpr int dotsPerInch = 72;
constexpr double mostVisibleDifference = 1;

/// Exports \a image from the window to the PDF file \a path: opens it with the
/// margin of \a options stored, then selects the other options.
void exportFromWindow(const QString &image, const PageOptions &options, const QString &path)
{
    writeConfigValue(configFilePath(), u"marginsc"_s, QString::number(int(options.margin.value)));
    MainWindow window;
    window.setAutoPage(options.cutRule.has_value());
    window.setCutRule(options.cutRule.value_or(CutRule::Calm));
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

QString marginText(const Margin &margin)
{
    return QString::number(margin.value) + (margin.isMillimeters ? u"mm"_s : QString());
}

QStringList argumentsFor(const PageOptions &options)
{
    QStringList arguments{u"--columns"_s, QString::number(options.columns), u"--margin"_s, marginText(options.margin)};
    if (options.pageNumbers) {
        arguments.append(u"--page-numbers"_s);
    }
    if (options.trim) {
        arguments.append(u"--trim"_s);
    }
    if (!options.cutRule) {
        arguments.append(u"--no-auto-cut"_s);
    } else if (options.cutRule == CutRule::Bright) {
        arguments.append({u"--cuts"_s, u"bright"_s});
    }
    if (options.lossless) {
        arguments.append(u"--lossless"_s);
    }
    if (options.layout == PageLayout::Window) {
        arguments.append({u"--layout"_s, u"window"_s});
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

/// \a strips, one below the other.
QImage putTogether(const QList<QImage> &strips)
{
    int height = 0;
    for (const QImage &strip : strips) {
        height += strip.height();
    }
    QImage image(strips.value(0).width(), height, QImage::Format_RGB32);
    int y = 0;
    for (const QImage &strip : strips) {
        for (int row = 0; row < strip.height(); ++row) {
            std::memcpy(image.scanLine(y++), strip.constScanLine(row), size_t(image.bytesPerLine()));
        }
    }
    return image;
}

/// The average difference of the gray levels of two pages, made so small that a shift
/// by a part of a pixel, or the noise of JPEG, does not show.
double visibleDifference(const QImage &actual, const QImage &expected)
{
    const auto small = [](const QImage &page) {
        return page.scaled(page.size() / 4, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
            .convertToFormat(QImage::Format_Grayscale8);
    };
    const QImage a = small(actual);
    const QImage b = small(expected);
    double sum = 0;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            sum += qAbs(qGray(a.pixel(x, y)) - qGray(b.pixel(x, y)));
        }
    }
    return sum / (a.width() * a.height());
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
    void keepsJpegFilesAsTheyAre();
    void decodesAsMuchOfAJpegFileAsNeeded_data();
    void decodesAsMuchOfAJpegFileAsNeeded();
    void flowFillsTheSheets();
    void makesPagesAsLargeAsStrips();
    void usesThePaperThatIsAskedFor_data();
    void usesThePaperThatIsAskedFor();
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
    for (const int margin : {0, 1, 5, 7, 15, 20, 25, 30}) {
        for (const int columns : {1, 2}) {
            QTest::addRow("margin of %d, %d columns", margin, columns)
                << article() << u"a.png"_s << PageOptions{.columns = columns, .margin = {double(margin), false}};
        }
    }
    row("numbers", {.pageNumbers = true});
    row("trim", {.trim = true});
    row("no auto cut", {.cutRule = std::nullopt});
    row("bright cuts", {.cutRule = CutRule::Bright});
    row("bright cuts, two columns, trim", {.columns = 2, .trim = true, .cutRule = CutRule::Bright});
    row("all in one column", {.margin = {20, false}, .pageNumbers = true, .trim = true, .cutRule = std::nullopt});
    row("all in two columns", {.columns = 2, .margin = {20, false}, .pageNumbers = true, .trim = true});
    row("two columns, no auto cut", {.columns = 2, .cutRule = std::nullopt});
    row("lossless", {.columns = 2, .lossless = true});
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
    options.layout = PageLayout::Window;
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
        QCOMPARE_LE(visibleDifference(sheets.at(i), expectedSheets.at(i)), mostVisibleDifference);
    }
}

void TestBatchPages::everyOptionChangesThePages_data()
{
    QTest::addColumn<PageOptions>("options");
    QTest::newRow("columns") << PageOptions{.columns = 2};
    QTest::newRow("margin") << PageOptions{.margin = {0, false}};
    QTest::newRow("margin in millimeters") << PageOptions{.margin = {1, true}};
    QTest::newRow("layout") << PageOptions{.layout = PageLayout::Window};
    QTest::newRow("numbers") << PageOptions{.pageNumbers = true};
    QTest::newRow("trim") << PageOptions{.trim = true};
    QTest::newRow("no auto cut") << PageOptions{.cutRule = std::nullopt};
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
    const PageOptions options{.layout = PageLayout::Window, .trim = true};
    const BatchEnd end = convert(path, options, u"a.pdf"_s);
    QCOMPARE(end.code, 0);
    QVERIFY(end.output.contains("(not trimmed: too little would be left)"));
    exportFromWindow(path, options, QDir::current().filePath(u"window.pdf"_s));
    QCOMPARE_LE(visibleDifference(pdfPictures(u"a.pdf"_s, dotsPerInch).first(),
                                  pdfPictures(u"window.pdf"_s, dotsPerInch).first()),
                mostVisibleDifference);
}

void TestBatchPages::losslessKeepsEveryPixel_data()
{
    QTest::addColumn<QImage>("image");
    QTest::newRow("noise") << noisePicture(QSize(140, 390));
    QTest::newRow("text") << article();
    QTest::newRow("gray") << noisePicture(QSize(140, 390)).convertToFormat(QImage::Format_Grayscale8);
    QTest::newRow("palette") << paletteOf(article(), false);
    QTest::newRow("bits") << noisePicture(QSize(140, 390)).convertToFormat(QImage::Format_Mono);
}

void TestBatchPages::losslessKeepsEveryPixel()
{
    QFETCH(QImage, image);
    const QString path = savedPicture(image, u"a.png"_s);
    const QImage source = QImage(path).convertToFormat(QImage::Format_RGB32);
    for (const PageLayout layout : {PageLayout::Flow, PageLayout::Window}) {
        for (const std::optional<CutRule> rule :
             {std::optional(CutRule::Calm), std::optional(CutRule::Bright), std::optional<CutRule>()}) {
            QCOMPARE(
                convert(path, {.layout = layout, .columns = 2, .cutRule = rule, .lossless = true}, u"a.pdf"_s).code, 0);
            QCOMPARE(firstDifference(putTogether(pdfImages(u"a.pdf"_s)), source), QString());
        }
    }
}

void TestBatchPages::keepsJpegFilesAsTheyAre()
{
    const QString path = savedPicture(noisePicture(QSize(140, 590)), u"a.jpg"_s);
    QCOMPARE(convert(path, {.columns = 2, .lossless = true}, u"a.pdf"_s).code, 0);
    QVERIFY(QFile(u"a.pdf"_s).size() < QFile(path).size() * 2); // noise as Flate would be far larger
    QVERIFY(contentOf(u"a.pdf"_s).contains("/DCTDecode"));
}

/// Without these options only the rows beside the cuts are decoded.
void TestBatchPages::decodesAsMuchOfAJpegFileAsNeeded_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("preview") << QStringList{u"--preview"_s, u"p.png"_s};
    QTest::newRow("bright cuts") << QStringList{u"--cuts"_s, u"bright"_s};
    QTest::newRow("regular cuts") << QStringList{u"--cuts"_s, u"regular"_s};
    QTest::newRow("strips as pages") << QStringList{u"--paper"_s, u"strip"_s};
    QTest::newRow("columns") << QStringList{u"--columns"_s, u"2"_s};
    QTest::newRow("layout of the window") << QStringList{u"--layout"_s, u"window"_s};
    QTest::newRow("trim") << QStringList{u"--trim"_s};
}

void TestBatchPages::decodesAsMuchOfAJpegFileAsNeeded()
{
    QFETCH(QStringList, arguments);
    savedPicture(article(), u"a.jpg"_s);
    const BatchEnd plain = runBatchProgram(arguments + QStringList{u"--json"_s, u"a.jpg"_s, u"-o"_s, u"a.pdf"_s});
    QCOMPARE(plain.code, 0);
    QCOMPARE(plain.errors, QByteArray());
    const BatchEnd lossless =
        runBatchProgram(arguments + QStringList{u"--json"_s, u"--lossless"_s, u"a.jpg"_s, u"-o"_s, u"b.pdf"_s});
    QCOMPARE(lossless.code, 0);
    QCOMPARE(lossless.errors, QByteArray());
    const auto cuts = [](const QByteArray &output) {
        const qsizetype at = output.indexOf("\"cuts\":");
        return output.mid(at, output.indexOf(']', at) - at);
    };
    QVERIFY(!cuts(plain.output).endsWith('['));
    QCOMPARE(cuts(lossless.output), cuts(plain.output));
    const PdfFacts expected = pdfFacts(u"a.pdf"_s);
    QCOMPARE(pdfFacts(u"b.pdf"_s).pageSizes, expected.pageSizes);
    const QList<QImage> sheets = pdfPictures(u"b.pdf"_s, dotsPerInch);
    const QList<QImage> expectedSheets = pdfPictures(u"a.pdf"_s, dotsPerInch);
    QCOMPARE(sheets.size(), expectedSheets.size());
    for (int i = 0; i < sheets.size(); ++i) {
        QCOMPARE_LE(visibleDifference(sheets.at(i), expectedSheets.at(i)), mostVisibleDifference);
    }
}

void TestBatchPages::flowFillsTheSheets()
{
    const QString path = savedPicture(article(), u"a.png"_s);
    QCOMPARE(convert(path, {.margin = {0, false}, .lossless = true}, u"a.pdf"_s).code, 0);
    const QList<QImage> strips = pdfImages(u"a.pdf"_s);
    const int capacity = 360 * 842 / 595;
    for (const QImage &strip : strips.first(strips.size() - 1)) {
        QVERIFY(strip.height() <= capacity);
        QVERIFY(strip.height() > capacity * 7 / 10);
    }
    QCOMPARE(strips.size(), 7); // 3200 rows
    // The content fills the width of every sheet.
    for (const QImage &sheet : pdfPictures(u"a.pdf"_s, dotsPerInch)) {
        QCOMPARE(sheet.pixelColor(2, 5), QColor(248, 248, 244));
        QCOMPARE(sheet.pixelColor(592, 5), QColor(248, 248, 244));
    }
}

void TestBatchPages::makesPagesAsLargeAsStrips()
{
    const QString path = savedPicture(article(), u"a.png"_s);
    QCOMPARE(runBatchProgram({u"--paper"_s, u"strip"_s, u"--cuts"_s, u"regular"_s, path, u"-o"_s, u"a.pdf"_s}).code, 0);
    const PdfFacts facts = pdfFacts(u"a.pdf"_s);
    QCOMPARE(facts.pages, 7); // of 514 rows at most
    QCOMPARE(facts.pageSizes.first(), QSizeF(270, 385.5));
    QCOMPARE(facts.pageSizes.last(), QSizeF(270, (3200 - 6 * 514) * 0.75));
}

void TestBatchPages::usesThePaperThatIsAskedFor_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QSizeF>("size");
    QTest::newRow("A5") << QStringList{u"--paper"_s, u"A5"_s} << QSizeF(420, 595);
    QTest::newRow("landscape") << QStringList{u"--landscape"_s} << QSizeF(842, 595);
    QTest::newRow("legal in landscape") << QStringList{u"--landscape"_s, u"--paper"_s, u"legal"_s} << QSizeF(1008, 612);
    QTest::newRow("inches") << QStringList{u"--paper=4x6in"_s} << QSizeF(288, 432);
}

void TestBatchPages::usesThePaperThatIsAskedFor()
{
    QFETCH(QStringList, arguments);
    const QString path = savedPicture(article(), u"a.png"_s);
    QCOMPARE(runBatchProgram(arguments + QStringList{path, u"-o"_s, u"a.pdf"_s}).code, 0);
    QTEST(pdfFacts(u"a.pdf"_s).pageSizes.first(), "size");
}

void TestBatchPages::losslessLooksTheSame()
{
    const QString path = savedPicture(article(), u"a.png"_s);
    // Where the picture is in the blocks of JPEG matters: colors run at its edges.
    QCOMPARE(convert(path, {.columns = 2, .cutRule = CutRule::Bright}, u"jpeg.pdf"_s).code, 0);
    QCOMPARE(convert(path, {.columns = 2, .cutRule = CutRule::Bright, .lossless = true}, u"lossless.pdf"_s).code, 0);
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
    QCOMPARE(convert(path, {.cutRule = std::nullopt}, u"a.pdf"_s).code, 0);
    const QImage together = putTogether(pdfImages(u"a.pdf"_s));
    QCOMPARE(together.size(), QSize(140, 390));
    QVERIFY(!firstDifference(together, noisePicture(QSize(140, 390))).isEmpty());
    const qint64 size = QFile(u"a.pdf"_s).size();
    QCOMPARE(runBatchProgram({u"--quality"_s, u"30"_s, path, u"-o"_s, u"a.pdf"_s}).code, 0);
    QVERIFY(QFile(u"a.pdf"_s).size() < size / 2);
}

QUILLMARCH_TEST_MAIN(TestBatchPages)
#include "tst_batchpages.moc"
