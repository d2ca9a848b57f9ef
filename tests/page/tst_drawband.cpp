#include "page/banddrawing.h"
#include "pixels/rowconverter.h"
#include "support/testmain.h"

#include <QBuffer>
#include <QPainter>
#include <QPdfWriter>
#include <QWidget>

#include <random>

using namespace Qt::StringLiterals;

namespace {

constexpr int bandTop = 37;
constexpr QSize sourceSize(90, 700);

QImage noise(QImage::Format format)
{
    std::mt19937 random(7);
    QImage image(sourceSize, QImage::Format_ARGB32);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            image.setPixel(x, y, QRgb(random()));
        }
    }
    image = image.convertToFormat(format);
    if (format == QImage::Format_Indexed8) {
        image.setColor(3, qRgba(40, 200, 90, 120)); // for a palette with a colour that lets the ground through
    }
    return image;
}

/// What a strip shows by the plain rule: a copy of its band, drawn into the
/// target with a source rectangle of the unrounded size. Of a palette image the
/// direct colours are taken, since a copy of its pixmap would lose the palette.
void drawPlainly(QPainter *painter, const QRectF &target, const QPixmap &pixmap, const QRect &band, QSizeF size)
{
    const QImage image = pixmap.toImage();
    if (image.colorTable().isEmpty()) {
        painter->drawPixmap(target, pixmap.copy(band), QRectF(QPointF(), size));
    } else {
        const QImage direct =
            image.convertToFormat(image.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
        painter->drawPixmap(target, QPixmap::fromImage(direct.copy(band & direct.rect())), QRectF(QPointF(), size));
    }
}

/// Paints a band at a scale, by the shipped code or by the plain rule.
class BandWidget : public QWidget
{
public:
    QPixmap pixmap;
    QRect band;
    QSizeF bandSize;
    double scale = 1.0;
    double shift = 0.0;
    bool plain = false;
    RowConverter converter;

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
        painter.translate(0.25, shift);
        painter.scale(scale, scale);
        const QRectF target(QPointF(), bandSize);
        if (plain) {
            drawPlainly(&painter, target, pixmap, band, bandSize);
        } else {
            drawBand(&painter, target, pixmap, band, bandSize, converter);
        }
    }
};

QImage rendered(BandWidget &widget, const QRegion &region, bool plain)
{
    QImage image(widget.size(), QImage::Format_RGB32);
    image.fill(QColor(150, 150, 150));
    widget.plain = plain;
    widget.render(&image, QPoint(), region, QWidget::DrawWindowBackground);
    return image;
}

/// Place and values of the first pixel that differs, empty if none does.
QString firstDifference(const QImage &actual, const QImage &expected)
{
    for (int y = 0; y < expected.height(); ++y) {
        for (int x = 0; x < expected.width(); ++x) {
            if (actual.pixel(x, y) != expected.pixel(x, y)) {
                return u"(%1, %2): %3 instead of %4"_s.arg(x)
                    .arg(y)
                    .arg(actual.pixel(x, y), 8, 16)
                    .arg(expected.pixel(x, y), 8, 16);
            }
        }
    }
    return {};
}

/// The pages, pictures and masks of the PDF file \a pdf as they are stored.
QList<QByteArray> storedStreams(const QByteArray &pdf)
{
    QList<QByteArray> streams;
    for (qsizetype at = pdf.indexOf("stream\n"); at >= 0; at = pdf.indexOf("stream\n", at)) {
        const qsizetype end = pdf.indexOf("endstream", at);
        streams.append(pdf.mid(at, end - at));
        at = end + qsizetype(qstrlen("endstream"));
    }
    return streams;
}

