// The actions of the random user.

#include "randomuser.h"

#include "app/mainwindow.h"
#include "output/previewitem.h"
#include "page/pageitem.h"
#include "support/configvalues.h"
#include "support/dialoganswer.h"
#include "support/useractions.h"
#include "support/windowprobe.h"
#include "ui/leftview.h"
#include "ui/mainview.h"
#include "ui/popup.h"
#include "ui/windowaccess.h"
#include "update/downloaddialogview.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QGraphicsScene>
#include <QGraphicsView>
#include <QPushButton>
#include <QScrollBar>
#include <QSplitter>
#include <QTest>
#include <QToolBar>
#include <QWheelEvent>

#include <algorithm>
#include <functional>

using namespace Qt::StringLiterals;

namespace {

const QByteArray checksumOfPackage = "aa42e4a1a1c3fd6d37be94a7a0b23c59";

/// Types \a path into the file dialog \a dialog and accepts or rejects it.
void answer(QWidget *dialog, const QString &path, bool accepts)
{
    auto *files = qobject_cast<QFileDialog *>(dialog);
    if (files != nullptr) {
        typePath(files, path);
        accepts ? static_cast<QDialog *>(files)->accept() : static_cast<QDialog *>(files)->reject();
    }
    if (dialog->isVisible()) {
        dialog->close(); // no such file, or the file is not to be replaced
    }
}

} // namespace

/// Clicks the tool button of the action or triggers the action.
void RandomUser::use(const char *name)
{
    QAction *action = actionOf(*window, name);
    QWidget *button = childOf<QToolBar>(*window, "mainToolbar")->widgetForAction(action);
    if (button != nullptr && button->isVisible() && button->isEnabled() && oneIn(2)) {
        QTest::mouseClick(button, Qt::LeftButton);
    } else {
        action->trigger();
    }
}

void RandomUser::noteOpened(const UserFile &file, bool chosen)
{
    if (!chosen) {
        return;
    }
    if (file.size.isValid()) {
        image = file.size;
        detached = false;
        noteRebuild();
    } else {
        detached = true;
        image = QSize(); // not checked for the document that remains
    }
}

void RandomUser::noteRebuild()
{
    change = Change::Rebuild;
    const QString percent = configValue(u"marginsc"_s);
    margins[0] = margins[1] = percent.isEmpty() ? 10 : quint32(percent.toInt());
}

void RandomUser::openByDialog()
{
    const UserFile file = oneIn(3) ? oneOf(world.badFiles) : oneOf(world.goodFiles);
    const bool accepts = !oneIn(4);
    done += u": %1%2"_s.arg(QFileInfo(file.path).fileName(), accepts ? QString() : u", cancelled"_s);
    const NextDialog dialog([&](QWidget *shown) { answer(shown, file.path, accepts); });
    use("openAction");
    const bool existing = QFileInfo(file.path).isFile();
    noteOpened(file, accepts && existing);
    toastDue = accepts && existing && !file.size.isValid();
}

void RandomUser::openByDrop()
{
    dropFile(oneIn(5) ? oneOf(world.badFiles) : oneOf(world.goodFiles));
}

void RandomUser::dropFile(const UserFile &file)
{
    done += u": %1"_s.arg(QFileInfo(file.path).fileName());
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(file.path)});
    if (oneIn(3)) {
        data.setUrls(data.urls() + QList{QUrl::fromLocalFile(world.goodFiles.first().path)});
    }
    drop(oneIn(2) ? window.get() : someView()->viewport(), data);
    noteOpened(file, true);
    toastDue = !file.size.isValid();
}

void RandomUser::dropSomethingElse()
{
    QMimeData data;
    if (oneIn(2)) {
        data.setText(u"text"_s);
    } else {
        data.setUrls({oneIn(2) ? QUrl(u"http://127.0.0.1/a.png"_s) : QUrl()});
    }
    drop(someView()->viewport(), data);
}

