#pragma once

#include <QByteArray>
#include <QList>

/// Whether \a bytes, an image file of \a format, end before the end of its first picture.
///
/// For the formats whose decoders fill in what is missing and say nothing of it: BMP, GIF
/// and XBM. False for all others; tiffPages() is about TIFF files. \a format is as
/// QImageReader names it.
[[nodiscard]] bool isTruncated(const QByteArray &bytes, const QByteArray &format);

/// The chain of directories in a TIFF file, one for each page.
struct TiffPages
{
    QList<qsizetype> places; ///< of the directories, in bytes from the start of the file
    bool isChainSound = false; ///< otherwise the next directory is not inside the file, or is one of `places`
};

/// The pages of the TIFF or BigTIFF file \a bytes, whether or not they can be read; none of
/// other files. Directories of directories, as of smaller versions of a page, are not in the chain.
[[nodiscard]] TiffPages tiffPages(const QByteArray &bytes);

/// Makes the page at \a place the first one of the TIFF file \a bytes; those after it follow.
void beginTiffAt(QByteArray &bytes, qsizetype place);

/// Makes the pages at \a places, which are of tiffPages(), the only ones of the TIFF file
/// \a bytes.
void keepTiffPages(QByteArray &bytes, const QList<qsizetype> &places);
