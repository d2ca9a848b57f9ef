#include "decode/filewindow.h"

#include <QIODevice>

#include <algorithm>

qsizetype SharedDevice::read(qint64 at, uchar *to, qsizetype size)
{
    const std::lock_guard lock(mutex);
    if (!source.seek(at)) {
        return 0;
    }
    return qsizetype(std::max<qint64>(0, source.read(reinterpret_cast<char *>(to), size)));
}

std::span<const uchar> FileWindow::bytes(qint64 at, qsizetype wanted)
{
    const auto all = buffered(at, std::min(wanted, capacity));
    return all.first(std::min(all.size(), size_t(wanted)));
}

std::span<const uchar> FileWindow::buffered(qint64 at, qsizetype least)
{
    if (at < start || at + least > start + length) {
        start = at;
        length = device.read(at, buffer.data(), capacity);
    }
    const auto offset = qsizetype(at - start);
    return {buffer.data() + offset, size_t(length - offset)};
}
