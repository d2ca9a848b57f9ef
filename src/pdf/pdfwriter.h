#pragma once

#include "pdf/jpegbands.h"
#include "pdf/pdferror.h"
#include "pdf/pdfsheet.h"

#include <QByteArray>
#include <QColorSpace>
#include <QDateTime>
#include <QImage>
#include <QString>

#include <functional>
#include <memory>

class QIODevice;

/// A picture that is divided among sheets.
struct PdfPicture
{
    QImage image; ///< any format; null if `jpeg` is all there is

    /// The JPEG file from which `image` was read without a turn or a trim, for lossless
    /// output; null for all other pictures.
    std::shared_ptr<const JpegBands> jpeg;

    QString title; ///< of its bookmark
    QColorSpace colorSpace = image.colorSpace();

    QSize size() const { return image.isNull() && jpeg ? jpeg->size() : image.size(); }
};

struct PdfOptions
{
    bool lossless = false; ///< keep every pixel; otherwise pictures become JPEG
    int quality = 94; ///< of JPEG, 1 to 100
    QString title; ///< of the document; none if empty

    /// The time that the file states. If invalid, that of the environment variable
    /// SOURCE_DATE_EPOCH, otherwise the current time.
    QDateTime created;

    int threads = 0; ///< that encode, the caller's included; 0: one for each processor
    QString spoolFolder; ///< for a temporary file; that of the system if empty
};

/// Called on the caller's thread when the strips of sheet \a index of a picture,
/// counted from 0, are encoded; in order.
using SheetDone = std::function<void(int index)>;

/// Writes one PDF file: pictures in bands, one image for each strip of a sheet.
///
/// libqpdf writes a file at once, when all its pages are known. So that only one
/// decoded picture is in memory at a time, addPicture() encodes the bands of its
/// picture at once, on all threads, and keeps the packed bytes: the first 16 MiB
/// in memory, the others in a temporary file without a name, which disappears with
/// the process. finish() copies them to the device. Opening the pictures later,
/// when libqpdf asks for their bytes, would decode every one twice, since its cuts
/// must be known first, and would find an unreadable one when half of the file is
/// written.
///
/// The same pictures, sheets, options and time give the same bytes, with any number
/// of threads.
///
/// Errors are thrown: PdfError if the device or the temporary file fails,
/// std::bad_alloc if memory runs out, and std::invalid_argument if a sheet or a
/// strip is outside its range. After an error the object can only be destroyed.
class PdfWriter
{
public:
    /// Writes to \a device, which is open, may be sequential, and outlives the
    /// object. Only finish() writes.
    PdfWriter(QIODevice *device, const PdfOptions &options);
    ~PdfWriter();
    PdfWriter(const PdfWriter &) = delete;
    PdfWriter &operator=(const PdfWriter &) = delete;

    /// Adds \a sheets with strips of \a picture, and a bookmark that leads to the
    /// first one. The picture is not needed afterwards.
    void addPicture(const PdfPicture &picture, const QList<PdfSheet> &sheets, const SheetDone &done = {});

    /// Writes the file. There must be a sheet. Bookmarks are written if there are
    /// several pictures. The device is neither flushed nor closed.
    void finish();

private:
    class Document;

    std::unique_ptr<Document> document;
};
