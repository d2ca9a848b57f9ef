#include "app/mainwindow.h"

#include "base/buildconfig.h"
#include "ui/aboutdialog.h"
#include "ui/screendensity.h"
#include "ui/spokenname.h"

#include <QAction>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QStatusBar>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>

using namespace Qt::StringLiterals;

namespace {

constexpr int firstReportDelay = 1000; // milliseconds

} // namespace

/// Makes an action of the window. An empty \a shortcut or \a statusTip is left
/// out.
QAction *MainWindow::createAction(const char *name, const QString &text, const QString &shortcut,
                                  const QString &statusTip, const QIcon &icon, void (MainWindow::*slot)())
{
    auto *action = new QAction(icon, text, this);
    action->setObjectName(QLatin1StringView(name));
    if (!shortcut.isEmpty()) {
        action->setShortcut(QKeySequence(shortcut, QKeySequence::PortableText));
    }
    action->setStatusTip(statusTip);
    connect(action, &QAction::triggered, this, slot);
    return action;
}

void MainWindow::createActions()
{
    guideAction = createAction("guideAction", tr("指南"), tr("Ctrl+H"), tr("打开软件使用指南"), createHelpIcon(),
                               &MainWindow::onHelpClicked);
    decreaseMarginAction = createAction("decreaseMarginAction", tr("减少边距"), {}, tr("放大图片减少打印边距"),
                                        createDecreaseMarginIcon(), &MainWindow::onExtandClicked);
    increaseMarginAction = createAction("increaseMarginAction", tr("增加边距"), {}, tr("缩小图片增加打印边距"),
                                        createIncreaseMarginIcon(), &MainWindow::onShrinkClicked);
    zoomInAction = createAction("zoomInAction", tr("放大"), {}, tr("放大画布显示更多细节"), createZoomInIcon(),
                                &MainWindow::onZoominClicked);
    zoomOutAction = createAction("zoomOutAction", tr("缩小"), {}, tr("缩小画布显示更多图片"), createZoomOutIcon(),
                                 &MainWindow::onZoomoutClicked);
    openAction = createAction("openAction", tr("打开文件"), tr("Ctrl+O"), tr("打开需要处理的长图片文件"),
                              createOpenIcon(), &MainWindow::onOpenClicked);
    exportPdfAction = createAction("exportPdfAction", tr("导出为PDF"), tr("Ctrl+S"), tr("导出到PDF文件"),
                                   createExportPdfIcon(), &MainWindow::onSaveClicked);
    printAction = createAction("printAction", tr("打印"), tr("Ctrl+P"), tr("输出到打印机"), createPrintIcon(),
                               &MainWindow::onPrintClicked);
    exitAction = createAction("exitAction", tr("退出"), tr("Ctrl+X"), tr("关闭窗口退出应用程序"), {},
                              &MainWindow::onExitClicked);
    twoColsAction = createAction("twoColsAction", tr("双排"), {}, tr("页面单/双排输出切换"), createTwoColsIcon(),
                                 &MainWindow::onTwoColsClicked);
    pageNumAction = createAction("pageNumAction", tr("页码"), {}, tr("页码显示输出切换"), createPageNumIcon(),
                                 &MainWindow::onPageNumClicked);
    autoTrimAction = createAction("autoTrimAction", tr("自动切边"), {}, tr("去除原图四周空白并重新处理"),
                                  createAutoTrimIcon(), &MainWindow::onAutoTrimClicked);
    for (QAction *action : documentActions()) {
        action->setEnabled(false);
    }
}

QList<QAction *> MainWindow::documentActions() const
{
    QList<QAction *> actions{exportPdfAction, printAction,   decreaseMarginAction, increaseMarginAction,
                             zoomInAction,    zoomOutAction, twoColsAction,        pageNumAction};
    if (autoTrimAction != nullptr) {
        actions.append(autoTrimAction);
    }
    return actions;
}

void MainWindow::createMenus()
{
    fileMenu = menuBar()->addMenu(tr("文件"));
    fileMenu->addActions({openAction, exportPdfAction, printAction});
    fileMenu->addSeparator();
    fileMenu->addAction(exitAction);

    editMenu = menuBar()->addMenu(tr("编辑"));
    editMenu->addActions({twoColsAction, pageNumAction});
    editMenu->addSeparator();
    editMenu->addActions({decreaseMarginAction, increaseMarginAction});
    editMenu->addSeparator();
    editMenu->addActions({zoomInAction, zoomOutAction});
    editMenu->addSeparator();
    editMenu->addAction(autoTrimAction);

    helpMenu = menuBar()->addMenu(tr("帮助"));
    auto *aboutAction = new QAction(createHelpIcon(), tr("关于"), this);
    aboutAction->setObjectName("aboutAction"_L1);
    connect(aboutAction, &QAction::triggered, this, [this] { showAboutDialog(); });
    helpMenu->addAction(aboutAction);
}

