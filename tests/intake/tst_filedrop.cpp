#include "app/mainwindow.h"
#include "output/previewitem.h"
#include "page/pageitem.h"
#include "support/configvalues.h"
#include "support/imagecomparison.h"
#include "support/pictures.h"
#include "support/testmain.h"
#include "support/useractions.h"
#include "support/windowprobe.h"
#include "ui/leftview.h"
#include "ui/mainview.h"

#include <QDir>
#include <QGraphicsScene>
#include <QMimeData>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace {

const QString failure = u"不支持的图片格式或文件已损坏"_s;

} // namespace

class TestFileDrop : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void opensTheFileWhereverItIsDropped_data();
    void opensTheFileWhereverItIsDropped();
    void opensName_data();
    void opensName();
    void doesNotFindPercentEncodedNames_data();
    void doesNotFindPercentEncodedNames();
    void ignoresAddress_data();
    void ignoresAddress();
    void ignoresDropWithoutAddress();
    void opensTheFirstOfTwoFiles();
    void usesOnlyTheFirstUrl();
    void reportsDamagedFiles_data();
    void reportsDamagedFiles();
    void keepsTheFolderOfTheDialog();
    void acceptsEveryDrag_data();
    void acceptsEveryDrag();
    void scenesNeverSeeADrag();
};

void TestFileDrop::init()
{
    clearConfigValues();
}

void TestFileDrop::opensTheFileWhereverItIsDropped_data()
{
    QTest::addColumn<int>("place");
    QTest::newRow("window") << 0;
    QTest::newRow("main view") << 1;
    QTest::newRow("left view") << 2;
    QTest::newRow("viewport of the main view") << 3;
    QTest::newRow("viewport of the left view") << 4;
}

void TestFileDrop::opensTheFileWhereverItIsDropped()
{
    QFETCH(int, place);
    const QImage image = blockPicture(70, 90);
    MainWindow window;
    window.show();
    const QList<QWidget *> targets{&window, mainViewOf(window), leftViewOf(window), mainViewOf(window)->viewport(),
                                   leftViewOf(window)->viewport()};
    const DropOutcome outcome =
        dropUrls(targets.at(place), {QUrl::fromLocalFile(savedPicture(image, u"dropped.png"_s))});
    QVERIFY(outcome.entered);
    QCOMPARE(outcome.action, Qt::CopyAction);
    QCOMPARE(toastText(window), QString());
    QCOMPARE(firstDifference(shownPicture(window, image.size()), image), QString());

    const QImage second = blockPicture(70, 90, 2); // once more, with items in the views
    dropUrls(targets.at(place), {QUrl::fromLocalFile(savedPicture(second, u"second.png"_s))});
    QCOMPARE(firstDifference(shownPicture(window, second.size()), second), QString());
}

void TestFileDrop::opensName_data()
{
    QTest::addColumn<QString>("name");
    for (const QString &name : {u"plain.png"_s, u"with blanks in it.png"_s, u"长图 第一页.png"_s, u"é ü.png"_s,
                                u"a+b&c=d,e;f.png"_s, u"(1) 'quoted'.png"_s, u"UPPER.PNG"_s, u"no suffix"_s}) {
        QTest::newRow(qPrintable(name)) << name;
    }
}

void TestFileDrop::opensName()
{
    QFETCH(QString, name);
    const QImage image = blockPicture(70, 90);
    QDir::current().mkpath(u"drop 夹"_s);
    MainWindow window;
    dropUrls(&window, {QUrl::fromLocalFile(savedPicture(image, u"drop 夹/"_s + name, "PNG"))});
    QCOMPARE(toastText(window), QString());
    QCOMPARE(firstDifference(shownPicture(window, image.size()), image), QString());
}

void TestFileDrop::doesNotFindPercentEncodedNames_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("encoded"); // the file that is opened instead, if it exists
    QTest::newRow("per cent") << u"100%.png"_s << u"100%25.png"_s;
    QTest::newRow("number sign") << u"no #1.png"_s << u"no %231.png"_s;
    QTest::newRow("question mark") << u"which?.png"_s << u"which%3F.png"_s;
}

void TestFileDrop::doesNotFindPercentEncodedNames()
{
    QFETCH(QString, name);
    QFETCH(QString, encoded);
    const QUrl url = QUrl::fromLocalFile(savedPicture(blockPicture(70, 90), name));
    MainWindow window;
    dropUrls(&window, {url});
    QCOMPARE(toastText(window), failure);
    QVERIFY(stripsOf(window).isEmpty());

    const QImage other = blockPicture(70, 90, 2);
    savedPicture(other, encoded);
    dropUrls(&window, {url});
    QCOMPARE(firstDifference(shownPicture(window, other.size()), other), QString());
}

void TestFileDrop::ignoresAddress_data()
{
    QTest::addColumn<QUrl>("url");
    const QString path = savedPicture(blockPicture(70, 90), u"dropped.png"_s);
    QTest::newRow("web") << QUrl(u"https://pictures.example/long.png"_s);
    QTest::newRow("another host") << QUrl(u"file://host"_s + path);
    QTest::newRow("path alone") << QUrl(path);
    QTest::newRow("resource") << QUrl(u"qrc:/images/sitelogo.png"_s);
    QTest::newRow("empty") << QUrl();
    QTest::newRow("data") << QUrl(u"data:text/plain,file:///"_s);
}

