#pragma once

#include <QList>

/// Undoes the filter of one PNG row and writes its pixels to \a to. \a above is
/// the row above as written before, zeros for the first row. False if \a filter
/// is none of PNG's five; nothing is written then.
using PngRowDecoder = bool (*)(int filter, const uchar *from, uchar *to, const uchar *above, int pixels);

/// One way to decode PNG rows of 8 bits a channel.
struct PngRowDecoders
{
    const char *name;
    PngRowDecoder bytes; ///< gray levels and indexes, one byte a pixel in both
    PngRowDecoder rgb; ///< to 32-bit words 0xffRRGGBB
    PngRowDecoder rgba; ///< to 32-bit words 0xAARRGGBB
};

/// The decoders that this processor can run, the plain one first and the fastest
/// last. They may read up to 16 bytes beyond the end of \a from, and nothing
/// beyond the end of \a above.
QList<PngRowDecoders> pngRowDecoders();

const PngRowDecoders &fastestPngRowDecoders();
