#pragma once

#include "page/cutrule.h"

#include <QMainWindow>
#include <QNetworkReply>
#include <QPixmap>
#include <QPointer>

#include <functional>

class CustomSplitter;
class DownloadUpdateDialog;
class LeftView;
class MainView;
class PopUp;
class QGraphicsScene;
class QLabel;
class QNetworkAccessManager;
class QPrinter;
class QPushButton;
class SimpleUpdater;

/// The main window, and the controller of the document.
///
/// There is no document object: the document is the source image and the items
/// of three scenes. `pageScene` holds the chain of strips, `oneColumnScene` one
/// output page per strip and `twoColumnScene` one per four strips. Both layouts
/// exist at all times; `currentOutputScene` is the one that is shown, and margins,
/// page numbers, PDF and print apply to that one.
///
/// Member functions are defined in the folder of their subsystem.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    MainWindow();
    ~MainWindow() override;

    /// Decodes the file \a path into the source image, rebuilds the document and
    /// shows its top. For a file that cannot be read, a PDF file, and an image with a
    /// side of at most 10 pixels, shows a toast instead and leaves the pages.
    void loadImageFile(const QString &path);

    /// Creates strips and output pages anew from the source image. If a side of
    /// that is at most 10 pixels long, only shows the scroll bars.
    void rebuildDocument();

    /// Whether a rebuild places the cuts automatically; on by default.
    void setAutoPage(bool on);

    /// How cuts are placed automatically; on bright rows at first.
    void setCutRule(CutRule rule);

    /// The language of the interface: "zh" or "en".
    void setLanguage(const QString &code);

    /// Draws the output pages of the shown layout with \a painter, which is active
    /// on \a printer; see renderPages().
    void renderDocument(QPainter *painter, QPrinter *printer);

public slots:
    void onOpenClicked();
    void onResizeClicked();
    void onPrintClicked();
    void onHelpClicked();
    void onExtandClicked();
    void onSaveClicked();
    void onShrinkClicked();
    void onZoominClicked();
    void onZoomoutClicked();
    void onExitClicked();
    void onAutoCutClicked();
    void onAutoTrimClicked();
    void onTwoColsClicked();
    void onPageNumClicked();

    void onCheckUpdateClicked();

    /// Stores a version report and shows it in the status bar. Versions are not
    /// compared: \a hasUpdate decides. An empty \a url is replaced by the default
    /// address of the package of \a version.
    void onVersionInfoReceived(const QString &version, bool hasUpdate, const QString &url = QString(),
                               const QString &log = QString(), const QString &checksum = QString(),
                               const QString &packageSize = QString());

    /// Offers the new version of the last report, if any. Returns when the dialog is
    /// closed.
    void showUpdateDialog();

    /// Downloads the package into the user's download folder. Replaces a running
    /// download.
    void startDownload();
    void onDownloadProgress(qint64 bytesReceived, qint64 bytesTotal);
    void onDownloadFinished();
    void onDownloadError(QNetworkReply::NetworkError error);

protected:
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dropEvent(QDropEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void moveEvent(QMoveEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    void addStripsAndPages();

    QAction *createAction(const char *name, const QString &text, const QString &shortcut, const QString &statusTip,
                          const QIcon &icon, void (MainWindow::*slot)());
    void createActions();
    QList<QAction *> documentActions() const;
    void createMenus();
    void createToolBar();
    void createStatusBar();
    void styleToolBar();
    void showVersionSoon();
    void showAboutDialog();

    void createUpdater();

    void createViews();
    void createScenes();
    void setSceneRectsFromViews();
    void fitViews();

    void saveWindowState();
    bool restoreWindowState(); // returns whether there was a saved geometry
    void showFloatingToolBar();
    void saveSplitterState();
    void restoreSplitterState();
    bool isGeometryUsable(const QRect &rect) const;
    QRect defaultGeometry();

    void drawIcon(QPixmap &pixmap, const QColor &color, int margin,
                  std::function<void(QPainter &, const QRect &)> draw) const;
    QIcon createOpenIcon() const;
    QIcon createExportPdfIcon() const;
    QIcon createPrintIcon() const;
    QIcon createHelpIcon() const;
    QIcon createDecreaseMarginIcon() const;
    QIcon createIncreaseMarginIcon() const;
    QIcon createZoomInIcon() const;
    QIcon createZoomOutIcon() const;
    QIcon createTwoColsIcon() const;
    QIcon createAutoTrimIcon() const;
    QIcon createPageNumIcon() const;
    QIcon createUpdateIcon() const;

    QGraphicsScene *oneColumnScene = nullptr;
    QGraphicsScene *twoColumnScene = nullptr;
    QGraphicsScene *pageScene = nullptr;
    QGraphicsScene *currentOutputScene = nullptr;
    MainView *mainView = nullptr;
    LeftView *leftView = nullptr;
    QPixmap sourcePixmap;
    CustomSplitter *splitter = nullptr;
    bool autoPage = true;
    CutRule cutRule = CutRule::Bright;
    QString language;

    QAction *decreaseMarginAction = nullptr;
    QAction *increaseMarginAction = nullptr;
    QAction *zoomInAction = nullptr;
    QAction *zoomOutAction = nullptr;
    QAction *openAction = nullptr;
    QAction *exportPdfAction = nullptr;
    QAction *printAction = nullptr;
    QAction *exitAction = nullptr;
    QAction *twoColsAction = nullptr;
    QAction *pageNumAction = nullptr;
    QAction *autoTrimAction = nullptr;
    QMenu *fileMenu = nullptr;
    QMenu *editMenu = nullptr;
    QMenu *helpMenu = nullptr;
    QToolBar *mainToolBar = nullptr;
    QLabel *versionLabel = nullptr;
    QPushButton *updateButton = nullptr;

    QPointer<SimpleUpdater> updater;
    QString latestVersion; // from the last report with an update, as are the next four
    QString updateUrl;
    QString updateLog;
    QString checksumMD5;
    QString updateSize;
    bool updateKnown = false; // there is an update to offer
    QNetworkAccessManager *downloadManager = nullptr;
    QNetworkReply *downloadReply = nullptr; // the running download
    DownloadUpdateDialog *downloadDialog = nullptr; // the open dialog

    PopUp *popUp = nullptr;

    // Reserved: created, but in no menu and no tool bar.
    QAction *guideAction = nullptr;
};
