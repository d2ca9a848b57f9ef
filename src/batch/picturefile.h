#pragma once

#include "decode/decodethreads.h"

#include <QBuffer>
#include <QImage>
#include <QStringList>

/// An upright picture of an image file.
struct FilePicture
{
    QImage image; ///< in the pixel format of the file
    QByteArray jpeg; ///< the bytes of the file if it is a sound JPEG file that was not turned
    int offset = 0; ///< the row of the file that became the first one by a trim
    QStringList remarks; ///< what a user should know of it
};

/// The pictures of an image file: one for each page of a TIFF file, and one of any
/// other file, of an animation the first frame.
class PictureFile
{
public:
    /// Reads the file \a name, or standard input if that is "-". Throws BatchError if
    /// it cannot be read.
    explicit PictureFile(const QString &name);

    /// How many pictures there are, at least 1.
    int count() const { return pageCount; }

    /// Decodes picture \a index. Throws BatchError if that fails, if the picture is too
    /// small, and if it is damaged unless \a isDamageAccepted.
    FilePicture read(int index, bool isDamageAccepted, DecodeThreads threads) const;

private:
    QImage decode(int index, DecodeThreads threads, FilePicture &picture) const;
    [[noreturn]] void throwDecodeError(const QString &reason) const;

    QByteArray bytes;
    QByteArray format; // as QImageReader names it
    bool isFormatKnown = true; // by the content of the file; otherwise by its name
    int pageCount = 1;
};

/// Removes the blank border of \a picture, unless too little would be left.
void trim(FilePicture &picture);

/// Whether files whose names end like \a name are images.
[[nodiscard]] bool isImageName(const QString &name);
