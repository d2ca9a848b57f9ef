#include "usedwindow.h"

#include "app/mainwindow.h"
#include "fuzzing.h"
#include "output/previewitem.h"
#include "page/pageitem.h"
#include "support/configvalues.h"
#include "support/pictures.h"
#include "support/windowprobe.h"
#include "ui/leftview.h"
#include "ui/mainview.h"

#include <QDir>
#include <QGraphicsScene>
#include <QPainter>
#include <QPrinter>

using namespace Qt::StringLiterals;

namespace {

constexpr int lastExportedPage = 3;
constexpr double initialFitRatio = 0.75;

bool isTwoColumns(const MainWindow &window)
{
    return pagesOf(window).size() < stripsOf(window).size();
}

} // namespace

MainWindow &usedWindow()
{
    static MainWindow *window = nullptr;
    if (window == nullptr) {
        window = new MainWindow; // lives as long as the program
        window->resize(700, 500);
        window->show();
        settle();
    }
    return *window;
}

void resetWindow(MainWindow &window)
{
    static const QString path = savedPicture(textPicture(120, 500), u"plain.png"_s);
    clearConfigValues();
    window.resize(700, 500);
    window.setAutoPage(true);
    window.setCutRule(CutRule::Bright);
    mainViewOf(window)->setFitRatio(initialFitRatio);
    window.loadImageFile(path);
    if (isTwoColumns(window)) {
        window.onTwoColsClicked();
    }
    if (showPageNumbers()) {
        window.onPageNumClicked();
    }
    hideToast(window);
    settle();
}

void drawAndExport(MainWindow &window)
{
    draw(window);
    QPrinter printer(QPrinter::HighResolution);
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(QDir::current().absoluteFilePath(u"pages.pdf"_s));
    if (pagesOf(window).size() > lastExportedPage) {
        printer.setFromTo(1, lastExportedPage);
    }
    QPainter painter(&printer);
    window.renderDocument(&painter, &printer);
    require(painter.end(), "the export succeeds");
}

void requireCompleteChain(const QList<PageItem *> &strips)
{
    for (qsizetype i = 0; i < strips.size(); ++i) {
        require(strips.at(i)->pageIndex() == i, "strips are counted from 0");
        require(strips.at(i)->nextItem() == strips.value(i + 1), "each strip links to the next one");
        require(strips.at(i)->prevItem() == strips.value(i - 1), "each strip links to the previous one");
    }
}

void requireConsistentDocument(const MainWindow &window)
{
    const QList<PageItem *> strips = stripsOf(window);
    requireCompleteChain(strips);
    const qsizetype pages = pagesOf(window).size();
    require(pages == strips.size() || pages == (strips.size() + 3) / 4, "each strip has its page");
}
