#include "app/mainwindow.h"
#include "app/settings.h"
#include "output/previewitem.h"
#include "page/pageitem.h"
#include "support/configvalues.h"
#include "support/dialoganswer.h"
#include "support/englishcatalogue.h"
#include "support/imagecomparison.h"
#include "support/pdffacts.h"
#include "support/pictures.h"
#include "support/testmain.h"
#include "support/windowprobe.h"

#include <QAbstractButton>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QMessageBox>
#include <QPainter>
#include <QPrinter>

#include <algorithm>
#include <cmath>
#include <cstdlib>

using namespace Qt::StringLiterals;

namespace {

constexpr int dotsPerInch = 96;

// Rendered and expected pages are compared by the means of blocks of this side.
// The renderer extends an image to whole pixels, so an edge may be off by one
// pixel. That changes a mean by at most 255 / 32 = 8 per direction, and lossy
// compression adds some levels.
constexpr int meanSide = 32;
constexpr int meanTolerance = 20;

QString pathOf(const QString &name)
{
    return QDir::current().absoluteFilePath(name);
}

/// Triggers the export and chooses \a path in the dialog.
void exportTo(MainWindow &window, const QString &path)
{
    QFile::remove(path); // the dialog would ask whether to replace it
    const NextDialog next = onNextDialog<QFileDialog>([path](QFileDialog *dialog) { choosePath(dialog, path); });
    trigger(window, "exportPdfAction");
}

/// The expected sheet of \a page: A4 with the default margins of a PDF printer.
QImage expectedSheet(PreviewItem *page, QSize size)
{
    QPrinter printer(QPrinter::HighResolution);
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setPageSize(QPageSize(QPageSize::A4));
    const QRectF area = printer.pageLayout().paintRect(QPageLayout::Inch);
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.translate(area.topLeft() * dotsPerInch);
    const QSizeF sheet = page->boundingRect().size();
    const double scale = std::min(area.width() / sheet.width(), area.height() / sheet.height()) * dotsPerInch;
    painter.scale(scale, scale);
    page->renderPage(&painter);
    return image;
}

/// The greatest difference between block means in any channel.
int greatestMeanDifference(const QImage &a, const QImage &b)
{
    const QSize blocks(a.width() / meanSide, a.height() / meanSide);
    int greatest = 0;
    for (int y = 0; y < blocks.height(); ++y) {
        for (int x = 0; x < blocks.width(); ++x) {
            int red = 0;
            int green = 0;
            int blue = 0;
            for (int i = 0; i < meanSide * meanSide; ++i) {
                const QPoint at(x * meanSide + i % meanSide, y * meanSide + i / meanSide);
                const QRgb one = a.pixel(at);
                const QRgb other = b.pixel(at);
                red += qRed(one) - qRed(other);
                green += qGreen(one) - qGreen(other);
                blue += qBlue(one) - qBlue(other);
            }
            const int sum = std::max({std::abs(red), std::abs(green), std::abs(blue)});
            greatest = std::max(greatest, sum / (meanSide * meanSide));
        }
    }
    return greatest;
}

QStringList filesIn(const QString &folder)
{
    return QDir(folder).entryList(QDir::Files | QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
}

} // namespace

class TestPdfExport : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void asksInChinese();
    void asksInEnglish();
    void startsInTheFolderOfTheExecutable();
    void startsInTheFolderOfTheLastFile();
    void cancelChangesNothing();
    void writesA4Pages_data();
    void writesA4Pages();
    void writesWhatThePagesShow_data();
    void writesWhatThePagesShow();
    void keepsTheColorsOf_data();
    void keepsTheColorsOf();
    void writesNoSelectionFrame();
    void addsNoSuffix();
    void replacesAnExistingFile();
    void reportsTheOutcome();
    void reportsTheOutcomeInEnglish();
    void unwritableTargetIsReportedLikeAnyOther();
};

void TestPdfExport::initTestCase()
{
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
}

void TestPdfExport::init()
{
    clearConfigValues();
}

void TestPdfExport::cleanup()
{
    QFile::remove(u"out.pdf"_s);
    if (showPageNumbers()) {
        PageItem strip(QPixmap(11, 11), QRectF(0, 0, 11, 11));
        PreviewItem(&strip, 1).togglePageNumbers();
    }
}

