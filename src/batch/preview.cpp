#include "batch/preview.h"

#include "batch/batcherror.h"
#include "batch/filename.h"
#include "batch/partfile.h"

#include <QBuffer>
#include <QPainter>

#include <algorithm>
#include <new>

using namespace Qt::StringLiterals;

namespace {

constexpr QSize largestPreview(360, 30000);
constexpr int lineHeight = 2;

/// \a image as a PNG file. In memory, since Qt leaks some if the file cannot be written.
QByteArray pngOf(const QImage &image)
{
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    if (!image.save(&buffer, "PNG")) {
        throw std::bad_alloc();
    }
    return png;
}

} // namespace

QImage previewOf(const QImage &image, const QList<int> &cuts)
{
    const QSize size = image.size().scaled(largestPreview, Qt::KeepAspectRatio).boundedTo(image.size());
    QImage preview(size.expandedTo(QSize(1, 1)), QImage::Format_RGB32);
    preview.fill(Qt::white);
    QPainter painter(&preview);
    painter.drawImage(0, 0, image.scaled(preview.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
    for (const int cut : cuts) {
        const int y = int(qint64(cut) * preview.height() / image.height());
        painter.fillRect(0, std::max(0, y - lineHeight / 2), preview.width(), lineHeight, Qt::red);
    }
    return preview;
}

void writePreview(const QImage &image, const QList<int> &cuts, const QString &name)
{
    try {
        PartFile part(name);
        const QByteArray png = pngOf(previewOf(image, cuts));
        if (part.device().write(png) != png.size()) {
            throw BatchError(BatchFailure::Unwritable, part.device().errorString());
        }
        part.commit();
    } catch (const BatchError &error) {
        throw BatchError(error.failure, u"cannot write \"%1\": %2"_s.arg(printable(name), error.text));
    }
}
