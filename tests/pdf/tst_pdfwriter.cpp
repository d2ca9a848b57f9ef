#include "../decode/jpegbytes.h"
#include "pdf/bandqueue.h"
#include "pdf/bandspool.h"
#include "pdf/jpegbands.h"
#include "support/pdffacts.h"
#include "support/pictures.h"
#include "support/testmain.h"
#include "writtenpdf.h"

#include <QBuffer>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#ifdef Q_OS_UNIX
#include "../faults/fulldisk.h"
#endif

#include <atomic>
#include <filesystem>
#include <new>
#include <thread>

using namespace Qt::StringLiterals;

namespace {

const QDateTime someTime(QDate(2024, 2, 29), QTime(13, 5, 9), Qt::UTC);

/// Takes some bytes only, as a full disk does.
class SmallDevice : public QIODevice
{
public:
    explicit SmallDevice(qint64 room)
        : left(room)
    {
        open(QIODevice::WriteOnly);
    }

    bool isSequential() const override { return true; }

protected:
    qint64 readData(char *, qint64) override { return -1; }
    qint64 writeData(const char *, qint64 size) override
    {
        if (left <= 0) {
            setErrorString(u"No space left on device"_s);
            return -1;
        }
        const qint64 taken = std::min(size, left); // a short write at the end
        left -= taken;
        return taken;
    }

private:
    qint64 left;
};

PdfOptions options(bool lossless, int threads = 0)
{
    PdfOptions chosen;
    chosen.lossless = lossless;
    chosen.created = someTime;
    chosen.threads = threads;
    return chosen;
}

QString output(const QString &program, const QStringList &arguments, int *status = nullptr)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    process.waitForFinished();
    if (status != nullptr) {
        *status = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }
    return QString::fromUtf8(process.readAll());
}

/// A file with three pictures, one of them with numbers.
QByteArray severalPictures(bool lossless, int threads)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    PdfOptions chosen = options(lossless, threads);
    chosen.title = u"Briefe (1) \u4e2d\u6587"_s;
    PdfWriter writer(&buffer, chosen);
    QList<PdfSheet> numbered = sheetsBetween({0, 100, 220, 300}, 200);
    for (qsizetype i = 0; i < numbered.size(); ++i) {
        numbered[i].number = u"%1 / %2"_s.arg(i + 1).arg(numbered.size());
        numbered[i].numberPlace = QRectF(50, 0, 50, 16);
    }
    writer.addPicture({textPicture(200, 300), {}, u"one"_s}, numbered);
    writer.addPicture({noisePicture(QSize(100, 90), QImage::Format_ARGB32), {}, u"zwei \u00fc"_s},
                      sheetsBetween({0, 45, 90}, 100));
    writer.addPicture({palettePicture(QSize(100, 90), false, 1), {}, u"\u4e09"_s}, sheetsBetween({0, 90}, 100));
    writer.finish();
    return buffer.data();
}

double numberBefore(const QList<QByteArray> &words, qsizetype at, int back)
{
    return words.at(at - back).toDouble();
}

} // namespace

class TestPdfWriter : public QObject
{
    Q_OBJECT

private slots:
    void isAcceptedByOtherPrograms_data();
    void isAcceptedByOtherPrograms();
    void namesPicturesAndProgram();
    void hasNoBookmarkForOnePicture();
    void readsTheTimeFromTheEnvironment();
    void isTheSameWithAnyNumberOfThreads_data();
    void isTheSameWithAnyNumberOfThreads();
    void writesNumbersAsText();
    void replacesOtherLettersInNumbers();
    void neighborsShareAnEdge();
    void coversTheEdgeOfOnlyANeighbor_data();
    void coversTheEdgeOfOnlyANeighbor();
    void showsNoSeam();
    void showsTransparencyOnWhite();
    void reportsEachSheetInOrder();
    void writesManySheets();
    void reportsFailedDevice_data();
    void reportsFailedDevice();
#ifdef Q_OS_UNIX
    void saysWhyAFileIsIncomplete_data();
    void saysWhyAFileIsIncomplete();
#endif
    void reportsFailedSpool();
    void reportsALostSpool();
    void refuses_data();
    void refuses();
    void spoolsToFile();
    void packsInOrderWithinTheWindow_data();
    void packsInOrderWithinTheWindow();
    void passesExceptionsOn_data();
    void passesExceptionsOn();
};