void TestPdfExport::asksInChinese()
{
    MainWindow window;
    window.loadImageFile(savedStrips(5));
    const NextDialog next = onNextDialog<QFileDialog>([&](QFileDialog *dialog) {
        QCOMPARE(dialog->windowTitle(), u"导出到PDF"_s);
        QCOMPARE(dialog->nameFilters(), QStringList(u"PDF文件(*.pdf)"_s));
        QCOMPARE(dialog->acceptMode(), QFileDialog::AcceptSave);
        QCOMPARE(dialog->parentWidget(), &window);
    });
    trigger(window, "exportPdfAction");
    QVERIFY(next.wasMet());
}

void TestPdfExport::asksInEnglish()
{
    const EnglishCatalogue english;
    QVERIFY(english.isLoaded());
    MainWindow window;
    window.loadImageFile(savedStrips(5));
    const NextDialog next = onNextDialog<QFileDialog>([&](QFileDialog *dialog) {
        QCOMPARE(dialog->windowTitle(), u"Save as PDF"_s);
        QCOMPARE(dialog->nameFilters(), QStringList(u"pdf file(*.pdf)"_s));
    });
    trigger(window, "exportPdfAction");
    QVERIFY(next.wasMet());
}

void TestPdfExport::startsInTheFolderOfTheExecutable()
{
    MainWindow window;
    window.loadImageFile(savedStrips(5));
    QString folder;
    const NextDialog next =
        onNextDialog<QFileDialog>([&](QFileDialog *dialog) { folder = dialog->directory().absolutePath(); });
    trigger(window, "exportPdfAction");
    QCOMPARE(folder, QCoreApplication::applicationDirPath());
}

void TestPdfExport::startsInTheFolderOfTheLastFile()
{
    QVERIFY(QDir::current().mkpath(u"last one 名"_s));
    MainWindow window;
    window.loadImageFile(savedStrips(5));
    exportTo(window, pathOf(u"last one 名/out.pdf"_s));
    QCOMPARE(configValue(u"savepath"_s), pathOf(u"last one 名"_s));
    QCOMPARE(configValue(u"imagedir"_s), QString());
    QString folder;
    const NextDialog next =
        onNextDialog<QFileDialog>([&](QFileDialog *dialog) { folder = dialog->directory().absolutePath(); });
    trigger(window, "exportPdfAction");
    QCOMPARE(folder, pathOf(u"last one 名"_s));
}

void TestPdfExport::cancelChangesNothing()
{
    QVERIFY(QDir::current().mkpath(u"untouched"_s));
    MainWindow window;
    window.loadImageFile(savedStrips(5));
    const QStringList besideTheProgram = filesIn(QCoreApplication::applicationDirPath());
    const NextDialog next = onNextDialog<QFileDialog>([](QFileDialog *dialog) {
        typePath(dialog, pathOf(u"untouched/out.pdf"_s));
        static_cast<QDialog *>(dialog)->reject();
    });
    trigger(window, "exportPdfAction");
    QCOMPARE(configValue(u"savepath"_s), QString());
    QCOMPARE(filesIn(pathOf(u"untouched"_s)), QStringList());
    QCOMPARE(filesIn(QCoreApplication::applicationDirPath()), besideTheProgram);
    QCOMPARE(toastText(window), QString());
}

void TestPdfExport::writesA4Pages_data()
{
    QTest::addColumn<int>("strips");
    QTest::addColumn<bool>("twoColumns");
    QTest::addColumn<int>("pages");
    QTest::newRow("1 strip") << 1 << false << 1;
    QTest::newRow("5 strips") << 5 << false << 5;
    QTest::newRow("1 strip, two columns") << 1 << true << 1;
    QTest::newRow("4 strips, two columns") << 4 << true << 1;
    QTest::newRow("5 strips, two columns") << 5 << true << 2;
    QTest::newRow("9 strips, two columns") << 9 << true << 3;
}

void TestPdfExport::writesA4Pages()
{
    QFETCH(int, strips);
    QFETCH(bool, twoColumns);
    QFETCH(int, pages);
    MainWindow window;
    window.loadImageFile(savedStrips(strips));
    if (twoColumns) {
        trigger(window, "twoColsAction");
    }
    exportTo(window, pathOf(u"out.pdf"_s));
    const PdfFacts facts = pdfFacts(u"out.pdf"_s);
    QCOMPARE(facts.pages, pages);
    QCOMPARE(facts.pageSizes.size(), pages);
    for (const QSizeF &size : facts.pageSizes) {
        QVERIFY(std::abs(size.width() - 595.276) < 1); // 210 mm in points
        QVERIFY(std::abs(size.height() - 841.89) < 1); // 297 mm
    }
}

