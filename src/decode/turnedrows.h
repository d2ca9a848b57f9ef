#pragma once

#include <QImage>
#include <QImageIOHandler>

#include <span>

/// How the rows of a stored image lie in the upright one: mirrored, then
/// flipped, then turned by a quarter to the right, as far as the file asks for it.
class Turn
{
public:
    Turn(QImageIOHandler::Transformations transformation, QSize storedSize)
        : wanted(transformation)
        , stored(storedSize)
    {
    }

    bool swapsSides() const { return wanted.testFlag(QImageIOHandler::TransformationRotate90); }
    QSize uprightSize() const { return swapsSides() ? stored.transposed() : stored; }

    /// Whether every stored row is a row of the upright image, pixel by pixel.
    bool keepsRows() const { return !swapsSides() && !wanted.testFlag(QImageIOHandler::TransformationMirror); }

    /// The row of the upright image that a stored one becomes, or its column if
    /// the sides are swapped.
    int lineOf(int storedRow) const;

    /// Writes the stored rows \a rows, the first of which is \a firstRow, to
    /// \a bits of the upright image, whose rows are \a stride bytes long and
    /// whose pixels are \a depth bits.
    void write(std::span<const uchar *const> rows, int firstRow, uchar *bits, qsizetype stride, int depth) const;

private:
    QImageIOHandler::Transformations wanted;
    QSize stored;
};