void TestPdfWriter::isAcceptedByOtherPrograms_data()
{
    QTest::addColumn<bool>("lossless");
    QTest::addRow("jpeg") << false;
    QTest::addRow("lossless") << true;
}

void TestPdfWriter::isAcceptedByOtherPrograms()
{
    QFETCH(const bool, lossless);
    const QString path = savedBytes(severalPictures(lossless, 2), u"several.pdf"_s);
    int status = -1;
    const QString checked = output(QStringLiteral(QPDF_PROGRAM), {u"--check"_s, path}, &status);
    QVERIFY2(status == 0 && !checked.contains("WARNING"_L1), qPrintable(checked));
    QString drawn = output(QStringLiteral(MUTOOL_PROGRAM), {u"draw"_s, u"-F"_s, u"txt"_s, path}, &status);
    drawn.remove(u"warning: ICC support is not available"_s); // in Debian's mutool, for any file
    QVERIFY2(status == 0 && !drawn.contains("warning"_L1) && !drawn.contains("error"_L1), qPrintable(drawn));
    QCOMPARE(pdfFacts(path).pages, 6);
    QCOMPARE(pdfFacts(path).pageSizes.at(1), QSizeF(100, 60));
}

void TestPdfWriter::namesPicturesAndProgram()
{
    const WrittenPdf pdf = readPdf(severalPictures(false, 1));
    QCOMPARE(pdf.errors, QByteArray());
    QCOMPARE(QString::fromUtf8(pdf.title), u"Briefe (1) \u4e2d\u6587"_s);
    QVERIFY2(pdf.creator.startsWith("Quillmarch 2."), pdf.creator.constData());
    QCOMPARE(pdf.created, QByteArray("D:20240229130509Z"));
    QCOMPARE(pdf.modified, pdf.created);
    QCOMPARE(pdf.bookmarks, (QList<QByteArray>{"one", "zwei ü", "三"}));
    QCOMPARE(pdf.bookmarkPages, (QList<int>{0, 3, 5}));
}

void TestPdfWriter::hasNoBookmarkForOnePicture()
{
    const WrittenPdf pdf = readPdf(pdfOf({textPicture(50, 90), {}, u"one"_s}, sheetsBetween({0, 45, 90}, 50), {}));
    QCOMPARE(pdf.bookmarks.size(), 0);
    QCOMPARE(pdf.title, QByteArray());
}

void TestPdfWriter::readsTheTimeFromTheEnvironment()
{
    const PdfPicture picture{textPicture(50, 90), {}, {}};
    const QList<PdfSheet> sheets = sheetsBetween({0, 90}, 50);
    qputenv("SOURCE_DATE_EPOCH", "86400");
    const QByteArray first = pdfOf(picture, sheets, {});
    QCOMPARE(readPdf(first).created, QByteArray("D:19700102000000Z"));
    QCOMPARE(pdfOf(picture, sheets, {}), first);
    qputenv("SOURCE_DATE_EPOCH", "253402300799");
    QCOMPARE(readPdf(pdfOf(picture, sheets, {})).created, QByteArray("D:99991231235959Z"));
    for (const char *other : {"-1", "253402300800", "9223372036854775807", "soon"}) {
        qputenv("SOURCE_DATE_EPOCH", other);
        const QByteArray year = readPdf(pdfOf(picture, sheets, {})).created.mid(2, 4);
        QCOMPARE(year.toInt(), QDate::currentDate().year());
    }
    qunsetenv("SOURCE_DATE_EPOCH");
    const QDateTime before = QDateTime::currentDateTimeUtc();
    const QString now = QString::fromLatin1(readPdf(pdfOf(picture, sheets, {})).created);
    const QDateTime stated = QDateTime::fromString(now.mid(2, 14), u"yyyyMMddHHmmss"_s);
    QVERIFY2(qAbs(stated.secsTo(QDateTime(before.date(), before.time()))) < 60, qPrintable(now));
}

void TestPdfWriter::isTheSameWithAnyNumberOfThreads_data()
{
    QTest::addColumn<bool>("lossless");
    QTest::addRow("jpeg") << false;
    QTest::addRow("lossless") << true;
}

