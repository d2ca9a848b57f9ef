#include "app/mainwindow.h"

#include "app/settings.h"
#include "output/documentitems.h"
#include "output/previewitem.h"
#include "page/pageitem.h"
#include "pixels/imagefile.h"
#include "ui/busypointer.h"
#include "ui/customsplitter.h"
#include "ui/leftview.h"
#include "ui/mainview.h"
#include "ui/popup.h"

#include <QAction>
#include <QFileDialog>
#include <QGraphicsScene>

#include <optional>

using namespace Qt::StringLiterals;

namespace {

/// Adds \a pages to \a scene. Returns their total height, including gaps.
double addPages(QGraphicsScene *scene, const QList<PreviewItem *> &pages)
{
    double height = 0;
    for (PreviewItem *page : pages) {
        scene->addItem(page);
        height += page->boundingRect().height() + page->pageGap();
    }
    return height;
}

} // namespace

MainWindow::MainWindow()
{
    setWindowTitle(tr("墨舟卷轴翻页器"));
    createActions();
    createMenus();
    createViews();
    createScenes();

    splitter = new CustomSplitter;
    splitter->addWidget(leftView);
    splitter->addWidget(mainView);
    splitter->setSizes({50000, 50000});
    setCentralWidget(splitter);
    createToolBar();
    createStatusBar();

    if (!restoreWindowState()) {
        setGeometry(defaultGeometry());
    }
    restoreSplitterState();
    setSceneRectsFromViews();
    autoPage = true;
    setUnifiedTitleAndToolBarOnMac(true);
    popUp = new PopUp(this);
    styleToolBar();
    createUpdater();
    showVersionSoon();
}

MainWindow::~MainWindow() = default;

void MainWindow::loadImageFile(const QString &path)
{
    std::optional<BusyPointer> busy(std::in_place);
    sourcePixmap = decodeImageFile(path);
    if (isLargeEnough(sourcePixmap.size())) {
        rebuildDocument();
        mainView->scrollToTop();
        leftView->scrollToTop();
        return;
    }
    busy.reset();
    popUp->setPopupText(tr("不支持的图片格式或文件已损坏"));
    popUp->show();
}

void MainWindow::rebuildDocument()
{
    if (isLargeEnough(sourcePixmap.size())) {
        resetMinAspect();
        resetColumnMaxHeight();
        pageScene->clear();
        fitViews();
        addStripsAndPages();
        if (autoPage) {
            onAutoCutClicked();
        }
        fitViews();
        for (QAction *action : documentActions()) {
            action->setEnabled(true);
        }
    }
    mainView->showScrollBars();
    leftView->showScrollBars();
}

void MainWindow::setAutoPage(bool on)
{
    autoPage = on;
}

void MainWindow::setCutRule(CutRule rule)
{
    cutRule = rule;
}

void MainWindow::setLanguage(const QString &code)
{
    language = code;
}

void MainWindow::onOpenClicked()
{
    const QString path = QFileDialog::getOpenFileName(this, tr("打开图像或PDF文件"), rememberedFolder(u"imagedir"_s),
                                                      tr("文件(*.pdf *.jpg *.png *.jpeg)"), nullptr, {});
    if (path.isEmpty()) {
        return;
    }
    rememberFolderOf(path, u"imagedir"_s); // even if the file cannot be read
    loadImageFile(path);
}

void MainWindow::onResizeClicked()
{
    // Connected to nothing.
}

void MainWindow::onHelpClicked()
{
    // The guide has no content yet.
}

void MainWindow::onExitClicked()
{
    close();
}

/// Fills the three scenes from the source image: a strip and a one-column page for
/// each band, and a two-column page for every four bands.
void MainWindow::addStripsAndPages()
{
    // The old pages still point to strips that the caller has deleted, so no event
    // may be processed before all three scenes are clear.
    pageScene->clear();
    oneColumnScene->clear();
    twoColumnScene->clear();

    QString margin;
    readConfigValue(configFilePath(), u"marginsc"_s, margin);
    const DocumentItems items = makeDocumentItems(sourcePixmap, unsigned(margin.isEmpty() ? 10 : margin.toInt()));

    double stripsHeight = 0;
    for (PageItem *strip : items.strips) {
        pageScene->addItem(strip);
        stripsHeight += strip->boundingRect().height();
    }
    const double oneColumnHeight = addPages(oneColumnScene, items.oneColumnPages);
    const double twoColumnHeight = addPages(twoColumnScene, items.twoColumnPages);
    const double pageWidth = items.oneColumnPages.last()->boundingRect().width();

    pageScene->setSceneRect(0, 0, sourcePixmap.width(), stripsHeight);
    oneColumnScene->setSceneRect(0, 0, pageWidth, oneColumnHeight);
    twoColumnScene->setSceneRect(0, 0, pageWidth, twoColumnHeight);
}
