// Memory that runs out: one large allocation after the other fails, which an
// image answers by being null.

#include "app/mainwindow.h"
#include "page/pageitem.h"
#include "pixels/blankborders.h"
#include "pixels/imagefile.h"
#include "support/documents.h"
#include "support/testmain.h"

#include <QPainter>
#include <QRandomGenerator>

#include <atomic>
#include <dlfcn.h>

using namespace Qt::StringLiterals;

namespace {

constexpr size_t large = size_t(1) << 16;
std::atomic<int> largeAllocations = 0;
std::atomic<int> failing = -1; // the number of the one that fails

void *(*realMalloc)(size_t) = nullptr;

} // namespace

extern "C" void *malloc(size_t size)
{
    if (realMalloc == nullptr) {
        realMalloc = reinterpret_cast<void *(*)(size_t)>(dlsym(RTLD_NEXT, "malloc"));
    }
    return size >= large && largeAllocations++ == failing ? nullptr : realMalloc(size);
}

namespace {

/// While this object lives, the large allocation number \a number fails, counted
/// from 0; none if that is negative.
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

    /// How many large allocations there were.
    int count() const { return largeAllocations; }
};

/// How many large allocations a trim of \a source takes.
int allocationsOfTrim(const QPixmap &source)
{
    const FailingAllocation none(-1);
    return withoutBlankBorders(source) ? none.count() : 0;
}

QImage noise(int width, int height)
{
    QRandomGenerator random(5);
    QImage image(width, height, QImage::Format_RGB32);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            image.setPixel(x, y, random.generate() | 0xff000000U);
        }
    }
    return image;
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
    void trimEndsWithoutMemory_data();
    void trimEndsWithoutMemory();
};

void TestMemoryFaults::trimEndsWithoutMemory_data()
{
    QTest::addColumn<QImage>("picture");
    QTest::addColumn<int>("fewest");
    const QImage blocks = bordered(blockPicture(350, 1100));
    QTest::newRow("few colors") << blocks << 2; // the table of colors, and the result
    QTest::newRow("many colors") << bordered(noise(400, 500)) << 4; // gray rows, too
    QTest::newRow("16 bits a channel") << blocks.convertToFormat(QImage::Format_RGBX64) << 2;
    QTest::newRow("gray") << blocks.convertToFormat(QImage::Format_Grayscale8) << 1;
    QTest::newRow("palette") << blocks.convertToFormat(QImage::Format_Indexed8) << 1;
}

void TestMemoryFaults::trimEndsWithoutMemory()
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
        dropToast(window);
    }
    window.onAutoTrimClicked(); // with its source as it was
    QCOMPARE(toastText(window), QString());
    const QSize content = picture.size() - QSize(200, 200);
    const QImage expected = picture.copy(QRect(QPoint(100, 100), content)).convertToFormat(QImage::Format_RGB32);
    QCOMPARE(firstDifference(shownPicture(window, content), expected), QString());
}

QUILLMARCH_TEST_MAIN(TestMemoryFaults)
#include "tst_memoryfaults.moc"
