// Out of memory: each large allocation fails in turn. And without another thread.

#include "../decode/jpegbytes.h"
#include "../pdf/writtenpdf.h"
#include "app/mainwindow.h"
#include "decode/decodethreads.h"
#include "page/pageitem.h"
#include "pdf/jpegband.h"
#include "pdf/jpegbands.h"
#include "pixels/blankborders.h"
#include "pixels/imagefile.h"
#include "support/imagecomparison.h"
#include "support/pictures.h"
#include "support/testmain.h"
#include "support/windowprobe.h"

#include <QBuffer>
#include <QPainter>
#include <QScopeGuard>

#include <atomic>
#include <cerrno>
#include <dlfcn.h>
#include <pthread.h>

using namespace Qt::StringLiterals;

namespace {

constexpr size_t large = size_t(1) << 16;
std::atomic<int> largeAllocations = 0;
std::atomic<int> failing = -1; // the index of the one that fails
std::atomic<bool> failsLater = false; // all after that one fail, too

void *(*realMalloc)(size_t) = nullptr;
void *(*realRealloc)(void *, size_t) = nullptr;

std::atomic<bool> countsGrowth = false; // of an allocation
std::atomic<bool> hasThreads = true;
std::atomic<int> missingThreads = 0;

bool fails(size_t size)
{
    if (size < large) {
        return false;
    }
    const int index = largeAllocations++;
    return failing >= 0 && (failsLater ? index >= failing : index == failing);
}

} // namespace

extern "C" void *malloc(size_t size)
{
    if (realMalloc == nullptr) {
        realMalloc = reinterpret_cast<void *(*)(size_t)>(dlsym(RTLD_NEXT, "malloc"));
    }
    return fails(size) ? nullptr : realMalloc(size);
}

extern "C" void *realloc(void *ptr, size_t size)
{
    if (realRealloc == nullptr) {
        realRealloc = reinterpret_cast<void *(*)(void *, size_t)>(dlsym(RTLD_NEXT, "realloc"));
    }
    return countsGrowth && fails(size) ? nullptr : realRealloc(ptr, size);
}

extern "C" int pthread_create(pthread_t *newthread, const pthread_attr_t *attr, void *(*start_routine)(void *),
                              void *arg)
{
    static const auto real = reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
    if (hasThreads) {
        return real(newthread, attr, start_routine, arg);
    }
    ++missingThreads;
    return EAGAIN;
}

namespace {

/// While this object lives, no thread can be started.
class NoThreads
{
public:
    NoThreads()
    {
        missingThreads = 0;
        hasThreads = false;
    }
    ~NoThreads() { hasThreads = true; }
    Q_DISABLE_COPY_MOVE(NoThreads)

    /// The number of threads so far that were to start.
    int count() const { return missingThreads; }
};

/// While this object lives, the large allocation with the index \a number fails;
/// none if that is negative.
class FailingAllocation
{
public:
    explicit FailingAllocation(int number)
    {
        largeAllocations = 0;
        failing = number;
    }
    ~FailingAllocation() { failing = -1; }
    Q_DISABLE_COPY_MOVE(FailingAllocation)

