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

/// The window of the program, and its controller.
///
/// There is no document object: the document is the source image and the items
/// of three scenes. `pageScene` holds the chain of strips, `oneColumnScene`
/// one output page a strip and `twoColumnScene` one a four strips. Both
/// layouts exist at all times; `currentOutputScene` says which one is shown,
/// and margins, page numbers, PDF and print act on that one.
///
/// Members are defined in the folder of the subsystem that they belong to.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    MainWindow();
    ~MainWindow() override;

    /// Decodes the file \a path into the source image, rebuilds the document
    /// and shows its top. A file that cannot be read, a PDF file, and an image of at
    /// most 10 pixels on a side end in a toast; the pages shown stay then.
    void loadImageFile(const QString &path);

    /// Makes strips and output pages anew from the source image. Does nothing
    /// but show the scroll bars if that is at most 10 pixels on a side.
    void rebuildDocument();

    /// Whether a rebuild places the cuts automatically; on at first.
    void setAutoPage(bool on);

    /// How cuts are placed automatically; on bright rows at first.
    void setCutRule(CutRule rule);

    /// The language of the interface: "zh" or "en".
    void setLanguage(const QString &code);

    /// Draws the output pages of the shown layout on \a painter, which works
    /// on \a printer, within the printer's range of pages. Each page fits the
    /// painter's viewport, at its top left.
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

    /// Takes over a version report and shows it in the status bar. Versions
    /// are not compared: \a hasUpdate decides. An empty \a url is replaced by
    /// the address that packages of \a version have by rule.
    void onVersionInfoReceived(const QString &version, bool hasUpdate, const QString &url = QString(),
                               const QString &log = QString(), const QString &checksum = QString(),
                               const QString &packageSize = QString());

    /// Offers the version that the last report told of, if any. Returns when
    /// the dialog is closed.
    void showUpdateDialog();

    /// Fetches the package into the user's download folder, in place of a
    /// download that runs already.
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
    bool restoreWindowState(); // true if a saved geometry existed
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

    QAction *guideAction = nullptr;
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
    QString latestVersion; // of the last report with an update, as are the next four
    QString updateUrl;
    QString updateLog;
    QString checksumMD5;
    QString updateSize;
    bool updateKnown = false; // an update is on offer
    QNetworkAccessManager *downloadManager = nullptr;
    QNetworkReply *downloadReply = nullptr; // the running download
    DownloadUpdateDialog *downloadDialog = nullptr; // the open dialog

    PopUp *popUp = nullptr;
};