/// Scrolls to the handle of a strip, presses it, and moves and releases the
/// button anywhere.
void RandomUser::dragCut()
{
    const QList<PageItem *> chain = stripsOf(*window);
    if (chain.isEmpty()) {
        return;
    }
    PageItem *strip = oneOf(chain);
    QGraphicsView *view = mainViewOf(*window);
    QWidget *viewport = view->viewport();
    const QRectF handle = strip->handleRect();
    const QPointF grasp(handle.width() * 0.5, handle.y() + handle.height() * (0.1 + 0.2 * below(5)));
    view->centerOn(strip->mapToScene(grasp));
    const QPoint start = view->mapFromScene(strip->mapToScene(grasp));
    QTest::mouseMove(viewport, start);
    const Qt::MouseButton button = someButton();
    QTest::mousePress(viewport, button, {}, start);
    // The handle of a strip without height may cover the chosen one.
    const auto grasped = std::find_if(chain.cbegin(), chain.cend(), std::mem_fn(&PageItem::isDragging));
    strip = grasped != chain.cend() ? *grasped : strip;
    const bool last = strip->nextItem() == nullptr;
    draggedStrip = strip->pageIndex();
    change = strip->isDragging() && !last ? Change::OneCut : Change::None;
    for (quint32 moves = below(4); moves > 0; --moves) {
        const int near = viewport->height() / 3 + 1;
        QTest::mouseMove(
            viewport, oneIn(3) ? somePointAround(viewport) : start + QPoint(0, int(below(quint32(near) * 2)) - near));
    }
    if (oneIn(8)) { // a second button during the drag
        QTest::mousePress(viewport, Qt::RightButton, {}, start);
        QTest::mouseRelease(viewport, Qt::RightButton, {}, start);
    }
    const QPoint end = oneIn(3) ? somePointAround(viewport)
                                : start + QPoint(0, int(below(quint32(viewport->height()))) - viewport->height() / 2);
    QTest::mouseRelease(viewport, button, {}, end);
    done += u": strip %1, from %2, %3 to %4, %5"_s.arg(draggedStrip)
                .arg(start.x())
                .arg(start.y())
                .arg(end.x())
                .arg(end.y());
}

void RandomUser::pressOffTheHandle()
{
    QGraphicsView *view = mainViewOf(*window);
    const QPoint point = somePointIn(view->viewport());
    const auto *strip = dynamic_cast<PageItem *>(view->itemAt(point));
    if (strip != nullptr && strip->handleRect().contains(strip->mapFromScene(view->mapToScene(point)))) {
        return; // would start a drag
    }
    QTest::mouseMove(view->viewport(), point);
    QTest::mousePress(view->viewport(), someButton(), {}, point);
    QTest::mouseMove(view->viewport(), somePointAround(view->viewport()));
    for (const Qt::MouseButton button : {Qt::LeftButton, Qt::RightButton, Qt::MiddleButton}) {
        QTest::mouseRelease(view->viewport(), button, {}, somePointAround(view->viewport()));
    }
    if (oneIn(3)) {
        doubleClick(view->viewport(), point);
    }
}

void RandomUser::clickPage()
{
    QWidget *viewport = leftViewOf(*window)->viewport();
    const QPoint point = somePointIn(viewport);
    const Qt::KeyboardModifiers keys = oneIn(4) ? Qt::ControlModifier : Qt::NoModifier;
    QTest::mouseClick(viewport, someButton(), keys, point);
}

/// Double-clicks anywhere on the page, including its number.
void RandomUser::doubleClickPage()
{
    LeftView *view = leftViewOf(*window);
    const QPoint point = somePointIn(view->viewport());
    const bool onPage = view->itemAt(point) != nullptr;
    doubleClick(view->viewport(), point);
    numbersShown = numbersShown != onPage;
}

void RandomUser::stepMargin(const char *action, quint32 (*next)(quint32))
{
    use(action);
    if (hasDocument()) {
        quint32 &percent = margins[twoColumns ? 1 : 0];
        percent = next(percent);
    }
}

void RandomUser::decreaseMargin()
{
    stepMargin("decreaseMarginAction", [](quint32 percent) { return percent == 0 ? 0 : percent - 5; });
}

void RandomUser::increaseMargin()
{
    stepMargin("increaseMarginAction", [](quint32 percent) { return percent > 29 ? percent : percent + 5; });
}

void RandomUser::switchLayout()
{
    use("twoColsAction");
    twoColumns = twoColumns != hasDocument();
}

void RandomUser::switchPageNumbers()
{
    use("pageNumAction");
    numbersShown = numbersShown != hasDocument();
}

void RandomUser::trim()
{
    use("autoTrimAction");
    if (!detached && toastText(*window).isEmpty()) {
        image = QSize();
        noteRebuild();
    }
}

void RandomUser::zoom()
{
    const bool in = oneIn(2);
    use(in ? "zoomInAction" : "zoomOutAction");
    if (hasDocument() && in && 0.9 > fitRatio) {
        fitRatio += 0.05;
    } else if (hasDocument() && !in && fitRatio > 0.45) {
        fitRatio -= 0.05;
    }
}

void RandomUser::resizeWindow()
{
    switch (below(6)) {
    case 0:
        window->showMaximized();
        break;
    case 1:
        window->showNormal();
        break;
    case 2:
        window->move(int(below(300)) - 100, int(below(300)) - 100);
        break;
    default:
        window->showNormal();
        window->resize(int(below(500)) + 1, int(below(400)) + 1);
    }
}

