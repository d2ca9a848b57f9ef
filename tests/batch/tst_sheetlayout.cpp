#include "../decode/jpegbytes.h"
#include "batch/pagecuts.h"
#include "batch/paper.h"
#include "batch/picturelayout.h"
#include "batch/sheetlayout.h"
#include "pdf/jpegbands.h"
#include "support/pictures.h"
#include "support/testmain.h"

#include <QPainter>

using namespace Qt::StringLiterals;

namespace {

/// Dark stripes, one in each \a pitch rows, half of that high, with white gaps.
QImage stripes(int width, int height, int pitch)
{
    QImage image = plainPicture(width, height, Qt::white);
    QPainter painter(&image);
    for (int y = 0; y < height; y += pitch) {
        for (int x = 0; x < width; x += 7) {
            painter.fillRect(x, y, 4, pitch / 2, Qt::black);
        }
    }
    return image;
}

/// "first-end at x,y width x height; ..." for each sheet.
QStringList textOf(const QList<PdfSheet> &sheets)
{
    QStringList lines;
    for (const PdfSheet &sheet : sheets) {
        QStringList strips;
        for (const PlacedStrip &strip : sheet.strips) {
            const QRectF &place = strip.place;
            strips.append(u"%1-%2 at %3,%4 %5x%6"_s.arg(strip.firstRow)
                              .arg(strip.endRow)
                              .arg(place.x())
                              .arg(place.y())
                              .arg(place.width())
                              .arg(place.height()));
        }
        lines.append(strips.join(u"; "_s));
    }
    return lines;
}

} // namespace

class TestSheetLayout : public QObject
{
    Q_OBJECT

private slots:
    void knowsPapers_data();
    void knowsPapers();
    void knowsMargins_data();
    void knowsMargins();
    void fillsColumns_data();
    void fillsColumns();
    void makesSheetsAsLargeAsStrips();
    void limitsSheetsAsLargeAsStrips();
    void numbersSheets();

    void stripsTileThePicture_data();
    void stripsTileThePicture();
    void cutsInTheLastGap_data();
    void cutsInTheLastGap();
    void pagesHoldTheTallestOfGivenStrips();
    void advancesWithTheLowestStrips_data();
    void advancesWithTheLowestStrips();
    void cutsAFileAsItsImage_data();
    void cutsAFileAsItsImage();
    void cutsWhereItIsFullWithoutARule();
    void tellsOfCutsThroughContent();
    void keepsTheBlankEndOfTheWindow();
};

void TestSheetLayout::knowsPapers_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isKnown");
    QTest::addColumn<QSizeF>("size");
    QTest::newRow("A4") << u"A4"_s << true << QSizeF(595, 842);
    QTest::newRow("a5") << u"a5"_s << true << QSizeF(420, 595);
    QTest::newRow("A3") << u"A3"_s << true << QSizeF(842, 1191);
    QTest::newRow("Letter") << u"Letter"_s << true << QSizeF(612, 792);
    QTest::newRow("Legal") << u"Legal"_s << true << QSizeF(612, 1008);
    QTest::newRow("strip") << u"strip"_s << true << QSizeF();
    QTest::newRow("mm") << u"25.4x50.8mm"_s << true << QSizeF(72, 144);
    QTest::newRow("in") << u"4x6.5in"_s << true << QSizeF(288, 468);
    for (const char *wrong : {"", "A6", "4x6", "4x6cm", "0x6in", "-4x6in", "5x5mm", "6000x10mm", "4.x.in", "axbmm"}) {
        QTest::newRow(wrong) << QString::fromLatin1(wrong) << false << QSizeF();
    }
}

void TestSheetLayout::knowsPapers()
{
    QFETCH(QString, name);
    QFETCH(bool, isKnown);
    QFETCH(QSizeF, size);
    const std::optional<Paper> paper = paperNamed(name);
    QCOMPARE(paper.has_value(), isKnown);
    if (isKnown) {
        QVERIFY(qAbs(paper->size.width() - size.width()) < 1e-9);
        QVERIFY(qAbs(paper->size.height() - size.height()) < 1e-9);
        QCOMPARE(paper->isStrip(), size.isEmpty());
    }
}

