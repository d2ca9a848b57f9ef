#include "app/mainwindow.h"
#include "fuzzing.h"
#include "page/pageitem.h"
#include "support/pictures.h"
#include "support/windowprobe.h"
#include "usedwindow.h"

#include <QImageReader>

using namespace Qt::StringLiterals;

namespace {

// The limits of the size that an input declares, so that it takes milliseconds.
// Sizes above impossiblePixels are also run: every machine rejects them.
constexpr qint64 maxPixels = 2'000'000;
constexpr qint64 impossiblePixels = qint64(1) << 44;
constexpr int maxStrips = 500;

bool isQuick(QSize size)
{
    const qint64 pixels = qint64(size.width()) * size.height();
    if (!size.isValid() || size.isEmpty() || pixels > impossiblePixels) {
        return true;
    }
    const QSize turned = size.transposed(); // the orientation in the file may rotate it
    return pixels <= maxPixels && size.height() / size.width() < maxStrips
        && turned.height() / turned.width() < maxStrips;
}

} // namespace

/// The way of an image from its bytes to the views and the PDF file.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    MainWindow &window = usedWindow();
    const QString path = savedBytes(bytesOf(data, size), u"input"_s);
    if (!isQuick(QImageReader(path).size())) {
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
