#include "pixels/rowconverter.h"
#include "support/imagecomparison.h"
#include "support/pictures.h"
#include "support/testmain.h"

namespace {

constexpr QSize size(61, 130); // converted in several batches

QImage plainlyConverted(const QImage &image, const QList<QImage::Format> &formats)
{
    QImage converted = image;
    for (const QImage::Format format : formats) {
        converted = converted.convertToFormat(format, Qt::NoOpaqueDetection);
    }
    return converted;
}

QImage sample(QImage::Format format, quint32 seed)
{
    return format == QImage::Format_Indexed8 ? palettePicture(size, false, seed) : noisePicture(size, format, seed);
}

} // namespace

class TestRowConverter : public QObject
{
    Q_OBJECT

private slots:
    void equalsTheConversionOfTheWholeImage_data();
    void equalsTheConversionOfTheWholeImage();
    void convertsTheRequestedRows_data();
    void convertsTheRequestedRows();
    void takesImagesOfChangingSizes();
    void takesChangingFormats();
    void usesNewMemoryOnceCleared();
};

void TestRowConverter::equalsTheConversionOfTheWholeImage_data()
{
    QTest::addColumn<QImage::Format>("format");
    QTest::addColumn<QList<QImage::Format>>("formats");
    const QList<QList<QImage::Format>> targets{{QImage::Format_RGB32},
                                               {QImage::Format_ARGB32_Premultiplied},
                                               {QImage::Format_ARGB32_Premultiplied, QImage::Format_ARGB32}};
    for (const QImage::Format format : directFormats() + QList{QImage::Format_Indexed8}) {
        for (const QList<QImage::Format> &formats : targets) {
            QTest::addRow("%s to %s", formatName(format), formatName(formats.last())) << format << formats;
        }
    }
}

void TestRowConverter::equalsTheConversionOfTheWholeImage()
{
    QFETCH(QImage::Format, format);
    QFETCH(QList<QImage::Format>, formats);
    const QImage image = sample(format, 3);
    RowConverter converter;
    const QImage converted = converter.convert(image, formats, {0, size.height() - 1});
    QCOMPARE(firstDifference(converted, plainlyConverted(image, formats)), QString());
}

void TestRowConverter::convertsTheRequestedRows_data()
{
    QTest::addColumn<QImage::Format>("format");
    QTest::addColumn<int>("first");
    QTest::addColumn<int>("last");
    for (const QImage::Format format :
         {QImage::Format_Grayscale8, QImage::Format_Indexed8, QImage::Format_RGB888, QImage::Format_ARGB32}) {
        for (const auto &[first, last] :
             {std::pair(0, 0), std::pair(31, 64), std::pair(129, 129), std::pair(90, 500)}) {
            QTest::addRow("%s, %d to %d", formatName(format), first, last) << format << first << last;
        }
    }
}

void TestRowConverter::convertsTheRequestedRows()
{
    QFETCH(QImage::Format, format);
    QFETCH(int, first);
    QFETCH(int, last);
    const QImage image = sample(format, 4);
    RowConverter converter;
    const QImage converted = converter.convert(image, {QImage::Format_RGB32}, {first, last});
    QCOMPARE(converted.size(), size);
    const int count = std::min(last, size.height() - 1) - first + 1;
    const QImage expected = image.convertToFormat(QImage::Format_RGB32).copy(0, first, size.width(), count);
    QCOMPARE(firstDifference(converted.copy(0, first, size.width(), count), expected), QString());
}

void TestRowConverter::takesImagesOfChangingSizes()
{
    RowConverter converter;
    for (const QSize &part :
         {QSize(20, 130), QSize(61, 90), QSize(61, 20), QSize(20, 130), QSize(61, 90), QSize(1, 1)}) {
        const QImage image = noisePicture(part, QImage::Format_RGB888, 5);
        const QImage converted = converter.convert(image, {QImage::Format_RGB32}, {0, part.height() - 1});
        QCOMPARE(firstDifference(converted, image.convertToFormat(QImage::Format_RGB32)), QString());
    }
}

void TestRowConverter::takesChangingFormats()
{
    RowConverter converter;
    const QImage image = noisePicture(size, QImage::Format_RGB888, 6);
    for (const QImage::Format format : {QImage::Format_Grayscale8, QImage::Format_RGB32, QImage::Format_RGBX64}) {
        const QImage converted = converter.convert(image, {format}, {0, size.height() - 1});
        QCOMPARE(firstDifference(converted, image.convertToFormat(format)), QString());
    }
}

void TestRowConverter::usesNewMemoryOnceCleared()
{
    RowConverter converter;
    const QImage image = noisePicture(size, QImage::Format_RGB888, 7);
    for (int i = 0; i < 2; ++i) {
        const QImage converted = converter.convert(image, {QImage::Format_RGB32}, {0, size.height() - 1});
        QCOMPARE(firstDifference(converted, image.convertToFormat(QImage::Format_RGB32)), QString());
        converter.clear();
    }
}

QUILLMARCH_TEST_MAIN(TestRowConverter)
#include "tst_rowconverter.moc"