void TestSheetLayout::knowsMargins_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<double>("points"); // on A4; -1 for no margin
    QTest::newRow("0") << u"0"_s << 0.0;
    QTest::newRow("10") << u"10"_s << 59.5;
    QTest::newRow("30") << u"30"_s << 178.5;
    QTest::newRow("0mm") << u"0mm"_s << 0.0;
    QTest::newRow("25.4mm") << u"25.4mm"_s << 72.0;
    for (const char *wrong : {"", "mm", "31", "-1", "2.5", "10%", "101mm", "-1mm", "nanmm", "99999999999"}) {
        QTest::newRow(wrong) << QString::fromLatin1(wrong) << -1.0;
    }
}

void TestSheetLayout::knowsMargins()
{
    QFETCH(QString, text);
    QFETCH(double, points);
    const std::optional<Margin> margin = marginNamed(text);
    QCOMPARE(margin.has_value(), points >= 0);
    if (margin) {
        QCOMPARE(marginOn(QSizeF(595, 842), *margin), points);
        QCOMPARE(marginOn(QSizeF(842, 595), *margin), points);
    }
}

void TestSheetLayout::fillsColumns_data()
{
    QTest::addColumn<ColumnSheet>("sheet");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QList<int>>("cuts");
    QTest::addColumn<int>("capacity");
    QTest::addColumn<QStringList>("sheets");
    const QSizeF paper(220, 320);
    QTest::newRow("one strip") << ColumnSheet{paper, 10, 1} << QSize(100, 90) << QList<int>() << 150
                               << QStringList{u"0-90 at 10,10 200x180"_s};
    QTest::newRow("full pages") << ColumnSheet{paper, 10, 1} << QSize(100, 400) << QList<int>{150, 280} << 150
                                << QStringList{u"0-150 at 10,10 200x300"_s, u"150-280 at 10,10 200x260"_s,
                                               u"280-400 at 10,10 200x240"_s};
    QTest::newRow("no margin") << ColumnSheet{paper, 0, 1} << QSize(110, 160) << QList<int>() << 160
                               << QStringList{u"0-160 at 0,0 220x320"_s};
    QTest::newRow("two columns") << ColumnSheet{paper, 10, 2} << QSize(47, 400) << QList<int>{150, 290} << 150
                                 << QStringList{u"0-150 at 10,10 94x300; 150-290 at 116,10 94x280"_s,
                                                u"290-400 at 10,10 94x220"_s};
    QTest::newRow("four columns")
        << ColumnSheet{QSizeF(256, 320), 10, 4} << QSize(100, 1500) << QList<int>{600, 1200} << 600
        << QStringList{u"0-600 at 10,10 50x300; 600-1200 at 72,10 50x300; 1200-1500 at 134,10 50x150"_s};
    QTest::newRow("a strip that is too high")
        << ColumnSheet{paper, 10, 1} << QSize(100, 400) << QList<int>{300} << 150
        << QStringList{u"0-300 at 60,10 100x300"_s, u"300-400 at 10,10 200x200"_s};
    QTest::newRow("wider than the sheet has rows") << ColumnSheet{paper, 10, 1} << QSize(100000, 12) << QList<int>()
                                                   << 150000 << QStringList{u"0-12 at 10,10 200x0.024"_s};
}

void TestSheetLayout::fillsColumns()
{
    QFETCH(ColumnSheet, sheet);
    QFETCH(QSize, size);
    QFETCH(QList<int>, cuts);
    QTEST(rowsPerColumn(sheet, size.width()), "capacity");
    const QList<PdfSheet> sheets = columnSheets({size, cuts}, sheet);
    QTEST(textOf(sheets), "sheets");
    for (const PdfSheet &made : sheets) {
        QCOMPARE(made.size, sheet.paper);
        QCOMPARE(made.number, QString());
    }
}

void TestSheetLayout::makesSheetsAsLargeAsStrips()
{
    const QList<PdfSheet> sheets = stripSheets({QSize(400, 1000), {600}});
    QCOMPARE(textOf(sheets), (QStringList{u"0-600 at 0,0 300x450"_s, u"600-1000 at 0,0 300x300"_s}));
    QCOMPARE(sheets.first().size, QSizeF(300, 450));
    QCOMPARE(sheets.last().size, QSizeF(300, 300));
}

