#include "shownwindow.h"

#include "output/previewitem.h"
#include "page/pageitem.h"
#include "ui/leftview.h"
#include "ui/mainview.h"

#include <QCoreApplication>
#include <QGraphicsScene>
#include <QImageReader>
#include <QPageLayout>
#include <QPageSize>
#include <QPainter>
#include <QPaintEvent>
#include <QPrinter>

using namespace Qt::StringLiterals;

PaintWatcher::PaintWatcher(QWidget *widget)
{
    widget->installEventFilter(this);
}

QRegion PaintWatcher::takeRegion()
{
    return std::exchange(painted, QRegion());
}

bool PaintWatcher::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Paint) {
        ++count;
        painted += static_cast<QPaintEvent *>(event)->region();
    }
    return QObject::eventFilter(watched, event);
}

ShownWindow::ShownWindow()
    : mainView(window.findChild<MainView *>(u"mainView"_s))
    , leftView(window.findChild<LeftView *>(u"leftView"_s))
{
    window.setGeometry(0, 0, 1600, 1000);
    window.show();
    QCoreApplication::processEvents();
}

ShownWindow::~ShownWindow() = default;

void ShownWindow::open(const QString &path)
{
    window.loadImageFile(path);
    QCoreApplication::processEvents();
}

void ShownWindow::paintRequested()
{
    QCoreApplication::sendPostedEvents();
}

void ShownWindow::paintFrame()
{
    for (const QEvent::Type type : {QEvent::MetaCall, QEvent::LayoutRequest}) {
        QCoreApplication::sendPostedEvents(nullptr, type); // for the scenes and the scroll bars
    }
    QCoreApplication::sendPostedEvents(&window, QEvent::UpdateRequest);
}

void ShownWindow::exportPdf(const QString &path)
{
    QPrinter printer(QPrinter::HighResolution);
    printer.setPageSize(QPageSize(QPageSize::A4));
    printer.setPageOrientation(QPageLayout::Portrait);
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(path);
    QPainter painter(&printer);
    window.renderDocument(&painter, &printer);
}

void ShownWindow::resetCuts()
{
    window.setAutoPage(false);
    window.rebuildDocument();
    window.setAutoPage(true);
}

PageItem *ShownWindow::showMiddleCut()
{
    const QList<PageItem *> chain = strips();
    PageItem *strip = chain.at((chain.size() - 1) / 2);
    mainView->centerOn(strip->mapToScene(strip->handleRect().center()));
    leftView->centerOn(strip->firstPreview());
    QCoreApplication::processEvents();
    return strip;
}

QList<PageItem *> ShownWindow::strips() const
{
    QList<PageItem *> chain;
    auto *strip = dynamic_cast<PageItem *>(mainView->scene()->itemAt(QPointF(10.0, 10.0), QTransform()));
    for (; strip != nullptr; strip = strip->nextItem()) {
        chain.append(strip);
    }
    return chain;
}

QImage windowPixels(const QString &path)
{
    QImageReader::setAllocationLimit(0);
    QImageReader reader(path);
    reader.setAutoTransform(true);
    return reader.read();
}
