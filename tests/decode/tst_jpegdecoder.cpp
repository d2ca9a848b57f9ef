#include "decodecomparison.h"
#include "jpegbytes.h"
#include "support/testmain.h"

#include <QBuffer>
#include <QColorSpace>
#include <QImageReader>

using namespace Qt::StringLiterals;

namespace {

constexpr int comment = 0xfe;
constexpr int exif = 0xe1;
constexpr int icc = 0xe2;

QByteArray profileSegment(const QByteArray &profile)
{
    return QByteArray("ICC_PROFILE\0\1\1", 14) + profile;
}

/// \a jpeg with \a unit and the two densities in its JFIF segment.
QByteArray withDensity(QByteArray jpeg, char unit, char x, char y)
{
    return jpeg.replace(13, 5, QByteArray(1, unit) + '\0' + x + '\0' + y);
}

} // namespace

class TestJpegDecoder : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { silenceWarnings(); }
    void cleanup() { QImageReader::setAllocationLimit(256); }

    void decodesAsQt_data();
    void decodesAsQt();
    void joinsTwoHalves_data();
    void joinsTwoHalves();
    void turnsAsQt_data();
    void turnsAsQt();
    void keepsSegmentsAsQt_data();
    void keepsSegmentsAsQt();
    void leavesToQt_data();
    void leavesToQt();
    void refusesAsQt_data();
    void refusesAsQt();
    void keepsToTheAllocationLimit();
};

void TestJpegDecoder::decodesAsQt_data()
{
    QTest::addColumn<QByteArray>("file");
    const QList<QSize> sizes{{1, 1}, {7, 3}, {8, 8}, {11, 11}, {16, 17}, {33, 15}, {130, 71}, {11, 3000}, {3000, 11}};
    const QList<QSize> samplings{{1, 1}, {2, 1}, {1, 2}, {2, 2}, {4, 1}, {4, 2}, {1, 4}};
    for (const QSize size : sizes) {
        const QImage image = jpegPicture(size);
        const auto add = [&](const char *name, const JpegKind &kind) {
            QTest::addRow("%dx%d, %s", size.width(), size.height(), name) << jpegOf(image, kind);
        };
        for (const QSize sampling : samplings) {
            const QByteArray name =
                "color " + QByteArray::number(sampling.width()) + 'x' + QByteArray::number(sampling.height());
            add(name, {.horizontal = sampling.width(), .vertical = sampling.height()});
            add(name + ", progressive",
                {.horizontal = sampling.width(), .vertical = sampling.height(), .isProgressive = true});
        }
        add("gray", {.channels = 1, .horizontal = 1, .vertical = 1});
        add("gray, sampling 2x2", {.channels = 1});
        add("gray, progressive", {.channels = 1, .horizontal = 1, .vertical = 1, .isProgressive = true});
        add("RGB", {.horizontal = 1, .vertical = 1, .isRgb = true});
        add("a scan for each channel", {.hasOneScanAChannel = true});
        add("restart markers", {.restartRows = 1});
        add("quality 100", {.quality = 100});
        add("quality 5", {.quality = 5});
    }
}

void TestJpegDecoder::decodesAsQt()
{
    QFETCH(QByteArray, file);
    const QImage expected = readByQt(file, "jpeg");
    QVERIFY(!expected.isNull());
    QCOMPARE(differenceBetween(readByDecoder(file, "jpeg"), expected), QString());
    QCOMPARE(differenceBetween(readByDecoder(file + "bytes behind the end", "jpeg"), expected), QString());
}

void TestJpegDecoder::joinsTwoHalves_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QSize>("sampling");
    const QList<QSize> samplings{{1, 1}, {2, 1}, {1, 2}, {2, 2}, {4, 1}};
    for (const QSize sampling : samplings) {
        for (const QSize size : {QSize(1000, 601), QSize(729, 1024), QSize(50, 20011), QSize(20011, 50)}) {
            QTest::addRow("%dx%d, %dx%d", size.width(), size.height(), sampling.width(), sampling.height())
                << size << sampling;
        }
    }
    for (int height = 530; height < 563; ++height) {
        QTest::addRow("1000x%d", height) << QSize(1000, height) << QSize(2, 2);
    }
}

void TestJpegDecoder::joinsTwoHalves()
{
    QFETCH(QSize, size);
    QFETCH(QSize, sampling);
    const JpegKind kind{.horizontal = sampling.width(), .vertical = sampling.height()};
    const QByteArray file = jpegOf(jpegPicture(size), kind);
    const QImage actual = readByDecoder(file, "jpeg", DecodeThreads::Two);
    QCOMPARE(differenceBetween(actual, readByQt(file, "jpeg")), QString());
}

void TestJpegDecoder::turnsAsQt_data()
{
    QTest::addColumn<QByteArray>("file");
    const QList<QSize> sizes{{1, 1}, {5, 40}, {37, 16}, {64, 33}, {1001, 600}};
    for (const QSize size : sizes) {
        const QImage image = jpegPicture(size);
        for (const bool isGray : {false, true}) {
            QByteArray file =
                jpegOf(image, isGray ? JpegKind{.channels = 1, .horizontal = 1, .vertical = 1} : JpegKind{});
            file = withDensity(file, 1, 72, 100);
            for (int orientation = 0; orientation <= 9; ++orientation) {
                const char *name = isGray ? "gray" : "color";
                QTest::addRow("%s, %dx%d, %d", name, size.width(), size.height(), orientation)
                    << withSegment(file, exif, exifOf(orientation));
            }
            QTest::addRow("%s, %dx%d, low byte first", isGray ? "gray" : "color", size.width(), size.height())
                << withSegment(file, exif, exifOf(6, false));
        }
    }
}

