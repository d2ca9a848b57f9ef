#include "batch/finishedpdf.h"

#include <QFile>
#include <QList>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 tailSize = 256;
constexpr qint64 entrySize = 20; // bytes of an entry of the cross-reference table
constexpr qint64 catalogSize = 256;

QByteArray bytesAt(QFile &file, qint64 place, qint64 size)
{
    return place <= file.size() && file.seek(place) ? file.read(size) : QByteArray();
}

/// The first capture of \a pattern in \a bytes as a number, or -1.
qint64 numberIn(const QByteArray &bytes, const QString &pattern)
{
    const QRegularExpressionMatch match = QRegularExpression(pattern).match(QString::fromLatin1(bytes));
    bool isNumber = false;
    const qint64 number = match.captured(1).toLongLong(&isNumber);
    return isNumber ? number : -1;
}

/// The offsets in the cross-reference table at \a place, by object number; -1 for
/// a free object. Empty if there is no table at \a place.
QList<qint64> readTable(QFile &file, qint64 place)
{
    const QByteArray head = bytesAt(file, place, 64);
    const qint64 count = numberIn(head, uR"(^xref\n0 (\d+)\s*\n)"_s);
    if (count < 1 || count > file.size() / entrySize) {
        return {};
    }
    const qint64 first = place + head.indexOf('\n', head.indexOf('\n') + 1) + 1;
    const QByteArray entries = bytesAt(file, first, count * entrySize);
    if (entries.size() != count * entrySize) {
        return {};
    }
    QList<qint64> places;
    for (qint64 i = 0; i < count; ++i) {
        const QByteArray entry = entries.mid(i * entrySize, entrySize);
        places.append(entry.at(17) == 'n' ? entry.left(10).toLongLong() : -1);
    }
    return places;
}

bool isObjectAt(QFile &file, qint64 number, qint64 place)
{
    return place < 0 || bytesAt(file, place, 32).startsWith(QByteArray::number(number) + " 0 obj");
}

/// The page count of the catalog \a root, or -1.
qint64 pageCount(QFile &file, const QList<qint64> &places, qint64 root)
{
    if (root < 0 || root >= places.size()) {
        return -1;
    }
    const qint64 tree = numberIn(bytesAt(file, places.at(root), catalogSize), uR"(/Pages (\d+) 0 R)"_s);
    if (tree < 0 || tree >= places.size()) {
        return -1;
    }
    // The list of pages can be long; it is the last object.
    return numberIn(bytesAt(file, places.at(tree), file.size() - places.at(tree)), uR"(/Count (\d+)\b)"_s);
}

} // namespace

QString pdfError(const QString &path, int pages)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return file.errorString();
    }
    if (!bytesAt(file, 0, 8).startsWith("%PDF-")) {
        return u"not a PDF file"_s;
    }
    const QByteArray tail = bytesAt(file, qMax(qint64(0), file.size() - tailSize), tailSize);
    const qint64 start = numberIn(tail, uR"(startxref\s+(\d+)\s+%%EOF\s*$)"_s);
    const QList<qint64> places = start < 0 ? QList<qint64>() : readTable(file, start);
    if (places.isEmpty()) {
        return u"the file is truncated"_s;
    }
    for (qint64 number = 1; number < places.size(); ++number) {
        if (!isObjectAt(file, number, places.at(number))) {
            return u"object %1 is not at its offset"_s.arg(number);
        }
    }
    const qint64 found = pageCount(file, places, numberIn(tail, uR"(/Root (\d+) 0 R)"_s));
    return found == pages ? QString() : u"it has %1 pages instead of %2"_s.arg(found).arg(pages);
}