    /// The number of large allocations so far.
    int count() const { return largeAllocations; }
};

/// The number of large allocations that \a work makes.
template <typename Work>
int allocationsOf(Work work)
{
    const FailingAllocation none(-1);
    work();
    return none.count();
}

/// The number of large allocations during a trim of \a source.
int allocationsOfTrim(const QPixmap &source)
{
    return allocationsOf([&] { QVERIFY(withoutBlankBorders(source).has_value()); });
}

/// \a content within a white border of 100 pixels.
QImage bordered(const QImage &content)
{
    QImage image(content.size() + QSize(200, 200), QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter(&image).drawImage(100, 100, content);
    return image;
}

} // namespace

class TestMemoryFaults : public QObject
{
    Q_OBJECT

private slots:
    void trimSurvivesLackOfMemory_data();
    void trimSurvivesLackOfMemory();
    void openingSurvivesLackOfMemory_data();
    void openingSurvivesLackOfMemory();
    void opensWithoutAnotherThread_data();
    void opensWithoutAnotherThread();
    void jpegReportsLackOfMemory();
    void pdfReportsLackOfMemory_data();
    void pdfReportsLackOfMemory();
    void jpegCopiesReportLackOfMemory_data();
    void jpegCopiesReportLackOfMemory();
    void writesPdfWithoutAnotherThread();
};

void TestMemoryFaults::trimSurvivesLackOfMemory_data()
{
    QTest::addColumn<QImage>("picture");
    QTest::addColumn<int>("fewest");
    const QImage blocks = bordered(blockPicture(350, 1100));
    QTest::newRow("few colors") << blocks << 2; // the table of colors, and the result
    QTest::newRow("many colors") << bordered(noisePicture(QSize(400, 500))) << 4; // also gray rows
    QTest::newRow("16 bits a channel") << blocks.convertToFormat(QImage::Format_RGBX64) << 2;
    QTest::newRow("gray") << blocks.convertToFormat(QImage::Format_Grayscale8) << 1;
    QTest::newRow("palette") << blocks.convertToFormat(QImage::Format_Indexed8) << 1;
}

void TestMemoryFaults::trimSurvivesLackOfMemory()
{
    QFETCH(QImage, picture);
    QFETCH(int, fewest);
    const QString path = savedPicture(picture, u"bordered.png"_s);
    const int allocations = allocationsOfTrim(decodeImageFile(path));
    QCOMPARE_GE(allocations, fewest);
    MainWindow window;
    window.setAutoPage(false);
    window.loadImageFile(path);
    const QList<PageItem *> strips = stripsOf(window);
    const QImage shown = shownPicture(window, picture.size());
    for (int number = 0; number < allocations; ++number) {
        {
            const FailingAllocation fault(number);
            window.onAutoTrimClicked();
            QCOMPARE_GT(fault.count(), number);
        }
        QCOMPARE(stripsOf(window), strips);
        QCOMPARE(firstDifference(shownPicture(window, picture.size()), shown), QString());
        QCOMPARE(toastText(window), u"未检测到可裁剪的空白边"_s);
        hideToast(window);
    }
    window.onAutoTrimClicked(); // the source image is unchanged
    QCOMPARE(toastText(window), QString());
    const QSize content = picture.size() - QSize(200, 200);
    const QImage expected = picture.copy(QRect(QPoint(100, 100), content)).convertToFormat(QImage::Format_RGB32);
    QCOMPARE(firstDifference(shownPicture(window, content), expected), QString());
}

void TestMemoryFaults::openingSurvivesLackOfMemory_data()
{
    QTest::addColumn<QImage>("picture");
    QTest::addColumn<QString>("format");
    const QImage colors = noisePicture(QSize(1000, 800)); // enough for two threads, without the gray ones
    const QImage gray = colors.convertToFormat(QImage::Format_Grayscale8);
    for (const QString &format : {u"png"_s, u"jpg"_s}) {
        QTest::addRow("%s", qPrintable(format)) << colors << format;
        QTest::addRow("gray %s", qPrintable(format)) << gray << format;
    }
    QTest::newRow("palette") << colors.convertToFormat(QImage::Format_Indexed8) << u"png"_s;
}

void TestMemoryFaults::openingSurvivesLackOfMemory()
{
    QFETCH(QImage, picture);
    QFETCH(QString, format);
    const QString path = savedPicture(picture, u"picture."_s + format);
    const auto restore = qScopeGuard([threads = decodeThreads()] { setDecodeThreads(threads); });
    for (const DecodeThreads threads : {DecodeThreads::One, DecodeThreads::Two}) {
        setDecodeThreads(threads);
        const QImage expected = decodeImageFile(path).toImage();
        QVERIFY(!expected.isNull());
        const int allocations = allocationsOf([&] { (void)decodeImageFile(path); });
        QCOMPARE_GE(allocations, 1);
        for (int number = 0; number < allocations; ++number) {
            QPixmap opened;
            {
                const FailingAllocation fault(number);
                opened = decodeImageFile(path);
            }
            QCOMPARE(opened.toImage(), expected); // another decoder has the memory
            {
                const FailingAllocation fault(number);
                failsLater = true;
                opened = decodeImageFile(path);
                failsLater = false;
            }
            QVERIFY(number > 0 ? opened.isNull() || opened.toImage() == expected : opened.isNull());
        }
    }
}

void TestMemoryFaults::opensWithoutAnotherThread_data()
{
    QTest::addColumn<QString>("format");
    QTest::newRow("PNG") << u"png"_s;
    QTest::newRow("JPEG") << u"jpg"_s;
}

void TestMemoryFaults::opensWithoutAnotherThread()
{
    QFETCH(QString, format);
    const QString path = savedPicture(noisePicture(QSize(1000, 800)), u"picture."_s + format);
    const auto restore = qScopeGuard([threads = decodeThreads()] { setDecodeThreads(threads); });
    setDecodeThreads(DecodeThreads::Two);
    const QImage expected = decodeImageFile(path).toImage();
    const NoThreads fault;
    QCOMPARE(decodeImageFile(path).toImage(), expected);
    QCOMPARE(fault.count(), 1);
}

void TestMemoryFaults::jpegReportsLackOfMemory()
{
    const QImage noise = noisePicture(QSize(400, 400)); // compresses worse than expected
    const JpegTables tables = jpegTablesFor(noise, 100);
    countsGrowth = true;
    const auto restore = qScopeGuard([] { countsGrowth = false; });
    const auto pack = [&] { return packJpeg(noise, 0, noise.height(), 100, tables).bytes; };
    const QByteArray expected = pack();
    const int allocations = allocationsOf(pack);
    QCOMPARE_GE(allocations, 2); // the first one, and at least one that makes it larger
    for (int number = 0; number < allocations; ++number) {
        const FailingAllocation fault(number);
        QVERIFY_THROWS_EXCEPTION(std::bad_alloc, pack());
    }
    QCOMPARE(pack(), expected);
}

void TestMemoryFaults::pdfReportsLackOfMemory_data()
{
    QTest::addColumn<QImage>("image");
    QTest::addColumn<bool>("isLossless");
    const QImage colors = noisePicture(QSize(1500, 240)); // sixteen rows are large
    for (const bool isLossless : {false, true}) {
        const char *kind = isLossless ? "lossless" : "JPEG";
        QTest::addRow("colors, %s", kind) << colors << isLossless;
        QTest::addRow("alpha, %s", kind) << translucentPicture(1500, 240) << isLossless;
        QTest::addRow("gray, %s", kind) << colors.convertToFormat(QImage::Format_Grayscale16) << isLossless;
        QTest::addRow("palette, %s", kind) << colors.convertToFormat(QImage::Format_Indexed8) << isLossless;
        QTest::addRow("16 bits, %s", kind) << colors.convertToFormat(QImage::Format_RGBX64) << isLossless;
    }
}

void TestMemoryFaults::pdfReportsLackOfMemory()
{
    QFETCH(QImage, image);
    QFETCH(bool, isLossless);
    PdfOptions options;
    options.lossless = isLossless;
    options.threads = 1;
    const QList<PdfSheet> sheets = sheetsBetween({0, 100, 240}, image.width());
    // Without the end of the file: libqpdf ends the process there if memory is short.
    const auto add = [&] {
        QBuffer device;
        device.open(QIODevice::WriteOnly);
        PdfWriter(&device, options).addPicture({image, {}, {}}, sheets);
    };
    const int allocations = allocationsOf(add);
    QCOMPARE_GE(allocations, 2);
    for (int number = 0; number < allocations; ++number) {
        const FailingAllocation fault(number);
        QVERIFY_THROWS_EXCEPTION(std::bad_alloc, add());
    }
}

void TestMemoryFaults::jpegCopiesReportLackOfMemory_data()
{
    QTest::addColumn<bool>("isProgressive");
    QTest::newRow("baseline") << false;
    QTest::newRow("progressive") << true;
}

void TestMemoryFaults::jpegCopiesReportLackOfMemory()
{
    QFETCH(bool, isProgressive);
    const QByteArray file = jpegOf(jpegPicture(QSize(900, 900)), {.isProgressive = isProgressive, .quality = 95});
    const auto copy = [&] { return JpegBands::read(file)->pack(0, 800).colors.bytes; };
    const QByteArray expected = copy();
    const int allocations = allocationsOf(copy);
    QCOMPARE_GE(allocations, 2);
    for (int number = 0; number < allocations; ++number) {
        const FailingAllocation fault(number);
        QVERIFY_THROWS_EXCEPTION(std::bad_alloc, copy());
    }
    QCOMPARE(copy(), expected);
}

void TestMemoryFaults::writesPdfWithoutAnotherThread()
{
    PdfOptions options;
    options.created = QDateTime::fromSecsSinceEpoch(0, Qt::UTC);
    options.threads = 4;
    const QImage image = noisePicture(QSize(500, 700));
    const auto write = [&] {
        return pdfOf({image, {}, {}}, sheetsBetween({0, 200, 400, 700}, image.width()), options);
    };
    const QByteArray expected = write();
    const NoThreads fault;
    QCOMPARE(write(), expected);
    QCOMPARE_GE(fault.count(), 1);
}

QUILLMARCH_TEST_MAIN(TestMemoryFaults)
#include "tst_memoryfaults.moc"