/// The streams of a PDF file with the part \a band of \a pixmap, drawn by the
/// shipped code or by the plain rule.
QList<QByteArray> bandStreams(const QPixmap &pixmap, const QRect &band, const QSizeF &size, bool lossless, bool plain)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QPdfWriter writer(&buffer);
    QPainter painter(&writer);
    painter.setRenderHint(QPainter::LosslessImageRendering, lossless);
    painter.scale(0.37, 0.37);
    const QRectF target(100.3, 100.7, 900.1, 5000.9);
    RowConverter converter;
    if (plain) {
        drawPlainly(&painter, target, pixmap, band, size);
    } else {
        drawBand(&painter, target, pixmap, band, size, converter);
    }
    painter.end();
    return storedStreams(buffer.data());
}

} // namespace

class TestDrawBand : public QObject
{
    Q_OBJECT

private slots:
    void equalsThePlainRule_data();
    void equalsThePlainRule();
    void writesTheStreamsOfThePlainRule_data();
    void writesTheStreamsOfThePlainRule();
    void copiesOfPartsShareAFormat_data();
    void copiesOfPartsShareAFormat();
    void drawsNothingOutsideThePixmap_data();
    void drawsNothingOutsideThePixmap();
    void survivesDegenerateTransforms_data();
    void survivesDegenerateTransforms();
};

void TestDrawBand::equalsThePlainRule_data()
{
    QTest::addColumn<int>("format");
    QTest::addColumn<double>("scale");
    const struct
    {
        const char *name;
        QImage::Format format;
    } formats[] = {
        {"RGB32", QImage::Format_RGB32},
        {"ARGB32", QImage::Format_ARGB32},
        {"ARGB32_PM", QImage::Format_ARGB32_Premultiplied},
        {"Grayscale8", QImage::Format_Grayscale8},
        {"RGB888", QImage::Format_RGB888},
        {"RGBA64", QImage::Format_RGBA64},
        {"RGB16", QImage::Format_RGB16},
        {"Grayscale16", QImage::Format_Grayscale16},
        {"Indexed8", QImage::Format_Indexed8},
        {"Mono", QImage::Format_Mono},
    };
    for (const auto &format : formats) {
        for (const double scale : {0.07, 0.2, 0.34, 0.49, 0.5, 0.75, 1.0, 1.03, 2.5}) {
            QTest::addRow("%s at %.2f", format.name, scale) << int(format.format) << scale;
        }
    }
}

void TestDrawBand::equalsThePlainRule()
{
    QFETCH(int, format);
    QFETCH(double, scale);
    BandWidget widget;
    widget.pixmap = QPixmap::fromImage(noise(QImage::Format(format)), Qt::NoFormatConversion);
    widget.scale = scale;
    widget.resize(60, 200);
    for (const double height : {500.0, 499.6, 800.3}) { // the last reaches below the image
        widget.bandSize = QSizeF(sourceSize.width(), height);
        widget.band = QRectF(QPointF(0, bandTop), widget.bandSize).toRect();
        for (const double shift : {0.0, -33.7, 90.5, -height * scale + 20}) {
            widget.shift = shift;
            for (const QRect &exposed :
                 {widget.rect(), QRect(0, 80, 60, 40), QRect(20, 0, 5, 3), QRect(0, 199, 60, 1)}) {
                const QImage expected = rendered(widget, exposed, true);
                const QImage actual = rendered(widget, exposed, false);
                const QString difference = firstDifference(actual, expected);
                QVERIFY2(difference.isEmpty(),
                         qPrintable(u"%1, height %2, shift %3"_s.arg(difference).arg(height).arg(shift)));
            }
        }
    }
}

