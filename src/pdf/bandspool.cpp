#include "pdf/bandspool.h"

#include "pdf/pdferror.h"

#include <QDir>

using namespace Qt::StringLiterals;

namespace {

QString nameTemplate(const QString &folder)
{
    return QDir(folder.isEmpty() ? QDir::tempPath() : folder).filePath(u"quillmarch-XXXXXX.part"_s);
}

} // namespace

BandSpool::BandSpool(const QString &folder, qint64 memory)
    : file(nameTemplate(folder))
    , memoryLeft(memory)
{
}

BandSpool::Entry BandSpool::add(QByteArray bytes)
{
    const qsizetype size = bytes.size();
    if (size <= memoryLeft) {
        bytes.squeeze();
        memoryLeft -= size;
        return {bytes, 0, size};
    }
    if (!file.isOpen() && !file.open()) {
        throw PdfError(file.errorString());
    }
    const qint64 offset = file.size();
    if (!file.seek(offset) || file.write(bytes) != size || !file.flush()) {
        throw PdfError(file.errorString());
    }
    return {{}, offset, size};
}

QByteArray BandSpool::read(const Entry &entry)
{
    if (!entry.kept.isEmpty() || entry.size == 0) {
        return entry.kept;
    }
    if (!file.seek(entry.offset)) {
        throw PdfError(file.errorString());
    }
    QByteArray bytes = file.read(entry.size);
    if (bytes.size() != entry.size) {
        throw PdfError(file.errorString());
    }
    return bytes;
}
