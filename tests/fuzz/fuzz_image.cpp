#include "app/mainwindow.h"
#include "fuzzing.h"
#include "page/pageitem.h"
#include "support/pictures.h"
#include "support/windowprobe.h"
#include "usedwindow.h"

#include <QImageReader>

using namespace Qt::StringLiterals;

namespace {

// What an input may declare, so that it takes milliseconds.
constexpr qint64 mostPixels = 2'000'000;
constexpr int mostStrips = 500;

} // namespace

/// The way of an image from its bytes to the views and the PDF file.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    MainWindow &window = usedWindow();
    const QString path = savedBytes(bytesOf(data, size), u"input"_s);
    if (!isQuick(QImageReader(path).size(), mostPixels, mostStrips)) {
        return 0;
    }
    window.setCutRule(size % 2 == 0 ? CutRule::Bright : CutRule::Calm);
    const qsizetype stripsBefore = stripsOf(window).size();
    window.loadImageFile(path);
    require(QImageReader::allocationLimit() >= 256, "the limit never falls below 256");
    const bool isRejected = !toastText(window).isEmpty();
    hideToast(window);
    settle();
    if (isRejected) {
        require(stripsOf(window).size() == stripsBefore, "a rejected file keeps the document");
        return 0;
    }
    requireConsistentDocument(window);
    drawAndExport(window);
    window.onAutoTrimClicked();
    hideToast(window);
    window.onTwoColsClicked();
    requireConsistentDocument(window);
    drawAndExport(window);
    window.onTwoColsClicked();
    return 0;
}
