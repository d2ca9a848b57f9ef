#include "fuzzing.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFile>
#include <QPixmap>
#include <QWidget>

#include <cstdio>
#include <cstdlib>

void require(bool holds, const char *message)
{
    if (!holds) {
        std::fprintf(stderr, "Requirement not met: %s\n", message);
        std::abort();
    }
}

QByteArray bytesOf(const uint8_t *data, size_t size)
{
    return QByteArray(reinterpret_cast<const char *>(data), qsizetype(size));
}

void writeChanged(const QString &path, const QByteArray &bytes)
{
    static QDateTime stamp = QDateTime::currentDateTimeUtc();
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.flush()) {
        qFatal("Cannot write %s", qPrintable(path));
    }
    stamp = stamp.addSecs(1);
    file.setFileTime(stamp, QFileDevice::FileModificationTime);
}

bool isQuick(QSize size, qint64 mostPixels, int mostStrips)
{
    constexpr qint64 impossiblePixels = qint64(1) << 44;
    const qint64 pixels = qint64(size.width()) * size.height();
    if (!size.isValid() || size.isEmpty() || pixels > impossiblePixels) {
        return true;
    }
    const QSize turned = size.transposed(); // the orientation in the file may rotate it
    return pixels <= mostPixels && size.height() / size.width() < mostStrips
        && turned.height() / turned.width() < mostStrips;
}

void draw(QWidget &widget)
{
    require(!widget.grab().isNull(), "a widget can be drawn");
}

void settle()
{
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}
