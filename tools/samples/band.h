#pragma once

#include "samples/sampleimage.h"

#include <QFont>
#include <QPainter>

#include <functional>
#include <random>

/// Random numbers that are the same with every standard library: the C++ standard
/// specifies the results of the engine, but not those of distributions.
class Random
{
public:
    explicit Random(quint32 seed)
        : engine(seed)
    {
    }

    quint32 next() { return static_cast<quint32>(engine()); }
    /// A number from 0 to \a bound - 1.
    int below(int bound) { return static_cast<int>(next() % static_cast<quint32>(bound)); }

private:
    std::mt19937 engine;
};

/// Consecutive rows of a sample, with a painter for which the first row is y 0.
///
/// The raster painter draws nothing beyond 32767 pixels, so a long image must be
/// painted in pieces. A band paints in place, without a copy.
class Band
{
public:
    Band(Sample &target, int top, int height);

    QPainter &painter() { return m_painter; }
    int width() const { return view.width(); }
    int height() const { return view.height(); }

    /// Draws one line of text that starts at \a x and is vertically centered on
    /// row \a middle. Adds the rectangle of the changed pixels to the text lines.
    void drawLine(const QString &text, const QFont &font, const QColor &color, double x, double middle);

private:
    Sample &sample;
    int firstRow;
    QImage view; // shares the rows of the sample
    QPainter m_painter;
};

/// A part of a page that is painted in one piece.
struct Block
{
    int height = 1;
    std::function<void(Band &)> paint;
};

/// Paints blocks from row \a top downward as long as they fit above row \a bottom,
/// and distributes the remaining rows between them.
void stackBlocks(Sample &sample, int top, int bottom, const std::function<Block()> &nextBlock);

/// A sans serif font with Chinese characters, if one is installed.
QFont textFont(int pixelSize, QFont::Weight weight = QFont::Normal);
QFont codeFont(int pixelSize);

/// Breaks \a text into lines of at most \a width pixels.
QStringList brokenLines(const QString &text, const QFont &font, int width);

/// Paints hills; the sky comes from \a seed modulo 5, the hills from all of it.
void drawLandscape(QPainter &painter, const QRectF &rect, quint32 seed);
