#pragma once

#include <QColor>
#include <QFont>
#include <QImage>
#include <QList>
#include <QRandomGenerator>
#include <QRectF>
#include <QStringList>

#include <functional>

class QPainter;

/// The rows from `top` to `bottom`, exclusive, that one piece of content covers.
struct Piece
{
    int top = 0;
    int bottom = 0;
};

/// A long picture that is painted from top to bottom, together with the rows of
/// its content.
///
/// Whatever must not be cut (a line of text, an avatar, a photo, an icon) is
/// painted by piece(); bubbles, rules and grounds are painted straight into
/// `image`. Lengths are pixels.
class LongPicture
{
public:
    LongPicture(QSize size, quint32 seed);

    QImage image; ///< premultiplied while it is painted
    QList<Piece> pieces;
    QRandomGenerator random;
    int y = 0; ///< the next free row
    double slope = 0; ///< rows that text falls for each pixel to the right

    int width() const { return image.width(); }
    int height() const { return image.height(); }
    bool isFull() const { return y >= height(); }

    /// A length on a page 1080 pixels wide, at least 1.
    int px(double length) const;
    /// A number from \a low to \a high, both included.
    int between(int low, int high);
    bool oneIn(int count);

    /// Fills without noting content.
    void fill(const QRectF &rect, const QColor &color, double radius = 0);
    void paint(const std::function<void(QPainter &)> &draw);

    /// Paints content inside \a rect. The rows that it covers are read from the
    /// pixels that it leaves on an empty layer.
    void piece(const QRectF &rect, const std::function<void(QPainter &)> &draw);

    /// One line of text with its upper edge at \a top. Returns its width.
    double line(double x, double top, const QString &text, const QFont &font, const QColor &color);
    /// Lines of \a pitch rows each; returns their height.
    int lines(double x, double top, const QStringList &texts, const QFont &font, const QColor &color, int pitch);
    void photo(const QRectF &rect);
    void avatar(const QRectF &rect);
    void smile(const QRectF &rect);

    QFont font(int pixelSize);
    QFont monospace(int pixelSize) const;
    /// \a count words, Chinese or English.
    QString sentence(int count);

private:
    QString family;
    bool chinese = false;
};

QStringList brokenInto(const QString &text, const QFont &font, double width);

/// A smooth random picture with some grain; every fourth has a plain sky.
QImage photograph(QSize size, QRandomGenerator &random);