void TestDrawBand::writesTheStreamsOfThePlainRule_data()
{
    QTest::addColumn<QImage>("image");
    QTest::addColumn<bool>("lossless");
    QImage opaque = noise(QImage::Format_RGB32).convertToFormat(QImage::Format_ARGB32);
    QImage palette = noise(QImage::Format_RGB32).convertToFormat(QImage::Format_Indexed8);
    QImage unusedAlpha = palette; // whose translucent colour no pixel has
    QList<QRgb> colors = palette.colorTable();
    while (colors.size() < 256) {
        colors.append(qRgb(1, 2, 3));
    }
    colors[255] = qRgba(9, 9, 9, 0);
    for (int y = 0; y < palette.height(); ++y) {
        for (int x = 0; x < palette.width(); ++x) {
            unusedAlpha.setPixel(x, y, uint(std::min(254, palette.pixelIndex(x, y))));
        }
    }
    unusedAlpha.setColorTable(colors);
    QImage oneHole = opaque;
    oneHole.setPixelColor(40, 130, QColor(10, 20, 30, 254));
    QImage opaqueOrEmpty = opaque;
    QImage coloredNothing = opaque;
    for (int y = 0; y < opaque.height(); ++y) {
        for (int x = y % 9; x < opaque.width(); x += 9) {
            opaqueOrEmpty.setPixel(x, y, 0);
            coloredNothing.setPixel(x, y, qRgba(x, y % 256, 99, 0));
        }
    }
    for (const bool lossless : {false, true}) {
        const char *suffix = lossless ? ", lossless" : "";
        QTest::addRow("RGB32%s", suffix) << noise(QImage::Format_RGB32) << lossless;
        QTest::addRow("ARGB32%s", suffix) << noise(QImage::Format_ARGB32) << lossless;
        QTest::addRow("opaque ARGB32%s", suffix) << opaque << lossless;
        QTest::addRow("ARGB32 with one hole%s", suffix) << oneHole << lossless;
        QTest::addRow("opaque ARGB32_PM%s", suffix)
            << opaque.convertToFormat(QImage::Format_ARGB32_Premultiplied) << lossless;
        QTest::addRow("ARGB32, opaque or empty%s", suffix) << opaqueOrEmpty << lossless;
        QTest::addRow("ARGB32, opaque or coloured nothing%s", suffix) << coloredNothing << lossless;
        for (const QImage::Format format :
             {QImage::Format_ARGB32_Premultiplied, QImage::Format_Grayscale16, QImage::Format_RGB16,
              QImage::Format_RGB888, QImage::Format_RGBA8888, QImage::Format_RGBA64, QImage::Format_Mono}) {
            QTest::addRow("format %d%s", int(format), suffix) << noise(format) << lossless;
        }
        QTest::addRow("Grayscale8%s", suffix) << noise(QImage::Format_Grayscale8) << lossless;
        QTest::addRow("Indexed8%s", suffix) << palette << lossless;
        QTest::addRow("Indexed8 with unused alpha%s", suffix) << unusedAlpha << lossless;
        QTest::addRow("Indexed8 with alpha%s", suffix) << noise(QImage::Format_Indexed8) << lossless;
    }
}

void TestDrawBand::writesTheStreamsOfThePlainRule()
{
    QFETCH(QImage, image);
    QFETCH(bool, lossless);
    const QPixmap pixmap = QPixmap::fromImage(image, Qt::NoFormatConversion);
    const QRect inside(0, bandTop, sourceSize.width(), 500);
    const QRect cutOff(0, 400, sourceSize.width(), 500);
    constexpr double width = sourceSize.width();
    const QList<std::pair<QRect, QSizeF>> bands = {
        {inside, {width, 500}},       {inside, {width, 499.7}}, {inside, {width, 499.3}}, {inside, {width, 500.4}},
        {inside, {width - 0.6, 499}}, {inside, {width, 0.4}},   {cutOff, {width, 499.3}}, {cutOff, {width, 299.2}},
    };
    for (const auto &[band, size] : bands) {
        const QList<QByteArray> shipped = bandStreams(pixmap, band, size, lossless, false);
        const QList<QByteArray> plain = bandStreams(pixmap, band, size, lossless, true);
        QVERIFY(!plain.isEmpty());
        QCOMPARE(shipped.size(), plain.size());
        QVERIFY2(shipped == plain, qPrintable(u"height %1"_s.arg(size.height())));
    }
}