void TestSheetLayout::limitsSheetsAsLargeAsStrips()
{
    const QList<PdfSheet> sheets = stripSheets({QSize(28800, 400), {}});
    QCOMPARE(sheets.first().size, QSizeF(14400, 200));
    const QList<PdfSheet> low = stripSheets({QSize(400, 602), {600}});
    QCOMPARE(low.last().size, QSizeF(300, 3));
    QCOMPARE(low.last().strips.first().place, QRectF(0, 0, 300, 1.5));
}

void TestSheetLayout::numbersSheets()
{
    QList<PdfSheet> sheets = columnSheets({QSize(100, 400), {150, 280}}, {QSizeF(300, 400), 10, 1});
    numberSheets(sheets, 9);
    QCOMPARE(sheets.at(0).number, u"9"_s);
    QCOMPARE(sheets.at(2).number, u"11"_s);
    QCOMPARE(sheets.at(0).numberPlace, QRectF(240, 380, 60, 20));
}

void TestSheetLayout::stripsTileThePicture_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    for (const QSize size : {QSize(11, 11), QSize(70, 99), QSize(70, 100), QSize(70, 101), QSize(360, 3200),
                             QSize(333, 5001), QSize(1001, 20)}) {
        QTest::addRow("%dx%d", size.width(), size.height()) << size.width() << size.height();
    }
}

void TestSheetLayout::stripsTileThePicture()
{
    QFETCH(int, width);
    QFETCH(int, height);
    const QImage image = randomTextPicture(QSize(width, height), 7);
    const std::optional<CutRule> rules[] = {CutRule::Calm, CutRule::Bright, std::nullopt};
    for (const std::optional<CutRule> rule : rules) {
        for (const int columns : {1, 2}) {
            const WindowCuts window = cutsOfWindow(image, 10, rule);
            int next = 0;
            for (const PdfSheet &sheet : windowSheets({image.size(), window.cuts.rows}, window.pages, columns)) {
                for (const PlacedStrip &strip : sheet.strips) {
                    QCOMPARE(strip.firstRow, next);
                    QVERIFY(strip.endRow > strip.firstRow);
                    next = strip.endRow;
                }
            }
            QCOMPARE(next, height);
        }
        const int capacity = std::max(1, width * 3 / 2);
        int next = 0;
        for (const StripRows &strip : stripsOf({image.size(), cutsForFlow(image, capacity, rule).rows})) {
            QCOMPARE(strip.first, next);
            QVERIFY(strip.count() > 0);
            QVERIFY(strip.count() <= capacity);
            next = strip.end;
        }
        QCOMPARE(next, height);
    }
}

void TestSheetLayout::cutsInTheLastGap_data()
{
    QTest::addColumn<CutRule>("rule");
    QTest::newRow("calm") << CutRule::Calm;
    QTest::newRow("bright") << CutRule::Bright;
}

void TestSheetLayout::cutsInTheLastGap()
{
    QFETCH(CutRule, rule);
    constexpr int pitch = 40;
    constexpr int capacity = 530;
    const QImage image = stripes(350, 3000, pitch);
    int top = 0;
    for (const int row : cutsForFlow(image, capacity, rule).rows) {
        QVERIFY2(row % pitch >= pitch / 2, qPrintable(QString::number(row))); // in a gap
        QVERIFY(row - top <= capacity);
        QVERIFY(row - top > capacity - (rule == CutRule::Calm ? 2 * pitch : capacity / 3));
        top = row;
    }
    QVERIFY(top > image.height() - capacity);
}

void TestSheetLayout::pagesHoldTheTallestOfGivenStrips()
{
    PageOptions options;
    options.layout = PageLayout::Window; // whose own strips would be 500 rows high
    FilePicture picture;
    picture.image = plainPicture(350, 1500, Qt::white);
    double scale = 0;
    for (const PdfSheet &sheet : layOut(picture, options, QList<int>{100, 333, 900}, 1).sheets) {
        const PlacedStrip &strip = sheet.strips.first();
        QVERIFY(QRectF(QPointF(), sheet.size).contains(strip.place));
        const double scaleHere = strip.place.height() / (strip.endRow - strip.firstRow);
        QVERIFY(scale == 0 || qFuzzyCompare(scaleHere, scale));
        scale = scaleHere;
    }
    QVERIFY(scale > 0);
}

