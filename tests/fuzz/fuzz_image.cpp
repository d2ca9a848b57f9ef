#include "app/mainwindow.h"
#include "fuzzing.h"
#include "page/pageitem.h"
#include "support/documents.h"
#include "usedwindow.h"

#include <QImageReader>

using namespace Qt::StringLiterals;

namespace {

// What an input may claim to hold, so that an input takes milliseconds. More
// than the second number no machine has, so that the way of the refusal is run.
constexpr qint64 mostPixels = 2'000'000;
constexpr qint64 impossiblePixels = qint64(1) << 44;
constexpr int mostStrips = 500;

bool isQuick(QSize size)
{
    const qint64 pixels = qint64(size.width()) * size.height();
    if (!size.isValid() || size.isEmpty() || pixels > impossiblePixels) {
        return true;
    }
    const QSize turned = size.transposed(); // by the orientation of the file
    return pixels <= mostPixels && size.height() / size.width() < mostStrips
        && turned.height() / turned.width() < mostStrips;
}

} // namespace

/// The road of a file: from its bytes to the views and the PDF file.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    MainWindow &window = usedWindow();
    const QString path = savedBytes(bytesOf(data, size), u"input"_s);
    if (!isQuick(QImageReader(path).size())) {
        return 0;
    }
    const qsizetype stripsBefore = stripsOf(window).size();
    window.loadImageFile(path);
    require(QImageReader::allocationLimit() >= 256, "the limit never falls below its floor");
    const bool isRefused = !toastText(window).isEmpty();
    hideToast(window);
    settle();
    if (isRefused) {
        require(stripsOf(window).size() == stripsBefore, "a refused file leaves the pages alone");
        return 0;
    }
    requireWholeDocument(window);
    drawAndExport(window);
    window.onAutoTrimClicked();
    hideToast(window);
    window.onTwoColsClicked();
    requireWholeDocument(window);
    drawAndExport(window);
    window.onTwoColsClicked();
    return 0;
}
