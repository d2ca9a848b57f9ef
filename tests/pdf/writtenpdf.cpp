#include "writtenpdf.h"

#include <QBuffer>
#include <qpdf/Buffer.hh>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjectHandle.hh>
#include <qpdf/QPDFOutlineDocumentHelper.hh>
#include <qpdf/QPDFPageDocumentHelper.hh>
#include <QRgba64>

#include <cstring>

namespace {

constexpr double pointsOfPixel = 0.5;

QByteArray bytesOf(const std::shared_ptr<Buffer> &buffer)
{
    return QByteArray(reinterpret_cast<const char *>(buffer->getBuffer()), qsizetype(buffer->getSize()));
}

QByteArray textAt(QPDFObjectHandle dictionary, const char *key)
{
    return dictionary.hasKey(key) ? QByteArray::fromStdString(dictionary.getKey(key).getUTF8Value()) : QByteArray();
}

/// Fills in what \a image says about the color space \a space.
void readSpace(QPDFObjectHandle space, WrittenImage &image)
{
    if (space.isName()) {
        image.channels = space.getName() == "/DeviceGray" ? 1 : space.getName() == "/DeviceRGB" ? 3 : 0;
    } else if (space.getArrayItem(0).getName() == "/ICCBased") {
        image.channels = int(space.getArrayItem(1).getDict().getKey("/N").getIntValue());
        image.profile = bytesOf(space.getArrayItem(1).getStreamData());
    } else if (space.getArrayItem(0).getName() == "/Indexed") {
        readSpace(space.getArrayItem(1), image);
        image.channels = 1;
        image.palette = QByteArray::fromStdString(space.getArrayItem(3).getStringValue());
    }
}

WrittenImage readImage(QPDFObjectHandle stream)
{
    QPDFObjectHandle dictionary = stream.getDict();
    WrittenImage image;
    image.size = QSize(dictionary.getKey("/Width").getIntValueAsInt(), dictionary.getKey("/Height").getIntValueAsInt());
    image.bits = dictionary.getKey("/BitsPerComponent").getIntValueAsInt();
    image.filter = QByteArray::fromStdString(dictionary.getKey("/Filter").getName());
    image.bytes = bytesOf(image.filter == "/DCTDecode" ? stream.getRawStreamData() : stream.getStreamData());
    readSpace(dictionary.getKey("/ColorSpace"), image);
    return image;
}

QList<WrittenBand> readBands(QPDFObjectHandle page, const QByteArray &content)
{
    QList<WrittenBand> bands;
    QPDFObjectHandle pictures = page.getKey("/Resources").getKey("/XObject");
    const QList<QByteArray> words = content.simplified().split(' ');
    for (qsizetype i = 1; i < words.size(); ++i) {
        if (words.at(i) == "Do") {
            QPDFObjectHandle stream = pictures.getKey(words.at(i - 1).toStdString());
            QPDFObjectHandle mask = stream.getDict().getKey("/SMask");
            bands.append({readImage(stream), mask.isStream() ? readImage(mask) : WrittenImage()});
        }
    }
    return bands;
}

/// Sample \a index of row \a y, as 16 bits; a palette's index as it is.
quint16 sampleAt(const WrittenImage &image, int y, int index)
{
    const qsizetype stride = (qsizetype(image.size.width()) * image.channels * image.bits + 7) / 8;
    const auto *row = reinterpret_cast<const uchar *>(image.bytes.constData()) + y * stride;
    if (image.bits == 16) {
        const auto *sample = row + 2 * qsizetype(index);
        return quint16(sample[0] << 8 | sample[1]);
    }
    const int shift = 8 - image.bits - index * image.bits % 8;
    const int mask = (1 << image.bits) - 1;
    const int value = row[index * image.bits / 8] >> shift & mask;
    return quint16(image.palette.isEmpty() ? value * 0xffff / mask : value);
}

quint16 paletteAt(const WrittenImage &image, int color, int channel)
{
    return quint16(uchar(image.palette.at(3 * qsizetype(color) + channel)) * 0x101);
}

QRgba64 colorAt(const WrittenImage &image, int x, int y)
{
    if (!image.palette.isEmpty()) {
        const int color = sampleAt(image, y, x);
        return qRgba64(paletteAt(image, color, 0), paletteAt(image, color, 1), paletteAt(image, color, 2), 0xffff);
    }
    const quint16 first = sampleAt(image, y, x * image.channels);
    if (image.channels == 1) {
        return qRgba64(first, first, first, 0xffff);
    }
    return qRgba64(first, sampleAt(image, y, x * 3 + 1), sampleAt(image, y, x * 3 + 2), 0xffff);
}

} // namespace

