#include "randomuser.h"

#include "app/mainwindow.h"
#include "app/settings.h"
#include "output/previewitem.h"
#include "page/pageitem.h"
#include "support/configvalues.h"
#include "support/documentinvariants.h"
#include "support/windowprobe.h"
#include "ui/leftview.h"
#include "ui/mainview.h"
#include "ui/windowaccess.h"

#include <QCursor>
#include <QGraphicsScene>
#include <QGraphicsView>
#include <QSettings>
#include <QTest>

#include <algorithm>
#include <cmath>
#include <numeric>

using namespace Qt::StringLiterals;

namespace {

constexpr double lowestShare = 0.4; // of two strips, for the pointer of a drag
constexpr double highestShare = 0.6;
constexpr double barHeight = 20.0;

QGraphicsScene *otherSceneThan(const QGraphicsScene *scene, const PageItem *strip)
{
    for (const PreviewItem *page : strip->outputPages()) {
        if (page->scene() != scene) {
            return page->scene();
        }
    }
    return nullptr;
}

bool isSame(const QRectF &a, const QRectF &b)
{
    return std::abs(a.y() - b.y()) < 1e-6 && std::abs(a.height() - b.height()) < 1e-6;
}

} // namespace

UserWorld::UserWorld()
    : goodFiles(writeGoodFiles())
    , badFiles(writeBadFiles())
    , caught({u"file"_s, u"http"_s, u"https"_s, u"mailto"_s})
{
    HttpResponse whole;
    whole.body = QByteArray(20000, 'q');
    server.setResponse("/whole.zip", whole);
    HttpResponse broken = whole;
    broken.cutAfter = 5000;
    server.setResponse("/broken.zip", broken);
}

RandomUser::RandomUser(UserWorld &shared, quint32 seed)
    : world(shared)
    , random(seed)
{
    startOver();
    createWindow();
    if (!oneIn(8)) {
        dropFile(oneOf(world.goodFiles));
    }
}

RandomUser::~RandomUser()
{
    clearWindow();
}

const QList<RandomUser::Habit> &RandomUser::habits()
{
    static const QList<Habit> all{
        {3, "open by the dialog", &RandomUser::openByDialog},
        {9, "drop a file", &RandomUser::openByDrop},
        {2, "drop something else", &RandomUser::dropSomethingElse},
        {24, "drag a cut", &RandomUser::dragCut},
        {5, "press off the handle", &RandomUser::pressOffTheHandle},
        {8, "click a page", &RandomUser::clickPage},
        {4, "double-click a page", &RandomUser::doubleClickPage},
        {6, "less margin", &RandomUser::decreaseMargin},
        {6, "more margin", &RandomUser::increaseMargin},
        {6, "switch the layout", &RandomUser::switchLayout},
        {4, "switch page numbers", &RandomUser::switchPageNumbers},
        {3, "trim", &RandomUser::trim},
        {6, "zoom", &RandomUser::zoom},
        {5, "resize the window", &RandomUser::resizeWindow},
        {3, "move the splitter", &RandomUser::moveSplitter},
        {6, "scroll", &RandomUser::scroll},
        {3, "type", &RandomUser::typeKeys},
        {1, "export", &RandomUser::exportPdf},
        {2, "show a toast", &RandomUser::showToast},
        {2, "report a version", &RandomUser::reportVersion},
        {1, "download the update", &RandomUser::downloadUpdate},
        {1, "show the about dialog", &RandomUser::showAbout},
        {2, "close and reopen", &RandomUser::closeAndReopen},
        {1, "renew the window", &RandomUser::renewWindow},
    };
    return all;
}

QStringList RandomUser::step()
{
    const QList<Habit> &all = habits();
    const int sum = std::accumulate(all.begin(), all.end(), 0, [](int s, const Habit &h) { return s + h.weight; });
    int place = int(below(quint32(sum)));
    auto habit = all.begin();
    while (place >= habit->weight) {
        place -= habit->weight;
        ++habit;
    }
    done = QString::fromUtf8(habit->name);
    change = Change::None;
    draggedStrip = -1;
    toastDue = false;
    exportFailed = false;
    hideToast(*window);
    const QList<QRectF> before = bands();
    (this->*habit->act)();
    QCoreApplication::processEvents();
    return brokenInvariants(*window, image) + unexpected(before);
}

Qt::MouseButton RandomUser::someButton()
{
    return oneIn(6) ? oneOf(QList{Qt::RightButton, Qt::MiddleButton}) : Qt::LeftButton;
}

/// A point on \a widget, except its corner: QTest treats a null point as the
/// center of the widget.
QPoint RandomUser::somePointIn(const QWidget *widget)
{
    const QPoint point(int(below(quint32(widget->width()))), int(below(quint32(widget->height()))));
    return point.isNull() ? QPoint(1, 0) : point;
}

/// A point on \a widget or outside it, at most its size away.
QPoint RandomUser::somePointAround(const QWidget *widget)
{
    const QSize size = widget->size();
    return {int(below(quint32(size.width()) * 3 + 1)) - size.width(),
            int(below(quint32(size.height()) * 3 + 1)) - size.height()};
}

