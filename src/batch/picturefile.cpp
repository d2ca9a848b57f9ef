#include "batch/picturefile.h"

#include "batch/batcherror.h"
#include "batch/capturederrors.h"
#include "batch/filename.h"
#include "batch/outofmemory.h"
#include "batch/truncation.h"
#include "decode/imagedecoder.h"
#include "pixels/blankborders.h"
#include "pixels/imagefile.h"

#include <QImageReader>
#include <QtEndian>

#include <algorithm>
#include <cstdio>
#include <limits>
#include <new>

using namespace Qt::StringLiterals;

namespace {

constexpr int limitHeadroom = 64; // mebibytes
constexpr quint64 mostPixelBytes = 8; // 16 bits a channel
constexpr quint32 mostPngRows = 1000000; // of libpng, and columns

BatchError unreadable(const QString &reason)
{
    return {BatchFailure::Unreadable, u"cannot read image: %1"_s.arg(reason)};
}

QByteArray contentOfFile(const QString &name)
{
    std::error_code failure;
    const std::filesystem::file_status status = std::filesystem::status(nativePath(name), failure);
    if (status.type() == std::filesystem::file_type::not_found) {
        throw unreadable(u"no such file"_s);
    }
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
        throw unreadable(u"not a regular file"_s); // a pipe would block for good
    }
    QFile file;
    const QString mistake = openFile(file, name, QIODevice::ReadOnly);
    if (!mistake.isEmpty()) {
        throw unreadable(mistake == "Permission denied"_L1 ? u"permission denied"_s : mistake);
    }
    const QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        throw unreadable(file.errorString());
    }
    return bytes;
}

QByteArray contentOfInput()
{
    QFile input;
    if (!input.open(stdin, QIODevice::ReadOnly)) {
        throw unreadable(input.errorString());
    }
    const QByteArray bytes = input.readAll();
    if (input.error() != QFileDevice::NoError) {
        throw unreadable(input.errorString());
    }
    return bytes;
}

/// The number of bytes at most that an image of \a size takes, in mebibytes.
int allocationLimit(const QSize &size)
{
    const quint64 pixels = quint64(std::max(0, size.width())) * quint64(std::max(0, size.height()));
    const quint64 limit = pixels / (1 << 20) * mostPixelBytes + limitHeadroom + mostPixelBytes;
    return int(std::clamp<quint64>(limit, 1024, std::numeric_limits<int>::max()));
}

/// Whether a message of the JPEG decoder says that pixels are missing or wrong. Bytes between
/// the last pixels and the end of the image do not matter; before other markers they are what
/// the decoder could not use of damaged pixels or tables.
bool tellsOfDamage(const QString &message)
{
    const bool isAtEnd = message.endsWith("extraneous bytes before marker 0xd9"_L1);
    return message.startsWith("Premature end"_L1) || (message.startsWith("Corrupt JPEG data"_L1) && !isAtEnd);
}

QString damage; // what the JPEG decoder said last

void keepDamage(QtMsgType, const QMessageLogContext &context, const QString &text)
{
    exitIfThreadIsMissing(text);
    if (QLatin1StringView(context.category) == "qt.gui.imageio.jpeg"_L1 && tellsOfDamage(text)) {
        damage = text;
    }
}

/// Collects the messages of decoders while it exists.
class DecoderMessages
{
public:
    DecoderMessages()
        : usual(qInstallMessageHandler(keepDamage))
    {
        damage.clear();
    }
    ~DecoderMessages() { qInstallMessageHandler(usual); }
    Q_DISABLE_COPY_MOVE(DecoderMessages)

private:
    QtMessageHandler usual;
};

/// Whether \a bytes are a PNG file with more rows or columns than can be read.
bool isPngTooLarge(const QByteArray &bytes)
{
    constexpr qsizetype sizeAt = 16;
    if (!bytes.startsWith("\x89PNG\r\n\x1a\n") || bytes.size() < sizeAt + 8) {
        return false;
    }
    const auto side = [&](qsizetype at) { return qFromBigEndian<quint32>(bytes.constData() + at); };
    return std::max(side(sizeAt), side(sizeAt + 4)) > mostPngRows;
}

