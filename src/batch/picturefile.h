#pragma once

#include "batch/picturerows.h"
#include "decode/decodethreads.h"
#include "pdf/jpegbits.h"

#include <QBuffer>
#include <QImage>
#include <QStringList>

/// An upright picture of an image file.
struct FilePicture
{
    QImage image; ///< in the pixel format of the file; null if there is `copied`
    QByteArray jpeg; ///< the bytes of the file if it is a sound JPEG file that was not turned
    std::shared_ptr<const JpegBits> copied; ///< that file, if it need not be decoded
    int offset = 0; ///< the row of the file that became the first one by a trim
    QStringList remarks; ///< what a user should know of it

    QSize size() const { return rows().size(); }
    PictureRows rows() const { return copied ? PictureRows(copied) : PictureRows(image); }
};

/// How a picture is read.
struct PictureUse
{
    bool isDamageAccepted = false;
    bool mayStayPacked = false; ///< a JPEG file whose pixels need not all be decoded
    DecodeThreads threads = DecodeThreads::One;
};

/// The pictures of an image file: one for each page of a TIFF file that can be opened, and
/// one of any other file, of an animation the first frame. Lost pages are a damage of the
/// first picture.
class PictureFile
{
public:
    /// Reads the file \a name, or standard input if that is "-". Throws BatchError if
    /// it cannot be read.
    explicit PictureFile(const QString &name);

    /// How many pictures there are, at least 1.
    int count() const { return pageCount; }

    /// Reads picture \a index for \a use. Throws BatchError if that fails, if the picture
    /// is too small, and if it is damaged unless that is accepted.
    FilePicture read(int index, const PictureUse &use) const;

private:
    void findPages();
    FilePicture decodeWhole(int index, const PictureUse &use) const;
    std::shared_ptr<const JpegBits> packedFile() const;
    QImage decode(int index, DecodeThreads threads, FilePicture &picture) const;
    QString damageOf(int index) const;
    [[noreturn]] void throwDecodeError(const QString &reason) const;

    QByteArray bytes;
    QByteArray format; // as QImageReader names it
    bool isFormatKnown = true; // by the content of the file; otherwise by its name
    int pageCount = 1;
    QString lostPages; // what is wrong with the pages that are not counted; empty if there are none
};

/// Removes the blank border of \a picture, unless too little would be left.
void trim(FilePicture &picture);

/// Whether files whose names end like \a name are images.
[[nodiscard]] bool isImageName(const QString &name);
