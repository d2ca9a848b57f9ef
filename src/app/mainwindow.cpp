#include "app/mainwindow.h"

#include "app/settings.h"
#include "output/previewitem.h"
#include "page/pageitem.h"
#include "ui/customsplitter.h"
#include "ui/leftview.h"
#include "ui/mainview.h"
#include "ui/popup.h"

#include <QAction>
#include <QFileDialog>
#include <QFileInfo>
#include <QGraphicsScene>
#include <QImageReader>

#include <algorithm>
#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;

namespace {

// An image of this size, or less, on a side is refused, in pixels.
constexpr int refusedSide = 10;

// Width to height of a strip at its regular cuts.
constexpr double stripAspect = 0.7;

constexpr int stripsPerTwoColumnPage = 4;

constexpr int smallestLimit = 256; // mebibytes, as are the others
constexpr int limitHeadroom = 32;
constexpr int limitForUnknownSize = 1024;

/// How much memory an image of \a size may take, in mebibytes: four bytes a
/// pixel and some headroom, the fixed default where that is too little.
int allocationLimit(QSize size)
{
    if (size.width() < 0 || size.height() < 0) {
        return limitForUnknownSize;
    }
    // Unsigned: the largest size that a header can state passes 63 bits.
    const quint64 bytes = quint64(size.width()) * quint64(size.height()) * 4;
    return int(
        std::clamp<quint64>(((bytes + 0xFFFFF) >> 20) + limitHeadroom, smallestLimit, std::numeric_limits<int>::max()));
}

QPixmap decodeImage(const QString &path)
{
    const QFileInfo file(path);
    if (file.exists() && !file.isFile() && !file.isDir()) {
        return {}; // opening a pipe would block the window for good
    }
    QImageReader reader(path, QByteArray());
    reader.setAutoTransform(true);
    QImageReader::setAllocationLimit(allocationLimit(reader.size()));
    const QImage image = reader.read();
    if (!image.isNull()) {
        return QPixmap::fromImage(image, Qt::NoFormatConversion);
    }
    QPixmap pixmap;
    pixmap.load(path);
    return pixmap;
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
    sourcePixmap = path.toLower().endsWith(".pdf"_L1) ? QPixmap() : decodeImage(path);
    if (sourcePixmap.width() > refusedSide && sourcePixmap.height() > refusedSide) {
        rebuildDocument();
    } else {
        popUp->setPopupText(tr("不支持的图片格式或文件已损坏"));
        popUp->show();
    }
}

void MainWindow::rebuildDocument()
{
    if (sourcePixmap.width() > refusedSide && sourcePixmap.height() > refusedSide) {
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
    rememberFolderOf(path, u"imagedir"_s); // also if the file turns out to be damaged
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

/// Fills the three scenes from the source image: for each band its strip, its
/// one-column page and, every fourth strip, a two-column page.
void MainWindow::addStripsAndPages()
{
    const double width = sourcePixmap.width();
    const double pageHeight = width / stripAspect;
    const auto stripCount = int(unsigned(sourcePixmap.height()) / unsigned(pageHeight) + 1);

    // No event may be processed from the first clear of the strips until here:
    // the old pages still point to them.
    pageScene->clear();
    oneColumnScene->clear();
    twoColumnScene->clear();

    QString margin;
    readConfigValue(configFilePath(), u"marginsc"_s, margin);
    const auto marginValue = unsigned(margin.isEmpty() ? 10 : margin.toInt());

    double stripsHeight = 0;
    double oneColumnHeight = 0;
    double twoColumnHeight = 0;
    double pageWidth = 0;
    PageItem *previousStrip = nullptr;
    PreviewItem *previousPage = nullptr;
    PreviewItem *currentTwoColumnPage = nullptr;
    for (int i = 0; i < stripCount; ++i) {
        const QRectF band(0, std::trunc(i * pageHeight), std::trunc(width), std::trunc(pageHeight));
        auto *strip = new PageItem(sourcePixmap, band); // the scene takes it
        strip->setPageIndex(i);
        if (previousStrip != nullptr) {
            previousStrip->linkNext(strip);
        }
        previousStrip = strip;
        pageScene->addItem(strip);

        auto *page = new PreviewItem(strip, 1); // the scene takes it
        page->setMarginPercent(marginValue);
        page->setPageNumber(i);
        if (previousPage != nullptr) {
            previousPage->setNextPage(page);
        }
        previousPage = page;
        oneColumnScene->addItem(page);

        if (i % stripsPerTwoColumnPage == 0) {
            auto *twoColumnPage = new PreviewItem(strip, 4); // the scene takes it
            twoColumnPage->setMarginPercent(marginValue);
            twoColumnPage->setPageNumber(i / stripsPerTwoColumnPage);
            twoColumnScene->addItem(twoColumnPage);
            twoColumnHeight += twoColumnPage->boundingRect().height() + twoColumnPage->pageGap();
            if (currentTwoColumnPage != nullptr) {
                currentTwoColumnPage->setNextPage(twoColumnPage);
            }
            currentTwoColumnPage = twoColumnPage;
        } else {
            currentTwoColumnPage->addStrip(strip);
        }

        oneColumnHeight += page->boundingRect().height() + page->pageGap();
        pageWidth = page->boundingRect().width();
        stripsHeight += strip->boundingRect().height();
    }

    pageScene->setSceneRect(0, 0, width, stripsHeight);
    oneColumnScene->setSceneRect(0, 0, pageWidth, oneColumnHeight);
    twoColumnScene->setSceneRect(0, 0, pageWidth, twoColumnHeight);
}
