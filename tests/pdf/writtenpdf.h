#pragma once

#include "pdf/pdfwriter.h"

#include <QByteArray>
#include <QImage>
#include <QList>

/// An image of a PDF file.
struct WrittenImage
{
    QSize size;
    int bits = 0;
    int channels = 0;
    QByteArray filter; ///< "/FlateDecode" or "/DCTDecode"
    QByteArray bytes; ///< without the filter if that is Flate; otherwise the JPEG file
    QByteArray palette; ///< three bytes for each color, if the samples are indexes
    QByteArray profile; ///< the ICC profile; empty if there is none
};

struct WrittenBand
{
    WrittenImage colors;
    WrittenImage alpha; ///< of an empty size if there is none
};

struct WrittenPage
{
    QByteArray content;
    QList<WrittenBand> bands; ///< in the order in which they are drawn
};

struct WrittenPdf
{
    QList<WrittenPage> pages;
    QByteArray title, creator, created, modified;
    QList<QByteArray> bookmarks; ///< titles
    QList<int> bookmarkPages; ///< counted from 0
    QByteArray errors; ///< what libqpdf finds wrong
};

/// The bytes of a file with one picture.
[[nodiscard]] QByteArray pdfOf(const PdfPicture &picture, const QList<PdfSheet> &sheets, const PdfOptions &options);

/// The content of the PDF file \a bytes.
[[nodiscard]] WrittenPdf readPdf(const QByteArray &bytes);

/// One sheet for each range of rows between two of \a cuts, which begin with 0 and end
/// with the height of the picture; each pixel of a picture \a width pixels wide is
/// half a point wide and high.
[[nodiscard]] QList<PdfSheet> sheetsBetween(const QList<int> &cuts, int width);

/// The pixels of \a band, Format_RGBA64; JPEG is decoded with Qt.
[[nodiscard]] QImage pixelsOf(const WrittenBand &band);

/// Empty if both images, Format_RGBA64, are equal; otherwise the first different pixel.
[[nodiscard]] QString firstDeepDifference(const QImage &actual, const QImage &expected);

/// The bands of all pages below each other.
[[nodiscard]] QImage joined(const WrittenPdf &pdf);
