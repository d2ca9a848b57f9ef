#include "app/mainwindow.h"
#include "app/settings.h"
#include "batch/batchoptions.h"
#include "batchprogram.h"
#include "output/previewitem.h"
#include "page/pageitem.h"
#include "support/documents.h"
#include "support/testmain.h"

#include <QDir>
#include <QFileDialog>
#include <QImageReader>
#include <QLineEdit>
#include <QPainter>

using namespace Qt::StringLiterals;

namespace {

constexpr int dotsPerInch = 72;

/// The PDF file that the window writes of \a image with \a options, as a user
/// gets it who opens the image with this margin stored and then chooses the rest.
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
    QFile::remove(path); // or the dialog would ask a question
    onNextDialog<QFileDialog>([path](QFileDialog *dialog) {
        dialog->findChild<QLineEdit *>(u"fileNameEdit"_s)->setText(path);
        static_cast<QDialog *>(dialog)->accept();
    });
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

/// Dark lines of text of different heights on light paper, with a wide blank
/// border: every option changes its pages.
QImage article()
{
    QImage image(360, 3200, QImage::Format_RGB32);
    image.fill(QColor(248, 248, 244));
    QPainter painter(&image);
    painter.drawImage(30, 50, textPicture(300, 3100, 46));
    painter.fillRect(60, 1190, 200, 150, QColor(40, 90, 160));
    return image;
}

/// Colours that say where in the picture they stand, half of them transparent.
QImage translucent()
{
    QImage image(210, 700, QImage::Format_ARGB32);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            image.setPixel(x, y, qRgba(x, y / 3, 90, y / 40 % 2 == 0 ? 255 : 110));
        }
    }
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

QImage noise(int width, int height)
{
    quint32 state = 1;
    QImage image(width, height, QImage::Format_RGB32);
    for (int y = 0; y < height; ++y) {
        auto *row = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < width; ++x) {
            state = state * 1664525 + 1013904223;
            row[x] = 0xff000000U | (state >> 8);
        }
    }
    return image;
}

/// The images of the PDF file \a path, in order and without their masks.
QList<QImage> imagesIn(const QString &path)
{
    QDir folder(QDir::current().filePath(u"images"_s));
    folder.removeRecursively();
    QDir::current().mkpath(u"images"_s);
    if (QProcess::execute(u"pdfimages"_s, {u"-png"_s, path, folder.filePath(u"image"_s)}) != 0) {
        return {};
    }
    QList<QImage> images;
    for (const QString &name : folder.entryList({u"*.png"_s}, QDir::Files, QDir::Name)) {
        images.append(QImage(folder.filePath(name)).convertToFormat(QImage::Format_RGB32));
    }
    return images;
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
    void tellsOfNothingToTrim();
    void keepsWhatTheTrimWouldNotLeave();
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
    QTest::newRow("alpha") << translucent() << u"a.png"_s << PageOptions();
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
    QCOMPARE(facts.pageSize, expected.pageSize);
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

void TestBatchPages::tellsOfNothingToTrim()
{
    QImage blank(70, 90, QImage::Format_RGB32);
    blank.fill(Qt::white);
    const BatchEnd end = convert(savedPicture(blank, u"a.png"_s), {.trim = true}, u"a.pdf"_s);
    QCOMPARE(end.code, 0);
    QVERIFY(end.output.contains("(nothing to trim)"));
    QCOMPARE(pdfFacts(u"a.pdf"_s).pages, 1);
}

void TestBatchPages::keepsWhatTheTrimWouldNotLeave()
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
    QTest::newRow("noise") << noise(140, 390);
    QTest::newRow("text") << article();
    QTest::newRow("gray") << noise(140, 390).convertToFormat(QImage::Format_Grayscale8);
    QTest::newRow("palette") << paletteOf(article(), false);
    QTest::newRow("bits") << noise(140, 390).convertToFormat(QImage::Format_Mono);
    QTest::newRow("16 bits a channel") << noise(140, 390).convertToFormat(QImage::Format_RGBX64);
}

void TestBatchPages::losslessKeepsEveryPixel()
{
    QFETCH(QImage, image);
    const QString path = savedPicture(image, u"a.png"_s);
    QCOMPARE(convert(path, {.autoCut = false, .lossless = true}, u"a.pdf"_s).code, 0);
    const QImage source = QImage(path).convertToFormat(QImage::Format_RGB32);
    const QList<QImage> bands = imagesIn(u"a.pdf"_s);
    const double pitch = image.width() / 0.7;
    QCOMPARE(bands.size(), int(image.height() / pitch) + 1);
    for (int i = 0; i < bands.size(); ++i) {
        const QRect band = QRect(0, int(i * pitch), source.width(), int(pitch)) & source.rect();
        const QImage stored = bands.at(i).copy(QRect(QPoint(), band.size())); // without what is below the image
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
    const QString path = savedPicture(noise(140, 390), u"a.png"_s);
    QCOMPARE(convert(path, {.autoCut = false}, u"a.pdf"_s).code, 0);
    const QList<QImage> bands = imagesIn(u"a.pdf"_s);
    QCOMPARE(bands.size(), 2);
    QVERIFY(!firstDifference(bands.first(), noise(140, 390).copy(0, 0, 140, 200)).isEmpty());
}

QUILLMARCH_TEST_MAIN(TestBatchPages)
#include "tst_batchpages.moc"
