#include "batch/truncation.h"
#include "support/pictures.h"
#include "support/testmain.h"

using namespace Qt::StringLiterals;

namespace {

using Places = QList<qsizetype>;

/// Files of 3 directories without pixels, in this order: the first, the third, the second.
QByteArray littleTiff()
{
    return QByteArray::fromHex("49492a00 08000000"
                               "0100 0001 0300 01000000 07000000 2c000000" // 8
                               "0100 0001 0300 01000000 07000000 00000000" // 26
                               "0100 4a01 0400 01000000 08000000 1a000000"); // 44, with a directory below it
}

QByteArray bigEndianTiff()
{
    return QByteArray::fromHex("4d4d002a 00000008"
                               "0001 0100 0003 00000001 00070000 0000002c"
                               "0001 0100 0003 00000001 00070000 00000000"
                               "0001 0100 0003 00000001 00070000 0000001a");
}

QByteArray bigTiff()
{
    return QByteArray::fromHex("49492b0008000000 1000000000000000"
                               "0100000000000000 0001 0300 0100000000000000 0700000000000000 5800000000000000" // 16
                               "0100000000000000 0001 0300 0100000000000000 0700000000000000 0000000000000000" // 52
                               "0100000000000000 0001 0300 0100000000000000 0700000000000000 3400000000000000"); // 88
}

QByteArray bigEndianBigTiff()
{
    return QByteArray::fromHex("4d4d002b00080000 0000000000000010"
                               "0000000000000001 0100 0003 0000000000000001 0007000000000000 0000000000000058"
                               "0000000000000001 0100 0003 0000000000000001 0007000000000000 0000000000000000"
                               "0000000000000001 0100 0003 0000000000000001 0007000000000000 0000000000000034");
}

/// \a bytes with those written in \a hex from \a at on.
QByteArray changed(QByteArray bytes, qsizetype at, const char *hex)
{
    const QByteArray part = QByteArray::fromHex(hex);
    return bytes.replace(at, part.size(), part);
}

} // namespace

class TestTruncation : public QObject
{
    Q_OBJECT

private slots:
    void seesWhereAFileIsTruncated_data();
    void seesWhereAFileIsTruncated();
    void findsThePagesOfATiff_data();
    void findsThePagesOfATiff();
    void keepsSomePagesOfATiff_data();
    void keepsSomePagesOfATiff();
};

void TestTruncation::seesWhereAFileIsTruncated_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QByteArray>("format");
    QTest::addColumn<int>("least"); // bytes of a whole picture; 0 if the decoder tells
    const QByteArray header = QByteArray::fromHex("474946383961100010008000000000 00ffffff");
    const QByteArray pixels = QByteArray::fromHex("020e848fa9cbed0fa39cb4da8bb3de0500");
    const QByteArray extension = QByteArray::fromHex("21f9040000000000");
    const QByteArray frame = QByteArray::fromHex("2c00000000100010000 0") + pixels;
    const QByteArray ownColors = QByteArray::fromHex("2c0000000010001000800000000 1ffff") + pixels;
    const auto sizeOf = [](const QByteArray &bytes) { return int(bytes.size()); };
    QTest::newRow("GIF") << header + frame + ';' << QByteArray("gif") << sizeOf(header + frame);
    QTest::newRow("GIF, two frames") << header + frame + frame + ';' << QByteArray("gif") << sizeOf(header + frame);
    QTest::newRow("GIF, extensions") << header + extension + extension + frame << QByteArray("gif")
                                     << sizeOf(header + extension + extension + frame);
    QTest::newRow("GIF, colors of the frame")
        << header + ownColors + ';' << QByteArray("gif") << sizeOf(header + ownColors);
    const QImage picture = noisePicture(QSize(16, 16));
    const QByteArray bmp = encodedPicture(picture, "BMP");
    QTest::newRow("BMP") << bmp << QByteArray("bmp") << sizeOf(bmp);
    QByteArray noSize = bmp;
    QTest::newRow("BMP, 0 bytes long") << noSize.replace(2, 4, QByteArray(4, '\0')) << QByteArray("bmp") << sizeOf(bmp);
    QTest::newRow("BMP, as long as its headers")
        << noSize.replace(2, 4, QByteArray::fromHex("36000000")) << QByteArray("bmp") << sizeOf(bmp);
    QByteArray upperFirst = noSize;
    QTest::newRow("BMP, upper row first")
        << upperFirst.replace(22, 4, QByteArray::fromHex("f0ffffff")) << QByteArray("bmp") << sizeOf(bmp);
    const QByteArray core =
        QByteArray::fromHex("424d000000000000000 020000000 0c000000 1000 0200 0100 0100 ffffff 000000")
        + QByteArray(8, '\x55');
    QTest::newRow("BMP, short header") << core << QByteArray("bmp") << sizeOf(core);
    const QByteArray masks = QByteArray::fromHex("424d0000000000000000420000002800000002000000020000000100100003000000"
                                                 "0000000000000000000000000000000000000000"
                                                 "00f80000e00700001f000000")
        + QByteArray(8, '\x55');
    QTest::newRow("BMP, masks of colors") << masks << QByteArray("bmp") << sizeOf(masks);
    const QByteArray xbm = encodedPicture(picture, "XBM");
    QTest::newRow("XBM") << xbm << QByteArray("xbm") << int(xbm.lastIndexOf('}')) + 1;
    QTest::newRow("PNG") << encodedPicture(picture, "PNG") << QByteArray("png") << 0;
}