void TestPdfWriter::isTheSameWithAnyNumberOfThreads()
{
    QFETCH(const bool, lossless);
    const QByteArray one = severalPictures(lossless, 1);
    for (const int threads : {2, 8, 0}) {
        QVERIFY(severalPictures(lossless, threads) == one);
    }
}

void TestPdfWriter::writesNumbersAsText()
{
    const QString path = savedBytes(severalPictures(false, 1), u"numbers.pdf"_s);
    for (int page = 1; page <= 3; ++page) {
        const QString number = QString::number(page);
        const QString text = output(u"pdftotext"_s, {u"-f"_s, number, u"-l"_s, number, u"-bbox"_s, path, u"-"_s});
        QVERIFY2(text.contains(u">%1</word>"_s.arg(page)), qPrintable(text));
        // In the middle of its box, which is 50 points wide and 16 high in the top right corner.
        QList<double> edges;
        const QRegularExpression edgeOfWord(u"(?:xMin|yMin|xMax|yMax)=\"([\\d.]+)\""_s);
        for (const auto &edge : edgeOfWord.globalMatch(text)) {
            edges.append(edge.captured(1).toDouble());
        }
        double xMin = 1000;
        double xMax = 0;
        for (qsizetype i = 0; i + 3 < edges.size(); i += 4) {
            xMin = std::min(xMin, edges.at(i));
            xMax = std::max(xMax, edges.at(i + 2));
        }
        QVERIFY2(std::abs((xMin + xMax) / 2 - 75) < 1, qPrintable(text));
    }
    QVERIFY(!readPdf(severalPictures(false, 1)).pages.at(3).content.contains("BT"));
}

void TestPdfWriter::replacesOtherLettersInNumbers()
{
    QList<PdfSheet> sheets = sheetsBetween({0, 90}, 50);
    sheets[0].number = u"1 (2) \\ \u4e09-4.5/6"_s;
    sheets[0].numberPlace = QRectF(0, 0, 20, 5);
    const WrittenPdf pdf = readPdf(pdfOf({textPicture(50, 90), {}, {}}, sheets, {}));
    QVERIFY2(pdf.pages.at(0).content.contains("(1 ?2? ? ?-4.5/6) Tj"), pdf.pages.at(0).content.constData());
}

void TestPdfWriter::neighborsShareAnEdge()
{
    PdfSheet sheet{{595.276, 841.89}, {}, {}, {}};
    double y = 10.0 / 3;
    for (int row = 0; row < 300; row += 30) {
        const double height = 100.0 / 7;
        sheet.strips.append({row, row + 30, QRectF(7.7, y, 123.456789, height)});
        y += height;
    }
    const WrittenPdf pdf = readPdf(pdfOf({noisePicture(QSize(64, 300)), {}, {}}, {sheet}, {}));
    const QList<QByteArray> words = pdf.pages.at(0).content.simplified().split(' ');
    double edge = 0;
    int bands = 0;
    for (qsizetype at = words.indexOf("cm"); at >= 0; at = words.indexOf("cm", at + 1), ++bands) {
        const double bottom = numberBefore(words, at, 1);
        const qint64 top = qRound64(10000 * (bottom + numberBefore(words, at, 3)));
        if (bands > 0) {
            QCOMPARE(top, qRound64(10000 * edge));
        }
        edge = bottom;
    }
    QCOMPARE(bands, 10);
}

void TestPdfWriter::coversTheEdgeOfOnlyANeighbor_data()
{
    QTest::addColumn<int>("firstRow"); // of the second strip
    QTest::addColumn<QRectF>("place");
    QTest::addColumn<bool>("isNeighbor");
    QTest::newRow("neighbor") << 30 << QRectF(10, 110, 120, 100) << true;
    QTest::newRow("other rows") << 31 << QRectF(10, 110, 120, 100) << false;
    QTest::newRow("other left edge") << 30 << QRectF(11, 110, 119, 100) << false;
    QTest::newRow("other right edge") << 30 << QRectF(10, 110, 121, 100) << false;
    QTest::newRow("with a gap") << 30 << QRectF(10, 111, 120, 100) << false;
}