void TestPdfExport::writesWhatThePagesShow_data()
{
    QTest::addColumn<bool>("twoColumns");
    QTest::addColumn<bool>("numbered");
    QTest::addColumn<int>("marginSteps");
    QTest::newRow("one column") << false << false << 0;
    QTest::newRow("one column, numbered") << false << true << 0;
    QTest::newRow("one column, no margin") << false << false << -2;
    QTest::newRow("two columns") << true << false << 0;
    QTest::newRow("two columns, numbered, wide margin") << true << true << 3;
}

void TestPdfExport::writesWhatThePagesShow()
{
    QFETCH(bool, twoColumns);
    QFETCH(bool, numbered);
    QFETCH(int, marginSteps);
    MainWindow window;
    window.loadImageFile(savedPicture(blockPicture(350, 2700), u"six.png"_s));
    if (twoColumns) {
        trigger(window, "twoColsAction");
    }
    if (numbered) {
        trigger(window, "pageNumAction");
    }
    for (int i = 0; i < std::abs(marginSteps); ++i) {
        trigger(window, marginSteps < 0 ? "decreaseMarginAction" : "increaseMarginAction");
    }
    stripsOf(window).first()->moveCut(30);
    exportTo(window, pathOf(u"out.pdf"_s));
    exportTo(window, pathOf(u"out.pdf"_s)); // the scale of two columns is final only now
    const QList<QImage> sheets = pdfPictures(u"out.pdf"_s, dotsPerInch);
    const QList<PreviewItem *> pages = pagesOf(window);
    QCOMPARE(sheets.size(), pages.size());
    for (int i = 0; i < pages.size(); ++i) {
        const QImage expected = expectedSheet(pages.at(i), sheets.at(i).size());
        const int difference = greatestMeanDifference(sheets.at(i), expected);
        QVERIFY2(difference <= meanTolerance, qPrintable(QString::number(difference)));
        const QImage other = expectedSheet(pages.at((i + 1) % pages.size()), sheets.at(i).size());
        QVERIFY(greatestMeanDifference(sheets.at(i), other) > 2 * meanTolerance); // the comparison distinguishes pages
    }
    if (numbered) {
        trigger(window, "pageNumAction");
        exportTo(window, pathOf(u"out.pdf"_s));
        const QImage bare = pdfPictures(u"out.pdf"_s, dotsPerInch).first();
        const QImage &withNumber = sheets.first();
        QVERIFY(!firstDifference(withNumber, bare).isEmpty());
        const QRect upper(0, 0, bare.width(), bare.height() / 2);
        QCOMPARE(firstDifference(withNumber.copy(upper), bare.copy(upper)), QString());
    }
}

void TestPdfExport::keepsTheColorsOf_data()
{
    QTest::addColumn<QImage>("image");
    const QImage blocks = blockPicture(350, 900);
    QTest::newRow("RGB32") << blocks;
    QTest::newRow("gray") << blocks.convertToFormat(QImage::Format_Grayscale8);
    QTest::newRow("alpha") << translucentPicture(350, 900);
    QImage hole(350, 900, QImage::Format_Indexed8);
    hole.setColorTable(
        {qRgb(200, 190, 90), qRgb(80, 80, 150), qRgb(190, 80, 90), qRgb(80, 150, 90), qRgb(110, 110, 110)});
    for (int y = 0; y < hole.height(); ++y) {
        for (int x = 0; x < hole.width(); ++x) {
            hole.setPixel(x, y, uint((x / 32 + y / 32 * 2) % 5));
        }
    }
    QTest::newRow("palette") << hole;
    hole.setColor(2, qRgba(0, 0, 0, 0));
    QTest::newRow("palette with transparency") << hole;
}

