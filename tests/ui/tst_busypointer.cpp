#include "output/previewitem.h"
#include "page/pageitem.h"
#include "support/documents.h"
#include "support/testmain.h"
#include "ui/mainview.h"
#include "ui/popup.h"
#include "ui/windowaccess.h"

#include <QComboBox>
#include <QFileDialog>
#include <QGraphicsScene>
#include <QLineEdit>
#include <QPrintDialog>

using namespace Qt::StringLiterals;

namespace {

bool isBusy()
{
    const QCursor *cursor = QGuiApplication::overrideCursor();
    return cursor != nullptr && cursor->shape() == Qt::WaitCursor;
}

/// An output page that takes note of the pointer when somebody asks for its size.
class WatchingPage : public PreviewItem
{
public:
    WatchingPage(PageItem *strip, int &busyCalls)
        : PreviewItem(strip, 1)
        , count(busyCalls)
    {
        setZValue(1);
    }

    QRectF boundingRect() const override
    {
        count += isBusy() ? 1 : 0;
        return PreviewItem::boundingRect();
    }

private:
    int &count;
};

/// The pointer at the moment when the toast comes up.
class ToastWatch : public QObject
{
public:
    explicit ToastWatch(const MainWindow &window) { window.findChild<PopUp *>()->installEventFilter(this); }

    int calmToasts = 0;
    int busyToasts = 0;

    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::Show) {
            ++(isBusy() ? busyToasts : calmToasts);
        }
        return false;
    }
};

QString documentPath()
{
    return savedPicture(blockPicture(70, 490), u"document.png"_s);
}

/// How often the strips are rebuilt with the busy pointer while \a work runs.
int busyRebuilds(const MainWindow &window, const std::function<void()> &work)
{
    int count = 0;
    const auto connection = QObject::connect(mainViewOf(window)->scene(), &QGraphicsScene::sceneRectChanged, &window,
                                             [&count] { count += isBusy() ? 1 : 0; });
    work();
    QObject::disconnect(connection);
    return count;
}

} // namespace

class TestBusyPointer : public QObject
{
    Q_OBJECT

private slots:
    void init() { forgetEverything(); }
    void cleanup() { QCOMPARE(QGuiApplication::overrideCursor(), nullptr); }

    void showsWhileAFileIsOpened();
    void endsBeforeTheToastOfARefusedFile();
    void showsWhileBordersAreTrimmed();
    void endsBeforeTheToastOfATrim();
    void showsWhileAFileIsExported();
    void showsWhileADocumentIsPrinted();
};

void TestBusyPointer::showsWhileAFileIsOpened()
{
    MainWindow window;
    QCOMPARE(busyRebuilds(window, [&] { window.loadImageFile(documentPath()); }), 1);
}

void TestBusyPointer::endsBeforeTheToastOfARefusedFile()
{
    MainWindow window;
    const ToastWatch watch(window);
    window.loadImageFile(savedBytes("no image", u"broken.png"_s));
    QCOMPARE(watch.calmToasts, 1);
    QCOMPARE(watch.busyToasts, 0);
}

void TestBusyPointer::showsWhileBordersAreTrimmed()
{
    MainWindow window;
    window.loadImageFile(writePicture(QSize(200, 1000)));
    QCOMPARE(busyRebuilds(window, [&] { trigger(window, "autoTrimAction"); }), 1);
}

void TestBusyPointer::endsBeforeTheToastOfATrim()
{
    MainWindow window;
    QImage blank(80, 300, QImage::Format_RGB32);
    blank.fill(Qt::white);
    window.loadImageFile(savedPicture(blank, u"blank.png"_s));
    const ToastWatch watch(window);
    trigger(window, "autoTrimAction");
    QCOMPARE(watch.calmToasts, 1);
    QCOMPARE(watch.busyToasts, 0);
}

void TestBusyPointer::showsWhileAFileIsExported()
{
    MainWindow window;
    window.loadImageFile(documentPath());
    int busyCalls = 0;
    pagesOf(window).first()->scene()->addItem(new WatchingPage(stripsOf(window).first(), busyCalls));
    const ToastWatch watch(window);
    const QString path = QDir::current().filePath(u"busy.pdf"_s);
    QFile::remove(path); // or the dialog would ask a question
    bool wasCalm = false;
    onNextDialog<QFileDialog>([&](QFileDialog *dialog) {
        wasCalm = !isBusy();
        dialog->findChild<QLineEdit *>(u"fileNameEdit"_s)->setText(path);
        static_cast<QDialog *>(dialog)->accept();
    });
    trigger(window, "exportPdfAction");
    QVERIFY(QFile::exists(path));
    QVERIFY(wasCalm);
    QCOMPARE_GT(busyCalls, 0);
    QCOMPARE(watch.calmToasts, 1);
    QCOMPARE(watch.busyToasts, 0);
}

void TestBusyPointer::showsWhileADocumentIsPrinted()
{
    MainWindow window;
    window.loadImageFile(documentPath());
    int busyCalls = 0;
    pagesOf(window).first()->scene()->addItem(new WatchingPage(stripsOf(window).first(), busyCalls));
    const QString path = QDir::current().filePath(u"busy-print.pdf"_s);
    bool wasCalm = false;
    onNextDialog<QPrintDialog>([&](QPrintDialog *dialog) {
        wasCalm = !isBusy();
        auto *printers = dialog->findChild<QComboBox *>(u"printers"_s);
        printers->setCurrentIndex(printers->count() - 1); // the PDF file
        dialog->findChild<QLineEdit *>(u"filename"_s)->setText(path);
        static_cast<QDialog *>(dialog)->accept();
    });
    trigger(window, "printAction");
    QVERIFY(QFile::exists(path));
    QVERIFY(wasCalm);
    QCOMPARE_GT(busyCalls, 0);
}

QUILLMARCH_TEST_MAIN(TestBusyPointer)
#include "tst_busypointer.moc"
