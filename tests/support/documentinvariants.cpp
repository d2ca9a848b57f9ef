#include "support/documentinvariants.h"

#include "app/mainwindow.h"
#include "output/previewitem.h"
#include "page/pageitem.h"
#include "support/windowprobe.h"
#include "ui/leftview.h"
#include "ui/mainview.h"

#include <QAction>
#include <QGraphicsScene>
#include <QScrollBar>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

constexpr double stripAspect = 0.7;
constexpr double highestMinAspect = 0.70707071;
constexpr int barHeight = 20;
constexpr double pageGap = 32.0;
constexpr double leftFitRatio = 0.8;
constexpr qsizetype stripsPerTwoColumnPage = 4;

/// Equal except for rounding errors of sums; \a size is the magnitude of the
/// summands.
bool isNear(double a, double b, double size = 1.0)
{
    return std::abs(a - b) <= 1e-6 + 1e-9 * std::abs(size);
}

bool isNear(const QRectF &a, const QRectF &b, double summands = 0.0)
{
    const double size = a.width() + a.height() + summands;
    return isNear(a.x(), b.x()) && isNear(a.y(), b.y()) && isNear(a.width(), b.width(), size)
        && isNear(a.height(), b.height(), size);
}

/// Checks the document of one window and collects the broken invariants.
class DocumentCheck
{
public:
    explicit DocumentCheck(const MainWindow &inspected)
        : window(inspected)
        , mainView(mainViewOf(inspected))
        , leftView(leftViewOf(inspected))
        , strips(stripsOf(inspected))
    {
        if (!strips.isEmpty()) {
            width = mainView->sceneRect().width();
            pitch = width / stripAspect;
            height = std::trunc(pitch);
        }
    }

    void checkImage(QSize image);
    void checkChain();
    void checkStrips();
    void checkBands();
    void checkPlaces();
    void checkMinAspect();
    void checkPagesOfStrips();
    void checkLayout(qsizetype layout);
    void checkViews();
    void checkActions();

    const QList<PageItem *> &chain() const { return strips; }
    QStringList broken;

private:
    void expect(bool holds, const char *what, qsizetype index = -1);
    void checkPage(const PreviewItem *page, QSizeF outer);
    QGraphicsScene *sceneOfLayout(qsizetype layout) const;

    const MainWindow &window;
    const MainView *mainView;
    const LeftView *leftView;
    QList<PageItem *> strips;
    double width = 0.0; // of the image, as are the next two
    double pitch = 0.0; // distance of regular cuts
    double height = 0.0; // of a strip with regular cuts
};

void DocumentCheck::expect(bool holds, const char *what, qsizetype index)
{
    if (!holds) {
        const QString text = QString::fromUtf8(what);
        broken.append(index < 0 ? text : u"%1 (%2 of %3)"_s.arg(text).arg(index).arg(strips.size()));
    }
}

void DocumentCheck::checkImage(QSize image)
{
    if (image.isValid() && !strips.isEmpty()) {
        expect(width == image.width(), "the scene is as wide as the image");
        expect(strips.size() == image.height() / int(height) + 1, "the number of strips follows from the image");
        expect(strips.last()->sourceRect().bottom() > image.height(), "the last band reaches the end of the image");
    }
}

void DocumentCheck::checkChain()
{
    expect(mainView->scene()->items().size() == strips.size(), "the page scene contains only strips");
    expect(strips.first()->prevItem() == nullptr, "the first strip has no previous one");
    expect(strips.last()->nextItem() == nullptr, "the last strip has no next one");
    for (qsizetype i = 0; i < strips.size(); ++i) {
        expect(strips.at(i)->pageIndex() == i, "strips are numbered in order", i);
        if (i > 0) {
            expect(strips.at(i - 1)->nextItem() == strips.at(i), "a strip knows the next one", i);
            expect(strips.at(i)->prevItem() == strips.at(i - 1), "a strip knows the previous one", i);
        }
    }
}

void DocumentCheck::checkStrips()
{
    for (qsizetype i = 0; i < strips.size(); ++i) {
        const PageItem *strip = strips.at(i);
        const QRectF source = strip->sourceRect();
        const QRectF drag = strip->dragRect();
        expect(std::isfinite(source.y()) && std::isfinite(source.height()), "a band is finite", i);
        expect(source.x() == 0.0 && source.width() == width, "a band is as wide as the image", i);
        expect(strip->bodyRect() == QRectF(0, 0, width, source.height()), "the body has the size of the band", i);
        expect(strip->handleHeight() == barHeight, "a handle keeps its height", i);
        expect(strip->handleRect() == QRectF(0, source.height(), width, barHeight), "the handle is below the body", i);
        expect(drag.isNull() || (drag.x() == 0.0 && drag.size() == strip->handleRect().size()),
               "the rubber line has the size of the handle", i);
    }
}