void TestPdfExport::keepsTheColorsOf()
{
    QFETCH(QImage, image);
    MainWindow window;
    window.setAutoPage(false);
    window.loadImageFile(savedPicture(image, u"colors.png"_s));
    exportTo(window, pathOf(u"out.pdf"_s));
    const QList<QImage> sheets = pdfPictures(u"out.pdf"_s, dotsPerInch);
    QCOMPARE(sheets.size(), 2);

    // The expected page, drawn from the image.
    const PreviewItem *page = pagesOf(window).first();
    const double drawnWidth = 0.70707071 * 500;
    const double drawnHeight = drawnWidth * 500 / 350;
    QImage drawn(int(page->boundingRect().width()), int(page->boundingRect().height()), QImage::Format_RGB32);
    drawn.fill(Qt::white);
    QPainter painter(&drawn);
    painter.drawImage(QRectF(35 + (350 - drawnWidth) / 2, 52 + (500 - drawnHeight) / 2, drawnWidth, drawnHeight),
                      image.convertToFormat(QImage::Format_ARGB32_Premultiplied), QRectF(0, 0, 350, 500));
    painter.end();
    QPrinter printer(QPrinter::HighResolution);
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setPageSize(QPageSize(QPageSize::A4));
    const QRectF area = printer.pageLayout().paintRect(QPageLayout::Inch);
    QImage expected(sheets.first().size(), QImage::Format_RGB32);
    expected.fill(Qt::white);
    painter.begin(&expected);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    const double scale = std::min(area.width() / 420, area.height() / 604) * dotsPerInch;
    painter.drawImage(QRectF(area.topLeft() * dotsPerInch, QSizeF(420, 604) * scale), drawn);
    painter.end();
    const int difference = greatestMeanDifference(sheets.first(), expected);
    QVERIFY2(difference <= meanTolerance, qPrintable(QString::number(difference)));
}

void TestPdfExport::writesNoSelectionFrame()
{
    MainWindow window;
    window.loadImageFile(savedStrips(5));
    exportTo(window, pathOf(u"out.pdf"_s));
    const QList<QImage> plain = pdfPictures(u"out.pdf"_s, dotsPerInch);
    pagesOf(window).at(1)->setSelected(true);
    exportTo(window, pathOf(u"out.pdf"_s));
    const QList<QImage> selected = pdfPictures(u"out.pdf"_s, dotsPerInch);
    QVERIFY(pagesOf(window).at(1)->isSelected());
    QCOMPARE(plain.size(), 5);
    QCOMPARE(selected.size(), 5);
    for (int i = 0; i < 5; ++i) {
        QCOMPARE(firstDifference(selected.at(i), plain.at(i)), QString());
    }
}

void TestPdfExport::addsNoSuffix()
{
    QVERIFY(QDir::current().mkpath(u"bare"_s));
    MainWindow window;
    window.loadImageFile(savedStrips(5));
    exportTo(window, pathOf(u"bare/no suffix"_s));
    QCOMPARE(filesIn(pathOf(u"bare"_s)), QStringList(u"no suffix"_s));
    QCOMPARE(pdfFacts(u"bare/no suffix"_s).pages, 5);
}

void TestPdfExport::replacesAnExistingFile()
{
    savedBytes("an older file", u"out.pdf"_s);
    MainWindow window;
    window.loadImageFile(savedStrips(5));
    bool isAsked = false;
    const NextDialog next = onNextDialog<QFileDialog>([&isAsked](QFileDialog *dialog) {
        typePath(dialog, pathOf(u"out.pdf"_s));
        const NextDialog question =
            onNextDialog<QMessageBox>([](QMessageBox *box) { box->button(QMessageBox::Yes)->click(); });
        static_cast<QDialog *>(dialog)->accept();
        isAsked = question.wasMet();
    });
    trigger(window, "exportPdfAction");
    QVERIFY(isAsked); // by the file dialog
    QCOMPARE(pdfFacts(u"out.pdf"_s).pages, 5);
}

void TestPdfExport::reportsTheOutcome()
{
    MainWindow window;
    window.loadImageFile(savedStrips(5));
    exportTo(window, pathOf(u"out.pdf"_s));
    QCOMPARE(toastText(window), u"处理结果已输出至文件"_s + pathOf(u"out.pdf"_s));
}

void TestPdfExport::reportsTheOutcomeInEnglish()
{
    MainWindow window;
    window.loadImageFile(savedStrips(5));
    const EnglishCatalogue english;
    QVERIFY(english.isLoaded());
    exportTo(window, pathOf(u"out.pdf"_s));
    QCOMPARE(toastText(window), u"Save to PDF file succeeded"_s + pathOf(u"out.pdf"_s));
}

void TestPdfExport::unwritableTargetIsReportedLikeAnyOther()
{
    const QString path = pathOf(u"no such folder/out.pdf"_s);
    MainWindow window;
    window.loadImageFile(savedStrips(5));
    exportTo(window, path);
    QVERIFY(!QFile::exists(path));
    QCOMPARE(toastText(window), u"处理结果已输出至文件"_s + path);
    QCOMPARE(configValue(u"savepath"_s), pathOf(u"no such folder"_s));
    exportTo(window, pathOf(u"out.pdf"_s)); // the next export works
    QCOMPARE(pdfFacts(u"out.pdf"_s).pages, 5);
}

QUILLMARCH_TEST_MAIN(TestPdfExport)
#include "tst_pdfexport.moc"