void TestSheetLayout::advancesWithTheLowestStrips_data()
{
    QTest::addColumn<CutRule>("rule");
    QTest::newRow("calm") << CutRule::Calm;
    QTest::newRow("bright") << CutRule::Bright;
}

void TestSheetLayout::advancesWithTheLowestStrips()
{
    QFETCH(CutRule, rule);
    const QImage image = noisePicture(QSize(30, 120));
    for (int capacity = 1; capacity <= 9; ++capacity) {
        int top = 0;
        for (const int row : cutsForFlow(image, capacity, rule).rows) {
            QVERIFY(row > top);
            QVERIFY(row - top <= capacity);
            top = row;
        }
        QVERIFY(top >= image.height() - capacity);
    }
}

void TestSheetLayout::cutsAFileAsItsImage_data()
{
    QTest::addColumn<QImage>("picture");
    QTest::addColumn<JpegKind>("kind");
    JpegKind full;
    full.horizontal = 1;
    full.vertical = 1;
    JpegKind gray = full;
    gray.channels = 1;
    JpegKind progressive;
    progressive.isProgressive = true;
    QTest::newRow("stripes") << stripes(350, 3000, 40) << JpegKind();
    QTest::newRow("stripes, full resolution") << stripes(350, 3000, 37) << full;
    QTest::newRow("stripes, gray") << stripes(1081, 5003, 53) << gray;
    QTest::newRow("stripes, progressive") << stripes(350, 3000, 40) << progressive;
    QTest::newRow("text") << textPicture(417, 4001) << JpegKind();
    QTest::newRow("soft blocks") << jpegPicture(QSize(611, 3001)) << JpegKind();
    QTest::newRow("noise") << noisePicture(QSize(200, 1500)) << full;
}

/// Rows that are decoded one window at a time give the cuts of the whole image.
void TestSheetLayout::cutsAFileAsItsImage()
{
    QFETCH(QImage, picture);
    QFETCH(JpegKind, kind);
    const QByteArray file = jpegOf(picture, kind);
    const QImage image = QImage::fromData(file, "jpeg");
    const PictureRows packed(JpegBands::read(file));
    QCOMPARE(packed.size(), image.size());
    for (const std::optional<CutRule> rule :
         {std::optional(CutRule::Calm), std::optional(CutRule::Bright), std::optional<CutRule>()}) {
        for (const int capacity : {image.width() * 3 / 2, image.width() / 3, 40}) {
            const PlacedCuts cuts = cutsForFlow(packed, capacity, rule);
            const PlacedCuts expected = cutsForFlow(image, capacity, rule);
            QCOMPARE(cuts.rows, expected.rows);
            QCOMPARE(cuts.through, expected.through);
        }
    }
}

void TestSheetLayout::cutsWhereItIsFullWithoutARule()
{
    const PlacedCuts cuts = cutsForFlow(stripes(100, 1000, 40), 300, std::nullopt);
    QCOMPARE(cuts.rows, (QList<int>{300, 600, 900}));
    QVERIFY(!cuts.through.has_value());
    QCOMPARE(cutsForFlow(stripes(100, 300, 40), 300, std::nullopt).rows, QList<int>());
}

void TestSheetLayout::tellsOfCutsThroughContent()
{
    const PlacedCuts clean = cutsForFlow(stripes(350, 1500, 40), 530, CutRule::Calm);
    QCOMPARE(clean.through, QList<int>());
    const PlacedCuts noise = cutsForFlow(noisePicture(QSize(350, 1500)), 530, CutRule::Calm);
    QVERIFY(noise.rows.size() >= 2);
    QCOMPARE(noise.through, noise.rows);
}

void TestSheetLayout::keepsTheBlankEndOfTheWindow()
{
    const WindowCuts window = cutsOfWindow(blockPicture(70, 300), 10, std::nullopt);
    const QList<PdfSheet> sheets = windowSheets({QSize(70, 300), window.cuts.rows}, window.pages, 1);
    QCOMPARE(sheets.size(), 4);
    QCOMPARE(sheets.last().strips.size(), 0);
}

QUILLMARCH_TEST_MAIN(TestSheetLayout)
#include "tst_sheetlayout.moc"
