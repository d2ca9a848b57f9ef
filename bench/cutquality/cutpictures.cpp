#include "cutquality/cutpictures.h"

#include <QPainter>

using namespace Qt::StringLiterals;

namespace {

QString fileName(const PictureKind &kind, const QString &directory)
{
    return directory + u'/' + QString::fromLatin1(kind.name).replace(u' ', u'_') + u".png"_s;
}

} // namespace

bool savePainted(const PictureKind &kind, const QString &directory)
{
    LongPicture page(QSize(720, 2800), 1);
    kind.paint(page);
    QImage image = kind.finish(page).convertToFormat(QImage::Format_ARGB32);
    QPainter painter(&image);
    for (qsizetype i = 0; i < page.pieces.size(); ++i) {
        const Piece &piece = page.pieces.at(i);
        const QRectF mark(double(i % 6) * 5, piece.top, 4, piece.bottom - piece.top);
        painter.fillRect(mark, QColor::fromHsv(int(i * 67 % 360), 255, 230));
    }
    painter.end();
    return image.save(fileName(kind, directory));
}
