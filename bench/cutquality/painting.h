#pragma once

#include "cutquality/longpicture.h"

/// How a block of text is set.
struct Column
{
    double left;
    double width;
    int size;
    int pitch; ///< rows from line to line
    QColor color;
};

/// Adds \a words words at the row page.y, which then is the row below them.
void addWords(LongPicture &page, const Column &column, int words);

/// Adds one line, cut off at the width of \a column, and moves page.y below it.
void addLine(LongPicture &page, const Column &column, const QString &text);

/// A column of the whole page but for \a margin pixels at both sides.
Column pageColumn(LongPicture &page, const QColor &ink, double margin);

/// Large bold lines.
void addTitle(LongPicture &page, const Column &column, int words);

/// A landscape with things in it. Pictures of one \a seed are alike; \a moment
/// moves the things a little and changes the grain.
QImage scenery(QSize size, quint32 seed, double moment = 0);
void addScenery(LongPicture &page, const QRectF &rect, double radius = 0);

/// A face of one of several looks.
void addEmoji(LongPicture &page, double x, double y, double size);

/// A small symbol of one color: a heart, an arrow, a speech bubble, a star or a bin.
void addIcon(LongPicture &page, const QRectF &rect, const QColor &color);

/// What a pen leaves: letters without meaning along the line at \a base.
void addScribble(LongPicture &page, double left, double base, double width, double letter, const QColor &ink);