QByteArray pdfOf(const PdfPicture &picture, const QList<PdfSheet> &sheets, const PdfOptions &options)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    PdfWriter writer(&buffer, options);
    writer.addPicture(picture, sheets);
    writer.finish();
    return buffer.data();
}

WrittenPdf readPdf(const QByteArray &bytes)
{
    WrittenPdf result;
    QPDF pdf;
    pdf.setSuppressWarnings(true);
    pdf.processMemoryFile("written", bytes.constData(), size_t(bytes.size()));
    QList<QPDFObjGen> pageObjects;
    for (QPDFPageObjectHelper &page : QPDFPageDocumentHelper(pdf).getAllPages()) {
        QPDFObjectHandle object = page.getObjectHandle();
        const QByteArray content = bytesOf(object.getKey("/Contents").getStreamData());
        result.pages.append({content, readBands(object, content)});
        pageObjects.append(object.getObjGen());
    }
    QPDFObjectHandle information = pdf.getTrailer().getKey("/Info");
    result.title = textAt(information, "/Title");
    result.creator = textAt(information, "/Creator");
    result.created = textAt(information, "/CreationDate");
    result.modified = textAt(information, "/ModDate");
    for (QPDFOutlineObjectHelper &outline : QPDFOutlineDocumentHelper(pdf).getTopLevelOutlines()) {
        result.bookmarks.append(QByteArray::fromStdString(outline.getTitle()));
        result.bookmarkPages.append(int(pageObjects.indexOf(outline.getDestPage().getObjGen())));
    }
    for (const QPDFExc &warning : pdf.getWarnings()) {
        result.errors += warning.what();
    }
    return result;
}

QList<PdfSheet> sheetsBetween(const QList<int> &cuts, int width)
{
    QList<PdfSheet> sheets;
    for (qsizetype i = 1; i < cuts.size(); ++i) {
        const int first = cuts.at(i - 1);
        const int end = cuts.at(i);
        const QSizeF size(width * pointsOfPixel, (end - first) * pointsOfPixel);
        sheets.append({size.expandedTo({3, 3}), {{first, end, QRectF(QPointF(), size)}}, {}, {}});
    }
    return sheets;
}

QImage pixelsOf(const WrittenBand &band)
{
    QImage image(band.colors.size, QImage::Format_RGBA64);
    if (band.colors.filter == "/DCTDecode") {
        image = QImage::fromData(band.colors.bytes, "jpeg").convertToFormat(QImage::Format_RGBA64);
    }
    for (int y = 0; y < image.height(); ++y) {
        auto *row = reinterpret_cast<QRgba64 *>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            if (band.colors.filter != "/DCTDecode") {
                row[x] = colorAt(band.colors, x, y);
            }
            if (!band.alpha.size.isEmpty()) {
                row[x].setAlpha(sampleAt(band.alpha, y, x));
            }
        }
    }
    return image;
}

QImage joined(const WrittenPdf &pdf)
{
    QList<QImage> bands;
    int height = 0;
    for (const WrittenPage &page : pdf.pages) {
        for (const WrittenBand &band : page.bands) {
            bands.append(pixelsOf(band));
            height += bands.last().height();
        }
    }
    QImage all(bands.value(0).width(), height, QImage::Format_RGBA64);
    int top = 0;
    for (const QImage &band : bands) {
        for (int y = 0; y < band.height(); ++y) {
            std::memcpy(all.scanLine(top++), band.constScanLine(y), size_t(band.width()) * sizeof(QRgba64));
        }
    }
    return all;
}

QString firstDeepDifference(const QImage &actual, const QImage &expected)
{
    if (actual.size() != expected.size()) {
        return QStringLiteral("%1 rows instead of %2").arg(actual.height()).arg(expected.height());
    }
    for (int y = 0; y < actual.height(); ++y) {
        const auto *one = reinterpret_cast<const QRgba64 *>(actual.constScanLine(y));
        const auto *other = reinterpret_cast<const QRgba64 *>(expected.constScanLine(y));
        for (int x = 0; x < actual.width(); ++x) {
            if (one[x] != other[x]) {
                return QStringLiteral("(%1, %2): %3 instead of %4")
                    .arg(x)
                    .arg(y)
                    .arg(quint64(one[x]), 16, 16, QLatin1Char('0'))
                    .arg(quint64(other[x]), 16, 16, QLatin1Char('0'));
            }
        }
    }
    return {};
}