void RandomUser::startOver()
{
    QSettings(u"Quillmarch"_s, u"Settings"_s).clear();
    clearConfigValues();
    cutRule = oneIn(3) ? CutRule::Calm : CutRule::Bright;
    if (oneIn(6)) { // edited by hand
        const QString margin =
            oneOf(QStringList{u"0"_s, u"3"_s, u"29"_s, u"30"_s, u"200"_s, u"-5"_s, u"4000000000"_s, u"a"_s});
        writeConfigValue(configFilePath(), u"marginsc"_s, margin);
        done = u"margin "_s + margin;
    }
    QCursor::setPos(0, 0);
}

void RandomUser::createWindow()
{
    window = std::make_unique<MainWindow>();
    window->setAutoPage(autoPage);
    window->setCutRule(cutRule);
    window->setLanguage(oneIn(2) ? u"en"_s : u"zh"_s);
    if (openedWindows == 0) {
        window->resize(420, 320);
    }
    window->show();
    ++openedWindows;
    twoColumns = false;
    numbersShown = showPageNumbers();
    detached = true;
    fitRatio = 0.75;
    image = QSize();
}

/// The scenes are never deleted, as in the program; over thousands of windows
/// their items would add up.
void RandomUser::clearWindow()
{
    QGraphicsScene *strips = mainViewOf(*window)->scene();
    QGraphicsScene *shown = leftViewOf(*window)->scene();
    const QList<PageItem *> chain = stripsOf(*window);
    QGraphicsScene *hidden = chain.isEmpty() ? nullptr : otherSceneThan(shown, chain.first());
    window.reset();
    for (QGraphicsScene *scene : {strips, shown, hidden}) {
        if (scene != nullptr) {
            scene->clear();
        }
    }
}

QGraphicsView *RandomUser::someView()
{
    if (oneIn(2)) {
        return mainViewOf(*window);
    }
    return leftViewOf(*window);
}

QList<QRectF> RandomUser::bands() const
{
    QList<QRectF> all;
    const QList<PageItem *> chain = stripsOf(*window);
    for (const PageItem *strip : chain) {
        all.append(strip->sourceRect());
    }
    return all;
}

/// What differs from the state that the steps should lead to.
QStringList RandomUser::unexpected(const QList<QRectF> &before) const
{
    QStringList lines = unexpectedBands(before);
    const auto expect = [&lines](bool holds, const char *what) {
        if (!holds) {
            lines.append(QString::fromUtf8(what));
        }
    };
    const QList<PageItem *> chain = stripsOf(*window);
    expect(std::none_of(chain.begin(), chain.end(), [](const PageItem *strip) { return strip->isDragging(); }),
           "no drag is in progress");
    expect(!toastDue || !toastText(*window).isEmpty(), "the failure is reported");
    expect(showPageNumbers() == numbersShown, "page numbers are as they were switched");
    expect(mainViewOf(*window)->fitRatio() == fitRatio, "the zoom is as it was stepped");
    if (!chain.isEmpty()) {
        const QList<PreviewItem *> &pages = chain.first()->outputPages();
        expect(leftViewOf(*window)->scene() == pages.at(twoColumns ? 1 : 0)->scene(), "the chosen layout is shown");
        for (int layout : {0, 1}) {
            const double wanted = double(margins[layout]) * chain.first()->bodyRect().width() / 100;
            expect(std::abs(pages.at(layout)->margins().x() - wanted) <= 1e-6 + 1e-9 * wanted,
                   "the margin is as it was stepped");
        }
    }
    return lines;
}

QStringList RandomUser::unexpectedBands(const QList<QRectF> &before) const
{
    const QList<QRectF> after = bands();
    if (change == Change::Rebuild) {
        return after.isEmpty()
            ? QStringList(u"there is a document"_s)
            : (allStripsAreHigherThanZero(*window) ? QStringList() : QStringList(u"strips are high"_s));
    }
    if (before.size() != after.size()) {
        return {u"the number of strips stays"_s};
    }
    QStringList lines;
    for (qsizetype i = 0; i < after.size(); ++i) {
        const bool mayMove = change == Change::OneCut && (i == draggedStrip || i == draggedStrip + 1);
        if (!mayMove && !isSame(before.at(i), after.at(i))) {
            lines.append(u"strip %1 stays as it was"_s.arg(i));
        }
    }
    if (change == Change::OneCut && draggedStrip + 1 < after.size()) {
        const double joined = before.at(draggedStrip).height() + before.at(draggedStrip + 1).height();
        const double height = after.at(draggedStrip).height();
        const bool moved = !isSame(before.at(draggedStrip), after.at(draggedStrip));
        const double lowest = joined * lowestShare - barHeight - 1e-6;
        if (moved && (height < lowest || height > joined * highestShare + 1e-6)) {
            lines.append(u"the dragged cut keeps within its limits"_s);
        }
    }
    return lines;
}
