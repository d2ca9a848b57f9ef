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

void draw(QWidget &widget)
{
    require(!widget.grab().isNull(), "a widget can be drawn");
}

void settle()
{
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}
