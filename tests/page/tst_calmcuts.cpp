#include "app/mainwindow.h"
#include "page/stripdocument.h"
#include "support/testmain.h"
#include "support/windowprobe.h"

#include <QRandomGenerator>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// The rows from `first` to `end`, exclusive, are blank.
struct Gap
{
    int first = 0;
    int end = 0;
};

/// Light marks on a dark ground in all rows but those of \a gaps.
QImage darkText(QSize size, const QList<Gap> &gaps)
{
    QRandomGenerator random(4);
    QImage image(size, QImage::Format_RGB32);
    image.fill(qRgb(25, 28, 35));
    for (int y = 0; y < size.height(); ++y) {
        const bool isBlank =
            std::any_of(gaps.begin(), gaps.end(), [y](Gap gap) { return gap.first <= y && y < gap.end; });
        for (int x = 5; x < size.width() - 5 && !isBlank; x += 2 + int(random.bounded(5))) {
            image.setPixel(x, y, qRgb(220, 220, 225));
        }
    }
    return image;
}

/// A chain whose cuts are placed by the calm rule.
struct Document : StripDocument
{
    Document(const QImage &image, const QList<QRectF> &bands)
        : StripDocument(keptPixmap(image), bands)
    {
    }
    void place() { placeCuts(strips.first(), CutRule::Calm); }
    QList<double> cuts() const { return cutsOf(strips); }

    static QList<double> cutsOf(const QList<PageItem *> &strips)
    {
        QList<double> cuts;
        for (qsizetype i = 0; i + 1 < strips.size(); ++i) {
            cuts.append(strips.at(i)->sourceRect().bottom());
        }
        return cuts;
    }
};

/// Four strips of 500 rows, with a gap above, below and far above each cut.
const QSize pageSize(350, 2000);
const QList<Gap> gaps{{440, 460}, {1050, 1064}, {1404, 1424}};
const QList<double> gapMiddles{450, 1057, 1414};

} // namespace

class TestCalmCuts : public QObject
{
    Q_OBJECT

private slots:
    void cutsThroughTheMiddleOfGapsOnADarkPicture();
    void togglesBetweenTwoPlaces();
    void goesByTheRegularPlaces();
    void reachesNoFurtherThanADrag();
    void staysIfAStripWouldBecomeTooLow();
    void saysThatACutGoesThroughContent();
    void brightIsTheRuleWithoutAnother();
    void windowPlacesCutsOnLoading();
    void windowKeepsItsPages();
};

void TestCalmCuts::cutsThroughTheMiddleOfGapsOnADarkPicture()
{
    Document document(darkText(pageSize, gaps), equalBands(4, 350, 500));
    document.place();
    QCOMPARE(document.cuts(), gapMiddles);
    QCOMPARE(document.strips.at(1)->sourceRect(), QRectF(0, 450, 350, 607));
    QCOMPARE(document.strips.last()->sourceRect(), QRectF(0, 1414, 350, 586));
}

void TestCalmCuts::togglesBetweenTwoPlaces()
{
    Document document(darkText(pageSize, gaps), equalBands(4, 350, 500));
    const QList<double> regular = document.cuts();
    for (int run = 0; run < 3; ++run) {
        document.place();
        QCOMPARE(document.cuts(), gapMiddles);
        document.place();
        QCOMPARE(document.cuts(), regular);
    }
}

void TestCalmCuts::goesByTheRegularPlaces()
{
    // Whatever the first cut does, the second one finds the same gap.
    for (const Gap &first : {Gap{402, 418}, Gap{492, 508}, Gap{582, 598}}) {
        Document document(darkText({350, 1500}, {first, {1082, 1098}}), equalBands(3, 350, 500));
        document.place();
        QCOMPARE(document.cuts(), (QList<double>{(first.first + first.end) / 2.0, 1090}));
    }
}

void TestCalmCuts::reachesNoFurtherThanADrag()
{
    Document document(darkText({350, 1000}, {{370, 398}, {604, 640}}), equalBands(2, 350, 500));
    document.place();
    const double cut = document.cuts().first();
    QVERIFY2(cut >= 400 && cut <= 600, qPrintable(QString::number(cut)));
    QVERIFY(document.strips.first()->isCutThroughContent());
}

void TestCalmCuts::staysIfAStripWouldBecomeTooLow()
{
    Document document(darkText({350, 1500}, {{430, 450}, {930, 950}}), equalBands(3, 350, 500));
    document.strips.first()->moveCut(260); // 760: the strip up to row 940 would have 180 rows
    document.strips.at(1)->autoPlaceCut(CutRule::Calm);
    QCOMPARE(document.cuts(), (QList<double>{760, 1000}));
    document.strips.first()->moveCut(-50); // 230 rows
    document.strips.at(1)->autoPlaceCut(CutRule::Calm);
    QCOMPARE(document.cuts(), (QList<double>{710, 940}));
}

void TestCalmCuts::saysThatACutGoesThroughContent()
{
    Document document(darkText({350, 1500}, {{480, 500}}), equalBands(3, 350, 500));
    document.place();
    QVERIFY(!document.strips.at(0)->isCutThroughContent());
    QVERIFY(document.strips.at(1)->isCutThroughContent());
    QVERIFY(!document.strips.at(2)->isCutThroughContent());
}

void TestCalmCuts::brightIsTheRuleWithoutAnother()
{
    const QImage image = darkText(pageSize, gaps);
    const QList<QRectF> bands = equalBands(4, 350, 500);
    Document document(image, bands);
    PlainChain plain(keptPixmap(image), bands);
    placeCuts(document.strips.first());
    plain.autoPlaceAll();
    QCOMPARE(firstDifference(document.strips.first(), plain), QString());
    QVERIFY(document.cuts() != gapMiddles);
}

void TestCalmCuts::windowPlacesCutsOnLoading()
{
    MainWindow window;
    window.setCutRule(CutRule::Calm);
    window.loadImageFile(savedPicture(darkText({350, 1999}, gaps), u"dark.png"_s));
    QCOMPARE(Document::cutsOf(stripsOf(window)), gapMiddles);
    window.onAutoCutClicked();
    QCOMPARE(Document::cutsOf(stripsOf(window)), (QList<double>{500, 1000, 1500}));
    window.onAutoCutClicked();
    QCOMPARE(Document::cutsOf(stripsOf(window)), gapMiddles);
}

void TestCalmCuts::windowKeepsItsPages()
{
    const QString path = savedPicture(darkText({350, 1999}, gaps), u"dark.png"_s);
    for (const CutRule rule : {CutRule::Bright, CutRule::Calm}) {
        MainWindow window;
        window.setCutRule(rule);
        window.loadImageFile(path);
        const QList<PageItem *> strips = stripsOf(window);
        QCOMPARE(strips.size(), 4);
        for (const PageItem *strip : strips) {
            QCOMPARE(strip->outputPages().size(), 2);
        }
    }
}

QUILLMARCH_TEST_MAIN(TestCalmCuts)
#include "tst_calmcuts.moc"