void TestFileDrop::ignoresAddress()
{
    QFETCH(QUrl, url);
    MainWindow window;
    window.loadImageFile(savedPicture(blockPicture(70, 450), u"before.png"_s));
    const QList<PageItem *> strips = stripsOf(window);
    QVERIFY(dropUrls(&window, {url}).entered);
    QCOMPARE(toastText(window), QString());
    QCOMPARE(stripsOf(window), strips);
}

void TestFileDrop::ignoresDropWithoutAddress()
{
    MainWindow window;
    window.loadImageFile(savedPicture(blockPicture(70, 450), u"before.png"_s));
    const QList<PageItem *> strips = stripsOf(window);
    QMimeData nothing;
    QMimeData text;
    text.setText(QUrl::fromLocalFile(savedPicture(blockPicture(70, 90), u"dropped.png"_s)).toString());
    QMimeData image;
    image.setImageData(blockPicture(70, 90));
    QMimeData noUrls;
    noUrls.setUrls({});
    for (const QMimeData *data : {&nothing, &text, &image, &noUrls}) {
        QVERIFY(drop(&window, *data).entered);
        QCOMPARE(toastText(window), QString());
        QCOMPARE(stripsOf(window), strips);
    }
}

void TestFileDrop::opensTheFirstOfTwoFiles()
{
    const QImage first = blockPicture(70, 90, 1);
    const QImage second = blockPicture(70, 90, 2);
    MainWindow window;
    dropUrls(&window,
             {QUrl::fromLocalFile(savedPicture(first, u"first.png"_s)),
              QUrl::fromLocalFile(savedPicture(second, u"second.png"_s))});
    QCOMPARE(firstDifference(shownPicture(window, first.size()), first), QString());
}

void TestFileDrop::usesOnlyTheFirstUrl()
{
    MainWindow window;
    dropUrls(&window,
             {QUrl(u"https://pictures.example/long.png"_s),
              QUrl::fromLocalFile(savedPicture(blockPicture(70, 90), u"second.png"_s))});
    QCOMPARE(toastText(window), QString());
    QVERIFY(stripsOf(window).isEmpty());
}

void TestFileDrop::reportsDamagedFiles_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("damaged") << savedBytes("no image", u"damaged.png"_s);
    QTest::newRow("PDF by name") << savedPicture(blockPicture(70, 90), u"picture.Pdf"_s, "PNG");
    QTest::newRow("small") << savedPicture(blockPicture(10, 90), u"small.png"_s);
    QTest::newRow("folder") << QDir::currentPath();
    QTest::newRow("missing") << QDir::current().absoluteFilePath(u"absent.png"_s);
}

void TestFileDrop::reportsDamagedFiles()
{
    QFETCH(QString, path);
    MainWindow window;
    dropUrls(&window, {QUrl::fromLocalFile(path)});
    QCOMPARE(toastText(window), failure);
    QVERIFY(stripsOf(window).isEmpty());
}

void TestFileDrop::keepsTheFolderOfTheDialog()
{
    MainWindow window;
    dropUrls(&window, {QUrl::fromLocalFile(savedPicture(blockPicture(70, 90), u"dropped.png"_s))});
    QCOMPARE(configValue(u"imagedir"_s), QString());
    dropUrls(&window, {QUrl::fromLocalFile(savedBytes("no image", u"damaged.png"_s))});
    QCOMPARE(configValue(u"imagedir"_s), QString());
}

void TestFileDrop::acceptsEveryDrag_data()
{
    QTest::addColumn<Qt::DropAction>("action");
    QTest::newRow("copy") << Qt::CopyAction;
    QTest::newRow("move") << Qt::MoveAction;
    QTest::newRow("link") << Qt::LinkAction;
}

void TestFileDrop::acceptsEveryDrag()
{
    QFETCH(Qt::DropAction, action);
    MainWindow window;
    QMimeData data;
    data.setData(u"application/x-anything"_s, "bytes");
    const QList<QWidget *> targets{&window, mainViewOf(window)->viewport(), leftViewOf(window)->viewport()};
    for (QWidget *target : targets) {
        const DropOutcome outcome = drop(target, data, action);
        QVERIFY(outcome.entered);
        QCOMPARE(outcome.action, action); // as proposed
    }
}

void TestFileDrop::scenesNeverSeeADrag()
{
    class Watcher : public QObject
    {
    public:
        int drags = 0;

    protected:
        bool eventFilter(QObject *, QEvent *event) override
        {
            const QEvent::Type type = event->type();
            drags += type == QEvent::GraphicsSceneDragEnter || type == QEvent::GraphicsSceneDrop ? 1 : 0;
            return false;
        }
    };
    MainWindow window;
    window.show();
    window.loadImageFile(savedPicture(blockPicture(70, 450), u"before.png"_s));
    Watcher watcher;
    mainViewOf(window)->scene()->installEventFilter(&watcher);
    leftViewOf(window)->scene()->installEventFilter(&watcher);
    const QUrl url = QUrl::fromLocalFile(savedPicture(blockPicture(70, 90), u"dropped.png"_s));
    dropUrls(mainViewOf(window)->viewport(), {url});
    dropUrls(leftViewOf(window)->viewport(), {url});
    QCOMPARE(watcher.drags, 0);
    QCOMPARE(stripsOf(window).size(), 1);
}

QUILLMARCH_TEST_MAIN(TestFileDrop)
#include "tst_filedrop.moc"
