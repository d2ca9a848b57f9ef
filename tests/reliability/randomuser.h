#pragma once

#include "page/cutrule.h"
#include "support/dialoganswer.h"
#include "support/httpserver.h"
#include "support/openedurls.h"
#include "userfiles.h"

#include <QList>
#include <QRandomGenerator>
#include <QRectF>
#include <QStringList>

#include <memory>

class DownloadUpdateDialog;
class MainWindow;
class QGraphicsView;
class QWidget;

/// Shared by all random users of a run: the files to open and the server to
/// download from.
struct UserWorld
{
    UserWorld();

    QList<UserFile> goodFiles;
    QList<UserFile> badFiles;
    HttpServer server;
    MessageBoxes boxes; // answers every question by its default button
    OpenedUrls caught; // nothing is opened outside the program
};

/// Uses a window like a person who does anything at any time. The same seed
/// gives the same steps.
class RandomUser
{
public:
    RandomUser(UserWorld &shared, quint32 seed);
    ~RandomUser();
    Q_DISABLE_COPY_MOVE(RandomUser)

    /// Takes one step. Returns one line for each broken expectation, nothing if
    /// all hold.
    QStringList step();

    /// A description of the last step.
    QString lastStep() const { return done; }

    /// Whether the last step exported to a file that cannot be written.
    bool hasExportFailed() const { return exportFailed; }

private:
    struct Habit
    {
        int weight; // relative frequency
        const char *name;
        void (RandomUser::*act)();
    };
    static const QList<Habit> &habits();

    /// What an action may do to the strips.
    enum class Change {
        None,
        OneCut, // `draggedStrip` and the next one
        Rebuild,
    };

    void openByDialog();
    void openByDrop();
    void dropSomethingElse();
    void dragCut();
    void pressOffTheHandle();
    void clickPage();
    void doubleClickPage();
    void decreaseMargin();
    void increaseMargin();
    void switchLayout();
    void switchPageNumbers();
    void trim();
    void zoom();
    void resizeWindow();
    void moveSplitter();
    void scroll();
    void typeKeys();
    void exportPdf();
    void showToast();
    void reportVersion();
    void downloadUpdate();
    void showAbout();
    void closeAndReopen();
    void renewWindow();

    quint32 below(quint32 limit) { return random.bounded(limit); }
    bool oneIn(quint32 count) { return below(count) == 0; }
    template <typename Value>
    const Value &oneOf(const QList<Value> &values)
    {
        return values.at(below(quint32(values.size())));
    }
    Qt::MouseButton someButton();
    QPoint somePointIn(const QWidget *widget);
    QPoint somePointAround(const QWidget *widget);

    void createWindow();
    void clearWindow();
    void startOver();
    void use(const char *name);
    void dropFile(const UserFile &file);
    void noteOpened(const UserFile &file, bool chosen);
    void noteRebuild();
    void stepMargin(const char *action, quint32 (*next)(quint32));
    void handleDownload(DownloadUpdateDialog &dialog);
    bool hasDocument() const { return !bands().isEmpty(); }
    QGraphicsView *someView();

    QList<QRectF> bands() const;
    QStringList unexpected(const QList<QRectF> &before) const;
    QStringList unexpectedBands(const QList<QRectF> &before) const;

    UserWorld &world;
    QRandomGenerator random;
    std::unique_ptr<MainWindow> window;
    QString done;

    Change change = Change::None; // of this step
    qsizetype draggedStrip = -1; // of this step
    bool toastDue = false; // this step must show one
    bool exportFailed = false; // in this step

    bool autoPage = true;
    CutRule cutRule = CutRule::Bright;
    bool twoColumns = false;
    bool numbersShown = false;
    bool detached = false; // the last file could not be opened
    double fitRatio = 0.75;
    quint32 margins[2] = {10, 10}; // percent, one for each layout
    QSize image; // invalid if unknown
    int openedWindows = 0;
};