void DocumentCheck::checkBands()
{
    double sum = 0.0;
    for (qsizetype i = 0; i < strips.size(); ++i) {
        const QRectF band = strips.at(i)->sourceRect();
        sum += band.height();
        if (i + 1 < strips.size()) {
            // There can be a row between two regular bands, and moved cuts keep it.
            const double row = std::trunc(double(i + 1) * pitch) - std::trunc(double(i) * pitch) - height;
            expect(isNear(band.y() + band.height() + row, strips.at(i + 1)->sourceRect().y()),
                   "a band begins where the one above ends", i);
        }
    }
    const QRectF last = strips.last()->sourceRect();
    const double end = std::trunc(double(strips.size() - 1) * pitch) + height;
    expect(strips.first()->sourceRect().y() == 0.0, "the first band begins with the image");
    expect(isNear(last.y() + last.height(), end), "the last band ends where it did at first");
    expect(isNear(sum, height * double(strips.size())), "a strip grows by what another one loses");
}

void DocumentCheck::checkPlaces()
{
    const auto count = double(strips.size());
    expect(isNear(mainView->sceneRect(), QRectF(0, 0, width, count * (height + barHeight))),
           "the page scene has the size of all strips");
    expect(strips.first()->pos() == QPointF(), "the first strip is at the top");
    const bool findable = allStripsAreHigherThanZero(window);
    for (qsizetype i = 0; i < strips.size(); ++i) {
        const PageItem *strip = strips.at(i);
        const double end = strip->y() + strip->handleRect().bottom();
        const double next = i + 1 < strips.size() ? strips.at(i + 1)->y() : mainView->sceneRect().bottom();
        expect(strip->x() == 0.0, "strips are at the left edge", i);
        expect(isNear(end, next), "a strip is directly below the previous one", i);
        if (findable) {
            const QPointF middle = strip->mapToScene(strip->handleRect().center());
            expect(strip->scene()->itemAt(middle, QTransform()) == strip, "the scene finds a handle where it is", i);
        }
    }
}

void DocumentCheck::checkMinAspect()
{
    expect(minAspect() > 0.0 && minAspect() <= highestMinAspect, "minAspect is within its range");
    for (qsizetype i = 0; i < strips.size(); ++i) {
        const double stripHeight = strips.at(i)->bodyRect().height();
        if (stripHeight > 0.0 && stripHeight != height) { // regular strips may not be included
            expect(minAspect() <= width / stripHeight, "minAspect is that of the highest strip or lower", i);
        }
    }
}

void DocumentCheck::checkPagesOfStrips()
{
    for (qsizetype i = 0; i < strips.size(); ++i) {
        const QList<PreviewItem *> &pages = strips.at(i)->outputPages();
        expect(pages.size() == 2, "a strip knows two pages", i);
        if (pages.size() != 2) {
            continue;
        }
        expect(pages.first() == strips.at(i)->firstPreview(), "the one-column page comes first", i);
        expect(pages.first()->scene() == sceneOfLayout(0) && pages.last()->scene() == sceneOfLayout(1),
               "the pages of a strip are in the scenes of the layouts", i);
        expect(pages.first()->shownStrips() == QList{strips.at(i)}, "a one-column page shows only its strip", i);
        expect(pages.first()->pageNumber() == i, "one-column pages are numbered as the strips", i);
        expect(pages.last()->shownStrips().value(i % stripsPerTwoColumnPage) == strips.at(i),
               "a strip has its place on the two-column page", i);
        expect(pages.last()->pageNumber() == i / stripsPerTwoColumnPage, "a two-column page shows four strips", i);
    }
}

QGraphicsScene *DocumentCheck::sceneOfLayout(qsizetype layout) const
{
    const PreviewItem *page = strips.first()->outputPages().value(layout);
    return page != nullptr ? page->scene() : nullptr;
}