void RandomUser::moveSplitter()
{
    auto *splitter = splitterOf(*window);
    QWidget *handle = splitter->handle(1);
    const QPoint middle = handle->rect().center();
    QTest::mousePress(handle, Qt::LeftButton, {}, middle);
    const QPoint end = middle + QPoint(int(below(600)) - 300, 0);
    QTest::mouseMove(handle, end);
    QTest::mouseRelease(handle, Qt::LeftButton, {}, end);
}

void RandomUser::scroll()
{
    const QGraphicsView *view = someView();
    if (oneIn(3)) {
        QScrollBar *bar = view->verticalScrollBar();
        bar->setValue(int(below(quint32(bar->maximum()) + 1)));
        return;
    }
    const QPointF middle = view->viewport()->rect().center();
    const QPoint turn(0, (int(below(9)) - 4) * 120);
    QWheelEvent wheel(middle, view->viewport()->mapToGlobal(middle), QPoint(), turn, Qt::NoButton,
                      oneIn(5) ? Qt::ControlModifier : Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(view->viewport(), &wheel);
}

void RandomUser::typeKeys()
{
    QWidget *target = oneIn(2) ? someView() : static_cast<QWidget *>(window.get());
    for (quint32 count = below(5); count > 0; --count) {
        QTest::keyClick(target,
                        oneOf(QList{Qt::Key_PageDown, Qt::Key_PageUp, Qt::Key_Home, Qt::Key_End, Qt::Key_Tab,
                                    Qt::Key_Left, Qt::Key_Down, Qt::Key_Escape, Qt::Key_A}));
    }
}

void RandomUser::exportPdf()
{
    if (!hasDocument()) {
        return;
    }
    const bool writable = !oneIn(5);
    const QString path = QDir::current().absoluteFilePath(writable ? u"pages.pdf"_s : u"nowhere/pages.pdf"_s);
    const bool accepts = !oneIn(4);
    exportFailed = accepts && !writable;
    QFile::remove(path);
    const NextDialog dialog([&](QWidget *shown) { answer(shown, path, accepts); });
    use("exportPdfAction");
    toastDue = accepts;
}

void RandomUser::showToast()
{
    auto *toast = toastOf(*window);
    toast->setPopupText(QString(below(60) + 1, u'文'));
    toast->show();
    toastDue = true;
    if (oneIn(2)) {
        toast->hideAnimation();
    }
}

void RandomUser::reportVersion()
{
    const QString path = oneOf(QStringList{u"/whole.zip"_s, u"/broken.zip"_s, u"/none.zip"_s});
    const QString checksum = oneOf(QStringList{QString(), QString::fromLatin1(checksumOfPackage), u"not a sum"_s});
    window->onVersionInfoReceived(oneOf(QStringList{u"3.0.0"_s, u"2.7.1"_s, u"nonsense"_s, QString()}), !oneIn(4),
                                  world.server.url(path).toString(), oneIn(2) ? QString() : QString(3000, u'记'),
                                  checksum, oneIn(2) ? QString() : u"19.5 KB"_s);
}

void RandomUser::downloadUpdate()
{
    auto *button = childOf<QPushButton>(*window, "updateButton");
    if (button->isHidden()) {
        reportVersion();
    }
    if (button->isHidden()) {
        return; // the report contained no update
    }
    const NextDialog dialog([&](QWidget *shown) {
        if (auto *download = qobject_cast<DownloadUpdateDialog *>(shown)) {
            handleDownload(*download);
        }
        shown->close();
    });
    button->click();
}

/// May start the download, and may wait for its end.
void RandomUser::handleDownload(DownloadUpdateDialog &dialog)
{
    const DialogView view(dialog);
    if (oneIn(4)) {
        (oneIn(2) ? view.skip : view.later)->click();
        return;
    }
    for (quint32 rounds = below(3); rounds > 0; --rounds) {
        view.update->click();
        if (oneIn(2)) {
            (void)QTest::qWaitFor([&] { return view.status->text() != u"准备下载..."_s; }, 20000);
        }
    }
    if (oneIn(2)) {
        view.openFolder->click();
        view.close->click();
    }
}

void RandomUser::showAbout()
{
    const NextDialog dialog([](QWidget *shown) { shown->close(); });
    actionOf(*window, "aboutAction")->trigger();
}

void RandomUser::closeAndReopen()
{
    window->close();
    if (oneIn(2)) {
        QCoreApplication::processEvents();
    }
    window->show();
}

/// As restarting the program would do, except that page numbers stay on.
void RandomUser::renewWindow()
{
    clearWindow();
    autoPage = !oneIn(4);
    cutRule = oneIn(3) ? CutRule::Calm : CutRule::Bright;
    createWindow();
    dropFile(oneOf(world.goodFiles));
}