void MainWindow::createToolBar()
{
    mainToolBar = addToolBar(tr("main"));
    mainToolBar->setObjectName("mainToolbar"_L1);
    mainToolBar->addActions({openAction, exportPdfAction, printAction});
    mainToolBar->addSeparator();
    mainToolBar->addActions({twoColsAction, pageNumAction});
    mainToolBar->addSeparator();
    mainToolBar->addAction(autoTrimAction);
    mainToolBar->addSeparator();
    mainToolBar->addActions({decreaseMarginAction, increaseMarginAction});
    mainToolBar->addSeparator();
    mainToolBar->addActions({zoomInAction, zoomOutAction});
    decreaseMarginAction->setIcon(createDecreaseMarginIcon());
    increaseMarginAction->setIcon(createIncreaseMarginIcon());
}

void MainWindow::createStatusBar()
{
    statusBar()->showMessage(tr("就绪"), 0);

    auto *indicator = new QWidget(this);
    auto *layout = new QHBoxLayout(indicator);
    layout->setContentsMargins(8, 4, 8, 4);
    layout->setSpacing(6);

    versionLabel = new QLabel(this);
    versionLabel->setObjectName("versionLabel"_L1);
    versionLabel->setTextFormat(Qt::PlainText);
    versionLabel->setText(tr("检查更新中..."));
    versionLabel->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    versionLabel->setStyleSheet(
        u"QLabel {     color: #8E8E93;     font-size: 12px;     font-weight: 500;     padding: 2px 6px;     "
        u"background-color: rgba(142, 142, 147, 0.1);     border-radius: 4px; }"_s);
    versionLabel->setVisible(false);

    updateButton = new QPushButton(this);
    updateButton->setObjectName("updateButton"_L1);
    updateButton->setFixedSize(20, 20);
    updateButton->setVisible(false);
    updateButton->setIcon(createUpdateIcon());
    updateButton->setIconSize(QSize(16, 16));
    updateButton->setStyleSheet(
        u"QPushButton {     border: none;     background: transparent;     border-radius: 2px;     padding: 2px; } "
        u"QPushButton:hover {     background-color: rgba(0, 122, 255, 0.1); } "
        u"QPushButton:pressed {     background-color: rgba(0, 122, 255, 0.2); }"_s);
    updateButton->setToolTip(tr("点击下载最新版本"));
    updateButton->setAccessibleName(spokenName(updateButton->toolTip(), u"Download the latest version"_s));
    connect(updateButton, &QPushButton::clicked, this, &MainWindow::showUpdateDialog);

    layout->addWidget(versionLabel, 0);
    layout->addWidget(updateButton, 0);
    statusBar()->addPermanentWidget(indicator, 0);
    updateKnown = false;
}

void MainWindow::styleToolBar()
{
    const int size = toolBarIconSize(screenDensity());
    mainToolBar->setIconSize(QSize(size, size));
    mainToolBar->setStyleSheet(u"QToolButton { padding: 0px; min-width: 44px; min-height: 44px; } "_s);
    // Qt reserves its usual width for the button of the commands without room:
    // with the width of the others most of it would lie beyond the bar.
    if (auto *extension = mainToolBar->findChild<QToolButton *>(u"qt_toolbar_ext_button"_s)) {
        extension->setAccessibleName(spokenName(u"更多命令"_s, u"More commands"_s));
        extension->setStyleSheet(u"QToolButton { min-width: 0px; min-height: 0px; }"_s);
    }
}

void MainWindow::showVersionSoon()
{
    QTimer::singleShot(firstReportDelay, this, [this] {
        versionLabel->setText(tr("v%1").arg(programVersion));
        versionLabel->setStyleSheet(u"QLabel { color: #666; font-size: 11px; }"_s);
        versionLabel->setVisible(true);
    });
}

void MainWindow::showAboutDialog()
{
    AboutDialog dialog(this);
    dialog.setLanguage(language);
    dialog.move(x() + (width() - dialog.width()) / 2, y() + (height() - dialog.height()) / 2);
    dialog.exec();
}
