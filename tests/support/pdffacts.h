#pragma once

#include <QByteArray>
#include <QImage>
#include <QList>
#include <QSizeF>
#include <QString>

/// What the tool pdfinfo reports of a PDF file.
struct PdfFacts
{
    int pages = -1; ///< -1 if the file cannot be read
    QList<QSizeF> pageSizes; ///< in points, one for each page
};
[[nodiscard]] PdfFacts pdfFacts(const QString &path);

/// The pages of the PDF file \a path, rendered with \a dotsPerInch by pdftoppm.
[[nodiscard]] QList<QImage> pdfPictures(const QString &path, int dotsPerInch);

/// The images that the PDF file \a path contains, by pdfimages: in order and
/// without their masks, Format_RGB32.
[[nodiscard]] QList<QImage> pdfImages(const QString &path);

/// The streams of \a pdf, the bytes of a PDF file, as they are stored: pages,
/// images and masks.
[[nodiscard]] QList<QByteArray> pdfStreams(const QByteArray &pdf);