/// A band of a JPEG file has rows below the strip. Shown over its neighbor, which is painted
/// later, they leave no seam.
void TestPdfWriter::coversTheEdgeOfOnlyANeighbor()
{
    QFETCH(int, firstRow);
    QFETCH(QRectF, place);
    QFETCH(bool, isNeighbor);
    PdfSheet sheet{{200, 300}, {}, {}, {}};
    sheet.strips.append({0, 30, QRectF(10, 10, 120, 100)});
    sheet.strips.append({firstRow, 60, place});
    PdfOptions options;
    options.lossless = true;
    const auto file = JpegBands::read(jpegOf(jpegPicture(QSize(64, 90)), {}));
    const WrittenPdf pdf = readPdf(pdfOf({QImage(), file, {}}, {sheet}, options));
    const QList<QByteArray> words = pdf.pages.at(0).content.simplified().split(' ');
    const qsizetype clip = words.indexOf("re");
    QCOMPARE_GE(clip, 4);
    const double bottom = numberBefore(words, clip, 3);
    if (isNeighbor) {
        QCOMPARE_LT(bottom, 190.0);
        QCOMPARE_GE(bottom, 90.0); // not beyond it
    } else {
        QCOMPARE(bottom, 190.0);
    }
}

void TestPdfWriter::showsNoSeam()
{
    QImage image(90, 300, QImage::Format_RGB32);
    image.fill(Qt::black);
    PdfSheet sheet{{90, 301}, {}, {}, {}};
    for (int row = 0; row < 300; row += 25) {
        sheet.strips.append({row, row + 25, QRectF(0, row * 1.0033, 90, 25 * 1.0033)});
    }
    for (const bool lossless : {false, true}) {
        const QString path = savedBytes(pdfOf({image, {}, {}}, {sheet}, options(lossless)), u"seams.pdf"_s);
        for (const int dots : {72, 100, 144}) {
            const QImage page = pdfPictures(path, dots).value(0);
            QVERIFY(!page.isNull());
            for (int y = 0; y < page.height() - 2; ++y) {
                QVERIFY2(qGray(page.pixel(page.width() / 2, y)) < 8, qPrintable(u"row %1, %2 dpi"_s.arg(y).arg(dots)));
            }
        }
    }
}

void TestPdfWriter::showsTransparencyOnWhite()
{
    QImage image(40, 90, QImage::Format_ARGB32);
    image.fill(0xffff0000U);
    for (int y = 30; y < 90; ++y) {
        for (int x = 0; x < 40; ++x) {
            image.setPixel(x, y, y < 60 ? 0x80000000U : 0x000000ffU);
        }
    }
    for (const bool lossless : {false, true}) {
        const PdfSheet sheet{{40, 90}, {{0, 90, QRectF(0, 0, 40, 90)}}, {}, {}};
        const QImage page =
            pdfPictures(savedBytes(pdfOf({image, {}, {}}, {sheet}, options(lossless)), u"alpha.pdf"_s), 72).value(0);
        QCOMPARE(page.size(), QSize(40, 90));
        QVERIFY(qRed(page.pixel(20, 15)) > 250 && qGreen(page.pixel(20, 15)) < 8);
        QVERIFY(qAbs(qGray(page.pixel(20, 45)) - 127) < 4);
        QCOMPARE(page.pixel(20, 75), 0xffffffffU);
    }
}

void TestPdfWriter::reportsEachSheetInOrder()
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    PdfWriter writer(&buffer, options(false, 4));
    QList<PdfSheet> sheets = sheetsBetween({0, 10, 20, 30, 40, 50}, 50);
    sheets.insert(2, PdfSheet{{50, 50}, {}, {}, {}}); // a blank one
    sheets.prepend(PdfSheet{{50, 50}, {}, {}, {}});
    sheets.append(PdfSheet{{50, 50}, {}, {}, {}});
    QList<int> reported;
    bool isOnCaller = true;
    const auto caller = std::this_thread::get_id();
    writer.addPicture({noisePicture(QSize(50, 50)), {}, {}}, sheets, [&](int index) {
        isOnCaller = isOnCaller && std::this_thread::get_id() == caller;
        reported.append(index);
    });
    QCOMPARE(reported, (QList<int>{0, 1, 2, 3, 4, 5, 6, 7}));
    QVERIFY(isOnCaller);
    writer.finish();
    QCOMPARE(readPdf(buffer.data()).pages.size(), 8);
}

