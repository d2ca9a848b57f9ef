#include "update/notesbrowser.h"

#include <QBuffer>
#include <QImage>
#include <QImageReader>
#include <QRegularExpression>
#include <QTextDocument>
#include <QTextFrame>
#include <QUrl>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int maxTableDepth = 8;
constexpr int maxTags = 2000;
constexpr qint64 maxPixels = qint64(4096) * 4096; // of a picture in the notes

/// The depth to which frames, such as tables, are nested below \a frame.
int nestingDepth(const QTextFrame *frame)
{
    int depth = 0;
    const QList<QTextFrame *> children = frame->childFrames();
    for (const QTextFrame *child : children) {
        depth = std::max(depth, 1 + nestingDepth(child));
    }
    return depth;
}

/// The contents of a data address (RFC 2397).
QByteArray dataOf(const QUrl &address)
{
    const QByteArray text =
        QByteArray::fromPercentEncoding(address.url(QUrl::FullyEncoded | QUrl::RemoveScheme).toLatin1());
    const qsizetype comma = text.indexOf(',');
    const QByteArray data = text.mid(comma + 1);
    return text.left(comma).endsWith(";base64") ? QByteArray::fromBase64(data) : data;
}

/// Decodes a picture. Returns a null image if the picture is too large for the
/// memory, or in a format that can itself refer to a file, as SVG can.
QImage decodePixels(const QByteArray &bytes)
{
    static const QByteArrayList formats{"bmp", "gif", "jpeg", "png", "webp"};
    QBuffer buffer;
    buffer.setData(bytes);
    QImageReader reader(&buffer);
    const QSize size = reader.size();
    const bool fitsInMemory = size.isValid() && qint64(size.width()) * size.height() <= maxPixels;
    return fitsInMemory && formats.contains(reader.format()) ? reader.read() : QImage();
}

} // namespace

void NotesBrowser::showNotes(const QString &html)
{
    if (html.count(u'<') > maxTags) {
        static const QRegularExpression tag(u"<[^>]*>"_s);
        setPlainText(QString(html).remove(tag));
        return;
    }
    QTextDocument parsed(this); // loads resources through this browser, and has no layout
    parsed.setHtml(html);
    if (nestingDepth(parsed.rootFrame()) > maxTableDepth) {
        setPlainText(parsed.toPlainText());
    } else {
        setHtml(html);
    }
}

QVariant NotesBrowser::loadResource(int type, const QUrl &name)
{
    if (type != QTextDocument::ImageResource) {
        return QByteArray("");
    }
    QImage image;
    if (name.scheme() == "data"_L1) {
        image = decodePixels(dataOf(name));
    }
    if (image.isNull()) {
        image = QImage(1, 1, QImage::Format_ARGB32); // given a null image, Qt would read the file itself
        image.fill(Qt::transparent);
    }
    return image;
}
