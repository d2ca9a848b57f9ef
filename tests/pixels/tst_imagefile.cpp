#include "pixels/imagefile.h"
#include "support/files.h"
#include "support/pictures.h"
#include "support/testmain.h"

#include <QColorSpace>
#include <QDir>
#include <QImageReader>

using namespace Qt::StringLiterals;

namespace {

/// The pixels of \a path as QImageReader alone reads them.
QImage readByQt(const QString &path)
{
    QImageReader reader(path);
    reader.setAutoTransform(true);
    return reader.read();
}

} // namespace

class TestImageFile : public QObject
{
    Q_OBJECT

private slots:
    void opensAsTheReader_data();
    void opensAsTheReader();
    void setsTheLimitAtEachOpen_data();
    void setsTheLimitAtEachOpen();
    void namesWithoutASuffixOpenTheJpegFirst();
};

void TestImageFile::opensAsTheReader_data()
{
    QTest::addColumn<QString>("path");
    const QImage picture = blockPicture(1100, 1200); // large enough for a second thread
    const QImage gray = picture.convertToFormat(QImage::Format_Grayscale8);
    for (const QString &name : {u"a.png"_s, u"a.jpg"_s, u"no suffix.png"_s, u"scaled@2x.png"_s, u"scaled@3x.and.jpg"_s,
                                u"no@scale.png"_s, u"late.a@2x.png"_s, u"a.bmp"_s}) {
        QTest::newRow(qPrintable(name)) << savedPicture(picture, name);
    }
    QTest::newRow("JPEG under a PNG's name") << savedPicture(picture, u"really jpeg.png"_s, "JPEG");
    QTest::newRow("PNG under an unknown name") << savedPicture(picture, u"what.ever"_s, "PNG");
    QTest::newRow("gray PNG") << savedPicture(gray, u"gray.png"_s);
    QTest::newRow("gray JPEG") << savedPicture(gray, u"gray.jpg"_s);
    QTest::newRow("palette") << savedPicture(picture.convertToFormat(QImage::Format_Indexed8), u"palette.png"_s);
    QTest::newRow("alpha") << savedPicture(picture.convertToFormat(QImage::Format_ARGB32), u"alpha.png"_s);
    QTest::newRow("16 bits") << savedPicture(picture.convertToFormat(QImage::Format_RGBX64), u"deep.png"_s);
    QTest::newRow("no suffix") << QDir::current().absoluteFilePath(u"no suffix"_s);
    QTest::newRow("resource") << u":/images/sitelogo.png"_s;
    QDir::addSearchPath(u"pictures"_s, QDir::currentPath());
    QTest::newRow("search path") << u"pictures:a.png"_s;
    QTest::newRow("relative") << u"a.png"_s;
    const QByteArray png = contentOf(u"a.png"_s);
    const QByteArray jpeg = contentOf(u"a.jpg"_s);
    QTest::newRow("truncated PNG") << savedBytes(png.left(png.size() / 2), u"cut.png"_s);
    QTest::newRow("truncated JPEG") << savedBytes(jpeg.left(jpeg.size() / 2), u"cut.jpg"_s);
    QTest::newRow("folder") << QDir::currentPath();
    QTest::newRow("absent") << QDir::current().absoluteFilePath(u"absent"_s);
}

void TestImageFile::opensAsTheReader()
{
    QFETCH(QString, path);
    const QImage opened = decodeImageFile(path).toImage();
    const QImage expected = readByQt(path);
    QCOMPARE(opened.isNull(), expected.isNull());
    QCOMPARE(opened, expected);
    QCOMPARE(opened.format(), expected.format());
    QCOMPARE(opened.devicePixelRatio(), expected.devicePixelRatio());
    QCOMPARE(opened.dotsPerMeterX(), expected.dotsPerMeterX());
    QCOMPARE(opened.colorSpace(), expected.colorSpace());
}

void TestImageFile::setsTheLimitAtEachOpen_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("limit");
    QImage large(9000, 7000, QImage::Format_Grayscale8);
    large.fill(200);
    const QString path = savedPicture(large, u"large.png"_s);
    QTest::newRow("small PNG") << savedPicture(blockPicture(100, 100), u"small.png"_s) << 256;
    QTest::newRow("small JPEG") << savedPicture(blockPicture(100, 100), u"small.jpg"_s) << 256;
    QTest::newRow("large PNG") << path << 273; // 9000 x 7000 x 4 bytes are 241 MiB
    QTest::newRow("large JPEG") << savedPicture(large, u"large.jpg"_s) << 273;
    QTest::newRow("large PNG that is cut") << savedBytes(contentOf(path).chopped(9), u"large cut.png"_s) << 273;
    QTest::newRow("no image") << savedBytes("text", u"text.png"_s) << 1024;
}

void TestImageFile::setsTheLimitAtEachOpen()
{
    QFETCH(QString, path);
    QFETCH(int, limit);
    for (const int before : {0, 1, 5000}) {
        QImageReader::setAllocationLimit(before);
        decodeImageFile(path);
        QCOMPARE(QImageReader::allocationLimit(), limit);
    }
}

void TestImageFile::namesWithoutASuffixOpenTheJpegFirst()
{
    savedPicture(blockPicture(30, 40), u"both.png"_s);
    savedPicture(blockPicture(50, 60), u"both.jpg"_s);
    QCOMPARE(decodeImageFile(QDir::current().absoluteFilePath(u"both"_s)).size(), QSize(50, 60));
}

QUILLMARCH_TEST_MAIN(TestImageFile)
#include "tst_imagefile.moc"