/// The pages of the layout \a layout: 0 for one column, 1 for two.
void DocumentCheck::checkLayout(qsizetype layout)
{
    const QGraphicsScene *scene = sceneOfLayout(layout);
    expect(scene != nullptr && scene != mainView->scene(), "a layout has a separate scene", layout);
    if (scene == nullptr) {
        return;
    }
    const qsizetype stripsPerPage = layout == 0 ? 1 : stripsPerTwoColumnPage;
    const qsizetype count = (strips.size() + stripsPerPage - 1) / stripsPerPage;
    const QSizeF regular(width, height + barHeight);
    const QSizeF outer(width + 0.2 * regular.width(), height + 0.2 * regular.height());
    const QList<QGraphicsItem *> items = scene->items();
    expect(items.size() == count, "a layout has exactly the pages for all strips", layout);
    qsizetype shown = 0;
    for (const QGraphicsItem *item : items) {
        const auto *page = dynamic_cast<const PreviewItem *>(item);
        expect(page != nullptr, "an output scene contains only pages", layout);
        if (page == nullptr) {
            continue;
        }
        checkPage(page, outer);
        shown += page->shownStrips().size();
        const PageItem *firstOfNext = strips.value((page->pageNumber() + 1) * stripsPerPage);
        const PreviewItem *next = firstOfNext != nullptr ? firstOfNext->outputPages().value(layout) : nullptr;
        expect(page->nextPage() == next, "a page knows the next one", page->pageNumber());
        expect(isNear(page->margins().x(), strips.first()->outputPages().value(layout)->margins().x(),
                      page->margins().x()),
               "all pages of a layout have one margin", page->pageNumber());
    }
    expect(shown == strips.size(), "each strip is on one page of a layout", layout);
    const QRectF margins = strips.first()->outputPages().value(layout)->margins();
    expect(isNear(scene->sceneRect(), QRectF(0, 0, outer.width(), double(count) * (outer.height() + pageGap)),
                  double(count) * (margins.x() + margins.y())),
           "an output scene has the size of all pages", layout);
}

void DocumentCheck::checkPage(const PreviewItem *page, QSizeF outer)
{
    const int number = page->pageNumber();
    const QRectF inner = page->innerRect();
    const QRectF margins = page->margins(); // left, top, right, bottom
    const double size = margins.width() + margins.height();
    const QRectF sheet = page->boundingRect();
    expect(page->prevPage() == nullptr, "no page has a previous one", number);
    expect(page->pageGap() == pageGap, "a page keeps its gap", number);
    expect(isNear(page->x(), 0.0) && isNear(page->y(), (outer.height() + pageGap) * number),
           "pages are below each other", number);
    expect(isNear(sheet.width(), outer.width(), size) && isNear(sheet.height(), outer.height(), size),
           "a page keeps its outer size", number);
    expect(margins.x() == margins.width() && margins.y() == margins.height(), "opposite margins are equal", number);
    expect(isNear(inner.x(), margins.x(), size) && isNear(inner.y(), margins.y(), size),
           "the content begins at the margins", number);
}

void DocumentCheck::checkViews()
{
    // A scroll bar may have appeared after the view was fitted.
    const double slack = mainView->verticalScrollBar()->sizeHint().width() + 1.0;
    const auto isFitted = [slack](const QGraphicsView *view, double ratio) {
        const QTransform scale = view->transform();
        const double fittedTo = scale.m11() * view->sceneRect().width() / ratio;
        return scale.type() <= QTransform::TxScale && scale.m11() == scale.m22() && std::isfinite(scale.m11())
            && (!view->isVisible() || view->viewport()->width() <= 0
                || std::abs(fittedTo - view->viewport()->width()) <= slack);
    };
    expect(leftView->scene() == sceneOfLayout(0) || leftView->scene() == sceneOfLayout(1),
           "the preview shows one of the layouts");
    expect(sceneOfLayout(0) != sceneOfLayout(1), "the layouts have different scenes");
    expect(isFitted(mainView, mainView->fitRatio()), "the strips are fitted to the width of their view");
    expect(isFitted(leftView, leftFitRatio), "the pages are fitted to the width of their view");
    expect(mainView->verticalScrollBarPolicy() == Qt::ScrollBarAsNeeded, "the large view has scroll bars");
    expect(leftView->verticalScrollBarPolicy() == Qt::ScrollBarAsNeeded, "the preview has scroll bars");
}

void DocumentCheck::checkActions()
{
    for (const char *name : {"exportPdfAction", "printAction", "decreaseMarginAction", "increaseMarginAction",
                             "zoomInAction", "zoomOutAction", "twoColsAction", "pageNumAction", "autoTrimAction"}) {
        const auto *action = window.findChild<QAction *>(QLatin1StringView(name));
        expect(action != nullptr && action->isEnabled() == !strips.isEmpty(),
               "document actions are enabled only with a document");
    }
}

} // namespace

QStringList brokenInvariants(const MainWindow &window, QSize image)
{
    DocumentCheck check(window);
    check.checkActions();
    if (check.chain().isEmpty()) {
        return check.broken;
    }
    check.checkImage(image);
    check.checkChain();
    check.checkStrips();
    check.checkBands();
    check.checkPlaces();
    check.checkMinAspect();
    check.checkPagesOfStrips();
    check.checkLayout(0);
    check.checkLayout(1);
    check.checkViews();
    return check.broken;
}

bool allStripsAreHigherThanZero(const MainWindow &window)
{
    const QList<PageItem *> strips = stripsOf(window);
    return std::all_of(strips.begin(), strips.end(),
                       [](const PageItem *strip) { return strip->bodyRect().height() > 0.0; });
}