void TestTruncation::seesWhereAFileIsTruncated()
{
    QFETCH(QByteArray, file);
    QFETCH(QByteArray, format);
    QFETCH(int, least);
    QVERIFY(!QImage::fromData(file).isNull());
    for (int size = 6; size <= file.size(); ++size) {
        QVERIFY2(isTruncated(file.left(size), format) == (size < least), qPrintable(QString::number(size)));
    }
}

void TestTruncation::findsThePagesOfATiff_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<Places>("places");
    QTest::addColumn<bool>("isSound");
    const QByteArray tiff = littleTiff();
    const QByteArray big = bigTiff();
    const Places all{8, 44, 26};
    const Places allBig{16, 88, 52};
    QTest::newRow("little endian") << tiff << all << true;
    QTest::newRow("big endian") << bigEndianTiff() << all << true;
    QTest::newRow("BigTIFF") << big << allBig << true;
    QTest::newRow("BigTIFF, big endian") << bigEndianBigTiff() << allBig << true;
    QTest::newRow("no directory") << changed(tiff, 4, "00000000") << Places() << true;
    QTest::newRow("the first one at the end") << changed(tiff, 4, "3e000000") << Places() << false;
    QTest::newRow("the first one after the end") << changed(tiff, 4, "ffffffff") << Places() << false;
    QTest::newRow("the next one at the last byte") << changed(tiff, 58, "3d000000") << Places{8, 44} << false;
    QTest::newRow("the next one after the end") << changed(tiff, 58, "ffffffff") << Places{8, 44} << false;
    QTest::newRow("the same again") << changed(tiff, 58, "2c000000") << Places{8, 44} << false;
    QTest::newRow("back to the first") << changed(tiff, 40, "08000000") << all << false;
    QTest::newRow("no entries") << changed(tiff, 44, "0000") << Places{8} << false;
    QTest::newRow("2 entries, no link") << changed(tiff, 44, "0200") << Places{8} << false;
    QTest::newRow("65535 entries") << changed(tiff, 44, "ffff") << Places{8} << false;
    QTest::newRow("2^64-1 entries") << changed(big, 88, "ffffffffffffffff") << Places{16} << false;
    QTest::newRow("2^60 entries") << changed(big, 88, "0000000000000010") << Places{16} << false;
    QTest::newRow("at 2^64-1") << changed(big, 44, "ffffffffffffffff") << Places{16} << false;
    QTest::newRow("at 2^63") << changed(big, 44, "0000000000000080") << Places{16} << false;
    QTest::newRow("truncated link") << tiff.chopped(1) << Places{8, 44} << false;
    QTest::newRow("truncated entries") << tiff.chopped(5) << Places{8} << false;
    QTest::newRow("truncated header") << tiff.left(7) << Places() << false;
    QTest::newRow("PNG") << encodedPicture(plainPicture(16, 16, Qt::white), "PNG") << Places() << false;
    QTest::newRow("nothing") << QByteArray() << Places() << false;
}

void TestTruncation::findsThePagesOfATiff()
{
    QFETCH(QByteArray, file);
    const TiffPages pages = tiffPages(file);
    QTEST(pages.places, "places");
    QTEST(pages.isChainSound, "isSound");
    for (qsizetype size = 0; size < file.size(); ++size) {
        QVERIFY(tiffPages(file.left(size)).places.size() <= pages.places.size());
    }
}

void TestTruncation::keepsSomePagesOfATiff_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<Places>("places");
    QTest::newRow("little endian") << littleTiff() << Places{8, 44, 26};
    QTest::newRow("big endian") << bigEndianTiff() << Places{8, 44, 26};
    QTest::newRow("BigTIFF") << bigTiff() << Places{16, 88, 52};
    QTest::newRow("BigTIFF, big endian") << bigEndianBigTiff() << Places{16, 88, 52};
    QTest::newRow("no last link") << changed(littleTiff(), 58, "00000000").chopped(4) << Places{8, 44};
}

void TestTruncation::keepsSomePagesOfATiff()
{
    QFETCH(const QByteArray, file);
    QFETCH(const Places, places);
    for (const Places &kept : {places, places.mid(1), places.first(1), Places{places.last(), places.first()}}) {
        QByteArray bytes = file;
        keepTiffPages(bytes, kept);
        QCOMPARE(tiffPages(bytes).places, kept);
        QVERIFY(tiffPages(bytes).isChainSound);
    }
    QByteArray bytes = file;
    beginTiffAt(bytes, places.at(1));
    QCOMPARE(tiffPages(bytes).places, places.mid(1));
}

QUILLMARCH_TEST_MAIN(TestTruncation)
#include "tst_truncation.moc"