void TestPdfWriter::writesManySheets()
{
    QList<int> cuts;
    for (int y = 0; y <= 6000; y += 2) {
        cuts.append(y);
    }
    const QImage image = noisePicture(QSize(12, 6000));
    const WrittenPdf pdf = readPdf(pdfOf({image, {}, {}}, sheetsBetween(cuts, 12), options(true)));
    QCOMPARE(pdf.errors, QByteArray());
    QCOMPARE(pdf.pages.size(), 3000);
    QCOMPARE(firstDeepDifference(joined(pdf), image.convertToFormat(QImage::Format_RGBA64)), QString());
}

void TestPdfWriter::reportsFailedDevice_data()
{
    QTest::addColumn<qint64>("room");
    const qint64 size = severalPictures(true, 1).size();
    for (const qint64 room : {qint64(0), qint64(1), qint64(100), size / 2, size - 1}) {
        QTest::addRow("room for %lld of %lld", static_cast<long long>(room), static_cast<long long>(size)) << room;
    }
}

void TestPdfWriter::reportsFailedDevice()
{
    QFETCH(const qint64, room);
    SmallDevice device(room);
    PdfWriter writer(&device, options(true));
    writer.addPicture({noisePicture(QSize(300, 300)), {}, {}}, sheetsBetween({0, 100, 300}, 300));
    QVERIFY_THROWS_EXCEPTION(PdfError, writer.finish());
}

#ifdef Q_OS_UNIX
void TestPdfWriter::saysWhyAFileIsIncomplete_data()
{
    QTest::addColumn<int>("room"); // bytes
    QTest::newRow("at its end") << 100;
    QTest::newRow("in a block") << 20000;
}

void TestPdfWriter::saysWhyAFileIsIncomplete()
{
    QFETCH(const int, room);
    QFile file(u"full.pdf"_s);
    QVERIFY(file.open(QIODevice::WriteOnly));
    PdfWriter writer(&file, options(true));
    const QImage image = room > 16384 ? noisePicture(QSize(300, 300)) : plainPicture(50, 50, Qt::white);
    writer.addPicture({image, {}, {}}, sheetsBetween({0, image.height()}, image.width()));
    const FullDisk disk{rlim_t(room)};
    try {
        writer.finish();
        QFAIL("no error");
    } catch (const PdfError &error) {
        QCOMPARE(error.reason(), u"File too large"_s);
    }
}
#endif

void TestPdfWriter::reportsFailedSpool()
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    PdfOptions chosen = options(true);
    chosen.spoolFolder = u"/nowhere/at/all"_s;
    PdfWriter writer(&buffer, chosen);
    const QImage large = noisePicture(QSize(2400, 3600)); // 25 MB that cannot be packed
    try {
        writer.addPicture({large, {}, {}}, sheetsBetween({0, 1000, 2000, 3600}, 2400));
        QFAIL("no error");
    } catch (const PdfError &error) {
        QVERIFY2(error.reason().contains("No such file"_L1), qPrintable(error.reason()));
    }
}

void TestPdfWriter::reportsALostSpool()
{
#ifdef Q_OS_LINUX
    const QTemporaryDir folder;
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    PdfOptions chosen = options(true);
    chosen.spoolFolder = folder.path();
    PdfWriter writer(&buffer, chosen);
    writer.addPicture({noisePicture(QSize(2400, 3600)), {}, {}}, sheetsBetween({0, 1000, 2000, 3600}, 2400));
    int truncated = 0;
    for (const auto &entry : std::filesystem::directory_iterator("/proc/self/fd")) { // the file has no name
        std::error_code closed;
        const std::string target = std::filesystem::read_symlink(entry, closed).string();
        if (QByteArray::fromStdString(target).startsWith(QFile::encodeName(folder.path()))) {
            std::filesystem::resize_file(entry, 1000);
            ++truncated;
        }
    }
    QCOMPARE(truncated, 1);
    QVERIFY_THROWS_EXCEPTION(PdfError, writer.finish());
#else
    QSKIP("the file cannot be reached");
#endif
}

