#include "decodecomparison.h"

#include <QBuffer>
#include <QColorSpace>
#include <QImageReader>
#include <QLoggingCategory>
#include <QRandomGenerator>

#include <cstring>

using namespace Qt::StringLiterals;

namespace {

QString differenceOfPixels(const QImage &actual, const QImage &expected)
{
    const auto used = size_t(actual.width()) * size_t(actual.depth()) / 8; // the rest of a row may hold anything
    for (int y = 0; y < actual.height(); ++y) {
        const uchar *row = actual.constScanLine(y);
        const uchar *expectedRow = expected.constScanLine(y);
        if (std::memcmp(row, expectedRow, used) == 0) {
            continue;
        }
        size_t at = 0;
        while (row[at] == expectedRow[at]) {
            ++at;
        }
        return u"row %1, byte %2: %3 instead of %4"_s.arg(y).arg(at).arg(row[at]).arg(expectedRow[at]);
    }
    return {};
}

QString differenceOfTexts(const QImage &actual, const QImage &expected)
{
    if (actual.textKeys() != expected.textKeys()) {
        return u"text keys: %1 instead of %2"_s.arg(actual.textKeys().join(u'|'), expected.textKeys().join(u'|'));
    }
    const QStringList keys = expected.textKeys();
    for (const QString &key : keys) {
        if (actual.text(key) != expected.text(key)) {
            return u"text of %1"_s.arg(key);
        }
    }
    return {};
}

} // namespace

QImage readByQt(const QByteArray &bytes, const char *format)
{
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, format);
    reader.setAutoTransform(true);
    return reader.read();
}

QImage readByDecoder(const QByteArray &bytes, const char *format, DecodeThreads threads)
{
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    const auto decoder = makeImageDecoder(buffer, format);
    return decoder ? decoder->read(threads) : QImage();
}

QString differenceBetween(const QImage &actual, const QImage &expected)
{
    if (actual.isNull() != expected.isNull()) {
        return actual.isNull() ? u"refused"_s : u"opened what is refused"_s;
    }
    if (actual.size() != expected.size()) {
        return u"size: %1 x %2"_s.arg(actual.width()).arg(actual.height());
    }
    if (actual.format() != expected.format()) {
        return u"format: %1 instead of %2"_s.arg(actual.format()).arg(expected.format());
    }
    if (actual.colorTable() != expected.colorTable() || actual.hasAlphaChannel() != expected.hasAlphaChannel()) {
        return u"color table"_s;
    }
    if (actual.colorSpace() != expected.colorSpace()
        || actual.colorSpace().description() != expected.colorSpace().description()) {
        return u"color space"_s;
    }
    if (actual.dotsPerMeterX() != expected.dotsPerMeterX() || actual.dotsPerMeterY() != expected.dotsPerMeterY()) {
        return u"resolution"_s;
    }
    if (actual.offset() != expected.offset() || actual.devicePixelRatio() != expected.devicePixelRatio()) {
        return u"offset or pixel ratio"_s;
    }
    const QString texts = differenceOfTexts(actual, expected);
    return texts.isEmpty() ? differenceOfPixels(actual, expected) : texts;
}

QString differenceFromQt(const QByteArray &bytes, const char *format, DecodeThreads threads)
{
    const QImage actual = readByDecoder(bytes, format, threads);
    return actual.isNull() ? QString() : differenceBetween(actual, readByQt(bytes, format));
}

QByteArray withFlippedBits(QByteArray file, QRandomGenerator &random, int most)
{
    const int count = 1 + int(random.bounded(quint32(most)));
    for (int i = 0; i < count; ++i) {
        const auto at = qsizetype(random.bounded(quint32(file.size())));
        file[at] = char(uchar(file.at(at)) ^ (1U << random.bounded(8U)));
    }
    return file;
}

void silenceWarnings()
{
    QLoggingCategory::setFilterRules(u"*=false"_s);
}