/// The size in bytes of the segment with a marker (ISO/IEC 10918-1, B.1.1) at \a at; 0 if
/// there is none, or if it begins the first scan.
qsizetype headerSegmentSize(const QByteArray &jpeg, qsizetype at)
{
    constexpr uchar fill = 0xff;
    const auto byteAt = [&jpeg](qsizetype place) { return place < jpeg.size() ? uchar(jpeg.at(place)) : 0; };
    qsizetype code = at;
    while (byteAt(code) == fill) {
        ++code;
    }
    const int marker = byteAt(code);
    const bool hasLength = marker >= 0xc0 && (marker < 0xd0 || marker > 0xda);
    return code > at && hasLength ? code + 1 - at + qsizetype(256) * byteAt(code + 1) + byteAt(code + 2) : 0;
}

/// The JPEG file \a jpeg without the zero bytes that some programs write between the segments
/// before the first scan. libjpeg takes them for damage, and reports only what it finds first.
QByteArray withoutPadding(const QByteArray &jpeg)
{
    QByteArray header = jpeg.left(2); // the start of the image
    qsizetype at = header.size();
    for (qsizetype size = 1; size > 0; at += size) {
        while (at < jpeg.size() && jpeg.at(at) == '\0') {
            ++at;
        }
        size = headerSegmentSize(jpeg, at);
        header += jpeg.mid(at, size);
    }
    return at > header.size() ? header + jpeg.mid(at) : jpeg;
}

/// The format of the image \a bytes, as its first bytes tell; empty if they do not.
QByteArray formatOf(const QByteArray &bytes)
{
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    return QImageReader::imageFormat(&buffer);
}

int countedPages(const QByteArray &bytes, const QByteArray &format)
{
    QBuffer buffer;
    buffer.setData(bytes);
    return std::max(1, QImageReader(&buffer, format).imageCount());
}

/// Those of \a places in the TIFF file \a bytes at which a page can be opened. Leaves
/// the first one of \a places as the first page.
QList<qsizetype> soundPages(QByteArray &bytes, const QList<qsizetype> &places, const QByteArray &format)
{
    QList<qsizetype> sound;
    for (const qsizetype place : places) {
        beginTiffAt(bytes, place);
        QBuffer buffer(&bytes);
        if (!QImageReader(&buffer, format).size().isEmpty()) {
            sound.append(place);
        }
    }
    beginTiffAt(bytes, places.first());
    return sound;
}

/// The lower-case suffix of \a name.
QByteArray suffixOf(const QString &name)
{
    return name.mid(name.lastIndexOf(u'.') + 1).toLower().toLatin1();
}

} // namespace

PictureFile::PictureFile(const QString &name)
{
    if (name.endsWith(".pdf"_L1, Qt::CaseInsensitive)) {
        std::error_code failure;
        const auto type = std::filesystem::status(nativePath(name), failure).type();
        const bool isMissing = type == std::filesystem::file_type::not_found;
        throw unreadable(isMissing ? u"no such file"_s : u"PDF files are not supported"_s);
    }
    bytes = name == "-"_L1 ? contentOfInput() : contentOfFile(name);
    const CapturedErrors errors;
    const DecoderMessages messages;
    format = formatOf(bytes);
    isFormatKnown = !format.isEmpty();
    if (!isFormatKnown && QImageReader::supportedImageFormats().contains(suffixOf(name))) {
        format = suffixOf(name);
    }
    if (format == "tiff" || format == "tif") {
        findPages();
    } else if (format == "jpeg") {
        bytes = withoutPadding(bytes);
    }
}

/// Counts the pages of a TIFF file. Qt stops at the first one that it cannot open, so the
/// others are then taken from the chain of directories, and only those that can be opened stay.
void PictureFile::findPages()
{
    pageCount = countedPages(bytes, format);
    const TiffPages pages = tiffPages(bytes);
    if (pages.places.isEmpty() || (pages.isChainSound && pages.places.size() <= pageCount)) {
        return;
    }
    const QList<qsizetype> sound = soundPages(bytes, pages.places, format);
    if (sound.isEmpty()) {
        return; // reading it will say why
    }
    keepTiffPages(bytes, sound);
    pageCount = countedPages(bytes, format);
    const auto lost = std::mismatch(sound.begin(), sound.end(), pages.places.begin(), pages.places.end()).second;
    lostPages = lost == pages.places.end() ? u"the pages after page %1 cannot be found"_s.arg(pageCount)
                                           : u"page %1 cannot be read"_s.arg(lost - pages.places.begin() + 1);
}