void TestDrawBand::copiesOfPartsShareAFormat_data()
{
    QTest::addColumn<QImage::Format>("format");
    for (int format = QImage::Format_RGB32; format < QImage::NImageFormats; ++format) {
        QTest::addRow("format %d", format) << QImage::Format(format);
    }
}

/// The format is taken from a copy of one pixel.
void TestDrawBand::copiesOfPartsShareAFormat()
{
    QFETCH(QImage::Format, format);
    QImage opaque(sourceSize, format);
    opaque.fill(Qt::white);
    for (const QImage &image : {opaque, noise(format)}) {
        const QPixmap pixmap = QPixmap::fromImage(image, Qt::NoFormatConversion);
        const QImage::Format onePixel = pixmap.copy(0, 0, 1, 1).toImage().format();
        QCOMPARE(onePixel, pixmap.copy(3, 4, 20, 20).toImage().format());
        QCOMPARE(onePixel, pixmap.copy().toImage().format());
    }
}

void TestDrawBand::drawsNothingOutsideThePixmap_data()
{
    QTest::addColumn<QRect>("band");
    QTest::newRow("below") << QRect(0, 700, 90, 100);
    QTest::newRow("above") << QRect(0, -100, 90, 100);
    QTest::newRow("beside") << QRect(90, 0, 10, 100);
    QTest::newRow("empty") << QRect(0, 0, 90, 0);
    QTest::newRow("negative") << QRect(0, 50, 90, -40);
}

void TestDrawBand::drawsNothingOutsideThePixmap()
{
    QFETCH(QRect, band);
    for (const QImage::Format format : {QImage::Format_RGB32, QImage::Format_Grayscale8}) {
        const QPixmap pixmap = QPixmap::fromImage(noise(format), Qt::NoFormatConversion);
        QImage image(100, 100, QImage::Format_RGB32);
        image.fill(Qt::white);
        const QImage blank = image.copy();
        QPainter painter(&image);
        RowConverter converter;
        drawBand(&painter, image.rect(), pixmap, band, band.size(), converter);
        painter.end();
        QCOMPARE(image, blank);
    }
}

void TestDrawBand::survivesDegenerateTransforms_data()
{
    QTest::addColumn<QTransform>("transform");
    QTest::addColumn<QRectF>("target");
    const QRectF target(0, 0, 50, 50);
    QTest::newRow("scale 0") << QTransform::fromScale(0, 0) << target;
    QTest::newRow("upside down") << QTransform::fromScale(1, -1) << target;
    QTest::newRow("turned") << QTransform().rotate(30) << target;
    QTest::newRow("far away") << QTransform::fromTranslate(0, 1e9) << target;
    QTest::newRow("tiny") << QTransform::fromScale(1e-9, 1e-9) << target;
    QTest::newRow("huge") << QTransform::fromScale(1e6, 1e6) << target;
    QTest::newRow("empty target") << QTransform() << QRectF(10, 10, 0, 0);
}

void TestDrawBand::survivesDegenerateTransforms()
{
    QFETCH(QTransform, transform);
    QFETCH(QRectF, target);
    for (const QImage::Format format : {QImage::Format_ARGB32, QImage::Format_Grayscale8}) {
        const QPixmap pixmap = QPixmap::fromImage(noise(format), Qt::NoFormatConversion);
        const QRect band(0, 0, 90, 120);
        QImage images[2] = {QImage(100, 100, QImage::Format_RGB32), QImage(100, 100, QImage::Format_RGB32)};
        for (int plain : {0, 1}) {
            images[plain].fill(Qt::white);
            QPainter painter(&images[plain]);
            painter.setTransform(transform);
            RowConverter converter;
            if (plain == 1) {
                drawPlainly(&painter, target, pixmap, band, band.size());
            } else {
                drawBand(&painter, target, pixmap, band, band.size(), converter);
            }
        }
        QCOMPARE(images[0], images[1]);
    }
}

QUILLMARCH_TEST_MAIN(TestDrawBand)
#include "tst_drawband.moc"
