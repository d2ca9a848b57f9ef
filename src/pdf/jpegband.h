#pragma once

#include "pdf/packedband.h"

#include <QImage>

#include <array>
#include <cstdio>
#include <jpeglib.h>

/// Whether packJpeg() should take \a image: it is not too large for JPEG, and has more
/// than one bit a pixel, which are smaller and sharper without loss.
[[nodiscard]] bool isForJpeg(const QImage &image);

/// Whether a band of \a rows rows may be JPEG.
[[nodiscard]] bool isForJpeg(int rows);

/// The Huffman tables of JPEG bands, of brightness and of hue.
struct JpegTables
{
    std::array<JHUFF_TBL, 2> first; ///< for the first coefficients of blocks
    std::array<JHUFF_TBL, 2> others;
};

/// The tables with which bands of \a image in \a quality are about as small as possible.
/// They are made from a sample of the rows, and have a code for everything.
[[nodiscard]] JpegTables jpegTablesFor(const QImage &image, int quality);

/// The rows of \a image from \a first to before \a end as JPEG of \a quality, 1 to 100,
/// with \a tables.
///
/// Gray pictures get one channel. Colors are stored as Qt stores them, with half of the
/// resolution for their hue, whatever their alpha; the alpha channel is left out.
[[nodiscard]] PackedImage packJpeg(const QImage &image, int first, int end, int quality, const JpegTables &tables);