FilePicture PictureFile::read(int index, const PictureUse &use) const
{
    FilePicture picture;
    if (use.mayStayPacked) {
        picture.copied = packedFile();
    }
    if (!picture.copied) {
        picture = decodeWhole(index, use);
    }
    if (!isLargeEnough(picture.size())) {
        throw unreadable(u"too small: %1 x %2 pixels"_s.arg(picture.size().width()).arg(picture.size().height()));
    }
    return picture;
}

/// The file if it is an upright JPEG file without a fault of which bands can be copied.
std::shared_ptr<const JpegBits> PictureFile::packedFile() const
{
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    const bool isUpright =
        format == "jpeg" && QImageReader(&buffer, format).transformation() == QImageIOHandler::TransformationNone;
    return isUpright ? JpegBits::read(bytes) : nullptr;
}

FilePicture PictureFile::decodeWhole(int index, const PictureUse &use) const
{
    FilePicture picture;
    QString reason;
    {
        const CapturedErrors errors;
        const DecoderMessages messages;
        picture.image = decode(index, use.threads, picture);
        reason = errors.firstLine();
    }
    if (picture.image.isNull()) {
        throwDecodeError(reason);
    }
    const QString loss = damageOf(index);
    if (!loss.isEmpty() && !use.isDamageAccepted) {
        throw unreadable(u"the file is damaged: %1; --accept-damaged converts what can be read"_s.arg(loss));
    }
    if (!loss.isEmpty()) {
        picture.remarks.prepend(u"damaged: %1"_s.arg(loss));
        picture.jpeg.clear(); // the pixels are all that is left
    }
    return picture;
}

/// What is wrong with picture \a index, which was decoded last; empty if nothing.
QString PictureFile::damageOf(int index) const
{
    if (index == 0 && !lostPages.isEmpty()) {
        return lostPages;
    }
    return isTruncated(bytes, format) ? u"unexpected end of file"_s : damage;
}

QImage PictureFile::decode(int index, DecodeThreads threads, FilePicture &picture) const
{
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, format);
    reader.setAutoTransform(true);
    if (index > 0) {
        reader.jumpToImage(index); // before its size is asked for, or the first page stays
    }
    QImageReader::setAllocationLimit(allocationLimit(reader.size()));
    if (reader.supportsAnimation() && reader.imageCount() != 1) {
        picture.remarks.append(u"only the first frame of the animation"_s);
    }
    if (format == "jpeg" && reader.transformation() == QImageIOHandler::TransformationNone) {
        picture.jpeg = bytes;
    }
    QBuffer again;
    again.setData(bytes);
    again.open(QIODevice::ReadOnly);
    const std::unique_ptr<ImageDecoder> decoder = makeImageDecoder(again, format);
    const QImage image = decoder ? decoder->read(threads) : QImage();
    return image.isNull() ? reader.read() : image;
}

/// Says why no picture was decoded; \a reason is what the decoder said.
void PictureFile::throwDecodeError(const QString &reason) const
{
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    const CapturedErrors errors; // of reading the size
    const QSize size = QImageReader(&buffer, format).size();
    // Reserves address space for an image of that size, but writes nothing into it.
    if (size.isValid() && !size.isEmpty() && QImage(size, QImage::Format_RGB32).isNull()) {
        throw BatchError(BatchFailure::TooLarge,
                         u"too large: %1 x %2 pixels do not fit into memory"_s.arg(size.width()).arg(size.height()));
    }
    if (isPngTooLarge(bytes)) {
        throw BatchError(BatchFailure::TooLarge, u"too large: more than %1 rows or columns"_s.arg(mostPngRows));
    }
    const QString detail = reason.isEmpty() || !isFormatKnown ? QString() : u" (%1)"_s.arg(reason);
    throw unreadable(u"unsupported format or corrupted file"_s + detail);
}

void trim(FilePicture &picture)
{
    const GrayScan scan(picture.image);
    const std::optional<QRect> content = contentBounds(scan, inkThreshold(scan.histogram()));
    if (!content) {
        picture.remarks.append(u"nothing to trim"_s);
    } else if (!isLargeEnough(content->size())) {
        picture.remarks.append(u"not trimmed: too little would be left"_s);
    } else if (content->size() != picture.image.size()) {
        picture.image = picture.image.copy(*content);
        if (picture.image.isNull()) {
            throw std::bad_alloc();
        }
        picture.offset = content->top();
        picture.jpeg.clear();
    }
}

bool isImageName(const QString &name)
{
    const QByteArray suffix = suffixOf(name);
    return name.contains(u'.') && suffix != "pdf" && QImageReader::supportedImageFormats().contains(suffix);
}