void TestPdfWriter::refuses_data()
{
    QTest::addColumn<PdfSheet>("sheet");
    const QRectF place(0, 0, 50, 50);
    QTest::addRow("row -1") << PdfSheet{{50, 50}, {{-1, 5, place}}, {}, {}};
    QTest::addRow("row 51") << PdfSheet{{50, 50}, {{5, 51, place}}, {}, {}};
    QTest::addRow("no rows") << PdfSheet{{50, 50}, {{5, 5, place}}, {}, {}};
    QTest::addRow("no place") << PdfSheet{{50, 50}, {{5, 6, {}}}, {}, {}};
    QTest::addRow("too narrow") << PdfSheet{{2, 50}, {}, {}, {}};
    QTest::addRow("too high") << PdfSheet{{50, 14401}, {}, {}, {}};
    QTest::addRow("not a number") << PdfSheet{{qQNaN(), 50}, {}, {}, {}};
}

void TestPdfWriter::refuses()
{
    QFETCH(const PdfSheet, sheet);
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    PdfWriter writer(&buffer, {});
    QVERIFY_THROWS_EXCEPTION(std::invalid_argument, writer.addPicture({noisePicture(QSize(50, 50)), {}, {}}, {sheet}));
    QVERIFY_THROWS_EXCEPTION(std::invalid_argument, writer.finish()); // there is no sheet
}

void TestPdfWriter::spoolsToFile()
{
    QTemporaryDir folder;
    BandSpool spool(folder.path(), 10);
    const QList<QByteArray> parts{"12345", "1234567890", "67890", QByteArray(100000, 'x'), {}, "end"};
    QList<BandSpool::Entry> entries;
    for (const QByteArray &part : parts) {
        entries.append(spool.add(part));
    }
    for (const int i : {3, 0, 5, 1, 4, 2, 3}) {
        QCOMPARE(spool.read(entries.at(i)), parts.at(i));
    }
    QCOMPARE(entries.at(0).kept, parts.at(0));
    QVERIFY(entries.at(1).kept.isEmpty());
    QCOMPARE(entries.at(2).kept, parts.at(2));
}

void TestPdfWriter::packsInOrderWithinTheWindow_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("threads");
    for (const int threads : {1, 2, 8}) {
        for (const int count : {0, 1, 2, 200}) {
            QTest::addRow("%d bands, %d threads", count, threads) << count << threads;
        }
    }
}

void TestPdfWriter::packsInOrderWithinTheWindow()
{
    QFETCH(const int, count);
    QFETCH(const int, threads);
    std::atomic<int> waiting = 0;
    int most = 0;
    QList<int> order;
    const auto pack = [&](int index) {
        ++waiting;
        return PackedBand{packedImage(index + 1, 1, 1, 8), {}, index};
    };
    packInOrder(count, threads, pack, [&](int index, const PackedBand &band) {
        most = std::max(most, int(waiting));
        --waiting;
        QCOMPARE(band.firstRow, index);
        order.append(index);
    });
    QCOMPARE(order.size(), count);
    QVERIFY(std::is_sorted(order.begin(), order.end()));
    QVERIFY2(most <= 2 * threads + 1, qPrintable(QString::number(most)));
}

void TestPdfWriter::passesExceptionsOn_data()
{
    QTest::addColumn<int>("threads");
    QTest::addRow("1 thread") << 1;
    QTest::addRow("4 threads") << 4;
}

void TestPdfWriter::passesExceptionsOn()
{
    QFETCH(const int, threads);
    std::atomic<int> packed = 0;
    const auto fail = [&](int index) {
        ++packed;
        if (index == 20) {
            throw std::bad_alloc();
        }
        return PackedBand();
    };
    QVERIFY_THROWS_EXCEPTION(std::bad_alloc, packInOrder(1000, threads, fail, [](int, const PackedBand &) {}));
    QVERIFY(packed < 100);
    const auto stop = [](int index, const PackedBand &) {
        if (index == 3) {
            throw PdfError(u"stop"_s);
        }
    };
    const auto pack = [](int) { return PackedBand(); };
    QVERIFY_THROWS_EXCEPTION(PdfError, packInOrder(1000, threads, pack, stop));
}

QUILLMARCH_TEST_MAIN(TestPdfWriter)
#include "tst_pdfwriter.moc"