void TestJpegDecoder::turnsAsQt()
{
    QFETCH(QByteArray, file);
    const QImage expected = readByQt(file, "jpeg");
    for (const DecodeThreads threads : {DecodeThreads::One, DecodeThreads::Two}) {
        QCOMPARE(differenceBetween(readByDecoder(file, "jpeg", threads), expected), QString());
    }
}

void TestJpegDecoder::keepsSegmentsAsQt_data()
{
    QTest::addColumn<QByteArray>("file");
    for (const int channels : {1, 3}) {
        const QByteArray file = jpegOf(jpegPicture({40, 30}), {.channels = channels, .horizontal = 1, .vertical = 1});
        const auto add = [channels](const char *name, const QByteArray &bytes) {
            QTest::addRow("%d channels, %s", channels, name) << bytes;
        };
        add("comment", withSegment(file, comment, "a comment"));
        add("comment with a key", withSegment(file, comment, "Title: a  comment"));
        add("comments", withSegment(withSegment(file, comment, "Key: one"), comment, "Key: two"));
        add("empty comment", withSegment(file, comment, {}));
        add("profile", withSegment(file, icc, profileSegment(QColorSpace(QColorSpace::AdobeRgb).iccProfile())));
        add("broken profile", withSegment(file, icc, profileSegment(QByteArray(200, 'x'))));
        add("short profile", withSegment(file, icc, profileSegment("x")));
        add("EXIF without a direction", withSegment(file, exif, exifOf(1)));
        add("broken EXIF", withSegment(file, exif, exifOf(6).left(20)));
        add("other data", withSegment(file, 0xed, "anything"));
        add("a byte of other data", withSegment(file, 0xed, "x"));
        const QByteArray large(60000, 'x'); // three of them are more than the buffer of the decoder
        add("much other data", withSegment(withSegment(withSegment(file, 0xed, large), 0xed, large), 0xed, large));
        add("no JFIF", file.left(2) + file.mid(20));
        for (const char unit : {'\0', '\1', '\2', '\3'}) {
            const QByteArray name = "unit " + QByteArray::number(unit);
            add(name, withDensity(file, unit, 72, 118));
        }
        add("density of 0", withDensity(file, 1, 0, 0));
    }
}

void TestJpegDecoder::keepsSegmentsAsQt()
{
    QFETCH(QByteArray, file);
    QCOMPARE(differenceBetween(readByDecoder(file, "jpeg"), readByQt(file, "jpeg")), QString());
}

void TestJpegDecoder::leavesToQt_data()
{
    QTest::addColumn<QByteArray>("file");
    const QByteArray file = jpegOf(jpegPicture({40, 30}), {});
    QTest::newRow("end is missing") << file.chopped(2);
    const QByteArray resolution("\xff\xe0\0\x10JFIF\0\1\1\1\0\x4f\0\x0c\0\0", 18);
    QTest::newRow("resolution after the scan") << file.chopped(2) + resolution + file.last(2);
    QTest::newRow("comment with an empty key") << withSegment(file, comment, ": a comment");
    QTest::newRow("half is missing") << file.chopped(60);
    const QByteArray adobe = withSegment(file.left(2) + file.mid(20), 0xee, QByteArray("Adobe\0\x64\0\0\0\0\x09", 12));
    QTest::newRow("unknown color transform") << adobe;
    QByteArray version = file;
    version[11] = 9;
    QTest::newRow("unknown JFIF version") << version;
}

void TestJpegDecoder::leavesToQt()
{
    QFETCH(QByteArray, file);
    QVERIFY(!readByQt(file, "jpeg").isNull());
    QVERIFY(readByDecoder(file, "jpeg").isNull());
}

void TestJpegDecoder::refusesAsQt_data()
{
    QTest::addColumn<QByteArray>("file");
    const QByteArray file = jpegOf(jpegPicture({40, 30}), {});
    QTest::newRow("a fill byte before the start") << '\xff' + file;
    QTest::newRow("a byte between start and mark") << file.left(1) + 'x' + file.mid(1);
    QTest::newRow("another mark at the start") << file.left(1) + '\xd9' + file.mid(2);
}

void TestJpegDecoder::refusesAsQt()
{
    QFETCH(QByteArray, file);
    QVERIFY(readByQt(file, "jpeg").isNull());
    QVERIFY(readByDecoder(file, "jpeg").isNull());
}

void TestJpegDecoder::keepsToTheAllocationLimit()
{
    for (const int channels : {1, 3}) {
        const JpegKind kind{.channels = channels, .horizontal = 1, .vertical = 1};
        const QByteArray fitting = jpegOf(jpegPicture({512, 512}), kind);
        const QByteArray larger = withSegment(jpegOf(jpegPicture({512, 513}), kind), exif, exifOf(6));
        QImageReader::setAllocationLimit(1);
        QVERIFY(!readByDecoder(fitting, "jpeg").isNull());
        QVERIFY(readByDecoder(larger, "jpeg").isNull());
        QVERIFY(readByQt(larger, "jpeg").isNull());
    }
}

QUILLMARCH_TEST_MAIN(TestJpegDecoder)
#include "tst_jpegdecoder.moc"
