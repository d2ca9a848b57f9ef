#include "app/mainwindow.h"
#include "page/pageitem.h"
#include "support/documents.h"
#include "support/testmain.h"
#include "ui/leftview.h"
#include "ui/mainview.h"

#include <QPainter>
#include <QScrollBar>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// Both views of a window of a fixed size.
class Views
{
public:
    Views()
    {
        clearConfigValues();
        window.resize(900, 600);
        window.show();
    }

    QList<QScrollBar *> bars() const
    {
        return {mainViewOf(window)->verticalScrollBar(), leftViewOf(window)->verticalScrollBar()};
    }

    void scrollTo(double share) const
    {
        for (QScrollBar *bar : bars()) {
            bar->setValue(int(bar->minimum() + share * (bar->maximum() - bar->minimum())));
        }
    }

    bool isAtTop() const
    {
        return std::ranges::all_of(bars(), [](const QScrollBar *bar) {
            return bar->maximum() > bar->minimum() && bar->value() == bar->minimum();
        });
    }

    MainWindow window;
};

QImage framedPicture()
{
    QImage picture(700, 9000, QImage::Format_RGB32);
    picture.fill(Qt::white);
    QPainter(&picture).drawImage(100, 100, textPicture(500, 8800));
    return picture;
}

} // namespace

class TestScrollPosition : public QObject
{
    Q_OBJECT

private slots:
    void showsTheTopOfANewFile_data();
    void showsTheTopOfANewFile();
    void staysAwayFromTheTopAtATrim();
    void staysWhereItIsIfAFileIsRefused();
};

void TestScrollPosition::showsTheTopOfANewFile_data()
{
    QTest::addColumn<QSize>("before"); // empty: it is the first file
    QTest::addColumn<double>("share"); // that is scrolled through before
    QTest::addColumn<bool>("twoColumns");
    QTest::newRow("first file") << QSize() << 0.0 << false;
    QTest::newRow("from the middle") << QSize(700, 9000) << 0.5 << false;
    QTest::newRow("from the end of a longer one") << QSize(700, 30000) << 1.0 << false;
    QTest::newRow("from the end of a shorter one") << QSize(700, 4000) << 1.0 << false;
    QTest::newRow("two columns") << QSize(700, 12000) << 0.7 << true;
}

void TestScrollPosition::showsTheTopOfANewFile()
{
    QFETCH(QSize, before);
    QFETCH(double, share);
    QFETCH(bool, twoColumns);
    Views views;
    MainWindow &window = views.window;
    if (!before.isEmpty()) {
        window.loadImageFile(savedPicture(textPicture(before.width(), before.height()), u"before.png"_s));
    }
    if (twoColumns) {
        trigger(window, "twoColsAction");
    }
    views.scrollTo(share);
    window.loadImageFile(savedPicture(textPicture(600, 20000), u"new.png"_s));
    QVERIFY(views.isAtTop());
    QCoreApplication::processEvents();
    QVERIFY(views.isAtTop());
}

void TestScrollPosition::staysAwayFromTheTopAtATrim()
{
    Views views;
    views.window.loadImageFile(savedPicture(framedPicture(), u"framed.png"_s));
    views.scrollTo(0.5);
    trigger(views.window, "autoTrimAction");
    QCOMPARE(stripsOf(views.window).first()->sourceRect().width(), 500.0);
    for (const QScrollBar *bar : views.bars()) {
        QVERIFY(bar->value() > bar->minimum());
    }
}

void TestScrollPosition::staysWhereItIsIfAFileIsRefused()
{
    Views views;
    views.window.loadImageFile(savedPicture(textPicture(700, 9000), u"good.png"_s));
    views.scrollTo(0.5);
    QList<int> places;
    for (const QScrollBar *bar : views.bars()) {
        places.append(bar->value());
    }
    views.window.loadImageFile(u"absent.png"_s);
    for (const QScrollBar *bar : views.bars()) {
        QCOMPARE(bar->value(), places.takeFirst());
    }
}

QUILLMARCH_TEST_MAIN(TestScrollPosition)
#include "tst_scrollposition.moc"
