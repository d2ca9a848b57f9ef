#include "app/mainwindow.h"
#include "support/pictures.h"
#include "support/testmain.h"
#include "support/windowprobe.h"
#include "ui/leftview.h"
#include "ui/mainview.h"

#include <QGraphicsScene>
#include <QResizeEvent>
#include <QScrollBar>

#include <cmath>

namespace {

/// Counts the resize events of a widget.
class ResizeCounter : public QObject
{
public:
    explicit ResizeCounter(QWidget *widget) { widget->installEventFilter(this); }

    int count = 0;
    QSize smallest{10000, 10000}; // of each dimension

    bool eventFilter(QObject *object, QEvent *event) override
    {
        if (event->type() == QEvent::Resize) {
            if (++count > 200) {
                static_cast<QWidget *>(object)->window()->hide(); // breaks an endless loop
            }
            smallest = smallest.boundedTo(static_cast<QResizeEvent *>(event)->size());
        }
        return false;
    }
};

} // namespace

class TestScrollBarLoop : public QObject
{
    Q_OBJECT

private slots:
    void settlesAtEverySize_data();
    void settlesAtEverySize();
    void settlesInANarrowView();
    void fitsAViewThatIsWidenedByTheWidthOfABar();
};

void TestScrollBarLoop::settlesAtEverySize_data()
{
    QTest::addColumn<QSize>("picture");
    QTest::addColumn<int>("firstHeight");
    QTest::addColumn<int>("lastHeight");
    QTest::newRow("one strip") << QSize(800, 900) << 400 << 900;
    QTest::newRow("eight strips") << QSize(800, 9000) << 500 << 620;
}

void TestScrollBarLoop::settlesAtEverySize()
{
    QFETCH(QSize, picture);
    QFETCH(int, firstHeight);
    QFETCH(int, lastHeight);
    MainWindow window;
    window.resize(1066, firstHeight);
    window.loadImageFile(savedPicture(textPicture(picture.width(), picture.height()), QStringLiteral("loop.png")));
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    MainView *mainView = mainViewOf(window);
    LeftView *leftView = leftViewOf(window);
    bool wasHidden = false;
    for (int height = firstHeight; height <= lastHeight; height += 2) {
        ResizeCounter mainResizes(mainView->viewport());
        ResizeCounter leftResizes(leftView->viewport());
        window.resize(1066, height);
        for (int i = 0; i < 60; ++i) {
            QCoreApplication::processEvents(); // a loop continues through posted events
        }
        QVERIFY2(mainResizes.count + leftResizes.count < 20,
                 qPrintable(QStringLiteral("%1 and %2 resizes at height %3")
                                .arg(mainResizes.count)
                                .arg(leftResizes.count)
                                .arg(height)));
        wasHidden = wasHidden || !mainView->verticalScrollBar()->isVisible();
        // The scene takes its share of the width, or a little less if a larger scale is not stable.
        const double scene = mainView->sceneRect().width() * mainView->transform().m11();
        const double share = mainView->viewport()->width() * mainView->fitRatio();
        QVERIFY(scene <= share + 0.01 && scene > share - 0.75 * 20);
    }
    QVERIFY(wasHidden || picture.height() > 1000);
}

void TestScrollBarLoop::settlesInANarrowView()
{
    QGraphicsScene scene(0, 0, 13.2, 54); // one page of an image of 11 x 11
    LeftView view(nullptr);
    view.setScene(&scene);
    view.showScrollBars();
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    bool hadBothBars = false;
    for (int width = 40; width <= 120; ++width) {
        ResizeCounter resizes(view.viewport());
        view.resize(width, int(54 * 0.8 * width / 13.2) - 2);
        for (int i = 0; i < 60; ++i) {
            QCoreApplication::processEvents();
        }
        hadBothBars = hadBothBars || resizes.smallest.boundedTo(view.size() - QSize(1, 1)) == resizes.smallest;
        QVERIFY2(resizes.count < 20,
                 qPrintable(QStringLiteral("%1 resizes at width %2").arg(resizes.count).arg(width)));
    }
    QVERIFY(hadBothBars);
}

void TestScrollBarLoop::fitsAViewThatIsWidenedByTheWidthOfABar()
{
    QGraphicsScene scene(0, 0, 13.2, 54);
    LeftView view(nullptr);
    view.setScene(&scene);
    view.showScrollBars();
    view.resize(34, 209);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    const int barWidth = view.verticalScrollBar()->sizeHint().width();
    bool wasHidden = false;
    for (int width = 34; width <= 134; width += barWidth) {
        view.resize(width, 209);
        QCoreApplication::processEvents();
        const double fittedTo = view.transform().m11() * scene.width() / 0.8;
        const int available = view.viewport()->width();
        wasHidden = wasHidden || available == width;
        // A view in which a bar would come and go is fitted to the width beside the bar.
        QVERIFY2(std::abs(fittedTo - available) <= (available == width ? barWidth : 0) + 0.01,
                 qPrintable(QStringLiteral("%1 instead of %2 in %3").arg(fittedTo).arg(available).arg(width)));
    }
    QVERIFY(wasHidden);
}

QUILLMARCH_TEST_MAIN(TestScrollBarLoop)
#include "tst_scrollbarloop.moc"
