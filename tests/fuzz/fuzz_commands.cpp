#include "app/mainwindow.h"
#include "fuzzing.h"
#include "inputbytes.h"
#include "page/pageitem.h"
#include "support/pictures.h"
#include "support/windowprobe.h"
#include "ui/leftview.h"
#include "ui/mainview.h"
#include "usedwindow.h"

#include <QApplication>
#include <QDir>
#include <QMouseEvent>
#include <QScrollBar>
#include <QSplitter>
#include <QStandardPaths>

#include <cmath>
#include <iterator>

using namespace Qt::StringLiterals;

namespace {

constexpr int maxCommands = 40;

/// Pictures of several shapes and formats, and three files that are rejected.
const QStringList &files()
{
    static const QStringList paths = {
        savedPicture(textPicture(300, 1600), u"text.png"_s),
        savedPicture(blockPicture(200, 900).convertToFormat(QImage::Format_ARGB32), u"blocks.png"_s),
        savedPicture(textPicture(150, 400).convertToFormat(QImage::Format_Mono), u"bits.png"_s),
        savedPicture(textPicture(150, 700).convertToFormat(QImage::Format_Grayscale16), u"deep.png"_s),
        savedPicture(blockPicture(600, 40), u"wide.png"_s),
        savedPicture(blockPicture(11, 400), u"thin.png"_s),
        savedPicture(blockPicture(10, 400), u"toothin.png"_s),
        savedBytes("no image", u"broken.png"_s),
        u"/missing/picture.png"_s,
    };
    return paths;
}

double heightOf(const MainWindow &window)
{
    double height = 0.0;
    const QList<PageItem *> strips = stripsOf(window);
    for (const PageItem *strip : strips) {
        height += strip->bodyRect().height();
    }
    return height;
}

void sendMouse(QGraphicsView *view, QEvent::Type type, QPointF place, Qt::MouseButtons held)
{
    const bool isMove = type == QEvent::MouseMove;
    const QPointF inWindow = view->viewport()->mapTo(view->window(), place);
    QMouseEvent event(type, place, inWindow, view->viewport()->mapToGlobal(place),
                      isMove ? Qt::NoButton : Qt::LeftButton, held, Qt::NoModifier);
    QApplication::sendEvent(view->viewport(), &event);
}

void click(QGraphicsView *view, InputBytes &script)
{
    const QPointF place(script.share() * view->viewport()->width(), script.share() * view->viewport()->height());
    sendMouse(view, QEvent::MouseMove, place, Qt::NoButton);
    sendMouse(view, script.byte() % 2 == 0 ? QEvent::MouseButtonPress : QEvent::MouseButtonDblClick, place,
              Qt::LeftButton);
    sendMouse(view, QEvent::MouseButtonRelease, place, Qt::NoButton);
}

/// Drags the handle of a strip to some position.
void dragCut(MainWindow &window, InputBytes &script)
{
    MainView *view = mainViewOf(window);
    const QList<PageItem *> strips = stripsOf(window);
    if (strips.isEmpty()) {
        return;
    }
    const PageItem *strip = strips.at(script.byte() % strips.size());
    const double height = heightOf(window);
    view->centerOn(strip->mapToScene(strip->handleRect().center()));
    const QRectF handle = strip->mapRectToScene(strip->handleRect());
    const QPointF start(handle.center().x(), handle.y() + script.share() * handle.height());
    const QPointF from = view->mapFromScene(start);
    const double reach = (script.share() - 0.5) * 2 * view->viewport()->height();
    sendMouse(view, QEvent::MouseMove, from, Qt::NoButton);
    sendMouse(view, QEvent::MouseButtonPress, from, Qt::LeftButton);
    sendMouse(view, QEvent::MouseMove, from + QPointF(0, reach / 2), Qt::LeftButton);
    draw(*view);
    sendMouse(view, QEvent::MouseMove, from + QPointF(0, reach), Qt::LeftButton);
    sendMouse(view, QEvent::MouseButtonRelease, from + QPointF(0, reach), Qt::NoButton);
    require(std::abs(heightOf(window) - height) < 0.01, "moving a cut keeps the total height of the strips");
}

/// Downloads a package without the network; its name and contents come from the
/// input.
void download(MainWindow &window, InputBytes &script)
{
    const QString url = "data:application/zip,"_L1 + script.text();
    window.onVersionInfoReceived(script.text(), true, url, script.text(), script.text(), script.text());
    window.startDownload();
    if (script.byte() % 2 == 0) {
        window.startDownload(); // replaces the running download
    }
    settle();
    settle();
    const QDir folder(QStandardPaths::writableLocation(QStandardPaths::DownloadLocation));
    const QStringList names = folder.entryList(QDir::Files | QDir::Hidden);
    for (const QString &name : names) {
        QFile::remove(folder.filePath(name));
    }
}

void resizeWindow(MainWindow &window, InputBytes &script)
{
    const int width = script.byte() * 8;
    window.resize(width, script.byte() * 8);
}

void reportVersion(MainWindow &window, InputBytes &script)
{
    const QString version = script.text();
    const bool hasUpdate = script.byte() % 2 == 0;
    window.onVersionInfoReceived(version, hasUpdate, QString(), script.text());
}

void moveSplitter(MainWindow &window, InputBytes &script)
{
    const int left = script.byte();
    splitterOf(window)->setSizes({left, script.byte()});
}

/// Whether the next file gets automatic cuts, and by which rule.
void choosePlacement(MainWindow &window, InputBytes &script)
{
    const int choice = script.byte();
    window.setAutoPage(choice % 2 == 0);
    window.setCutRule(choice / 2 % 2 == 0 ? CutRule::Bright : CutRule::Calm);
}

using Command = void (*)(MainWindow &window, InputBytes &script);

// A byte of the input selects one of these.
constexpr Command commands[]{
    [](MainWindow &window, InputBytes &script) { window.loadImageFile(files().at(script.byte() % files().size())); },
    [](MainWindow &window, InputBytes &) { window.onAutoTrimClicked(); },
    [](MainWindow &window, InputBytes &) { window.onTwoColsClicked(); },
    [](MainWindow &window, InputBytes &) { window.onExtandClicked(); },
    [](MainWindow &window, InputBytes &) { window.onShrinkClicked(); },
    [](MainWindow &window, InputBytes &) { window.onPageNumClicked(); },
    [](MainWindow &window, InputBytes &) { window.onZoominClicked(); },
    [](MainWindow &window, InputBytes &) { window.onZoomoutClicked(); },
    [](MainWindow &window, InputBytes &) { window.onAutoCutClicked(); },
    dragCut,
    dragCut, // twice as often as the others
    [](MainWindow &window, InputBytes &script) { click(leftViewOf(window), script); },
    [](MainWindow &window, InputBytes &script) { click(mainViewOf(window), script); },
    resizeWindow,
    choosePlacement,
    reportVersion,
    download,
    moveSplitter,
    [](MainWindow &window, InputBytes &script) {
        mainViewOf(window)->verticalScrollBar()->setValue(script.byte() * 16);
    },
    [](MainWindow &window, InputBytes &) { drawAndExport(window); },
};

void runCommand(MainWindow &window, InputBytes &script)
{
    commands[size_t(script.byte()) % std::size(commands)](window, script);
}

} // namespace

/// Runs a sequence of user commands.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    InputBytes script(data, size);
    MainWindow &window = usedWindow();
    resetWindow(window);
    for (int i = 0; i < maxCommands && !script.atEnd(); ++i) {
        runCommand(window, script);
        settle();
        requireConsistentDocument(window);
    }
    drawAndExport(window);
    return 0;
}
