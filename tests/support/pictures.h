#pragma once

#include <QByteArray>
#include <QImage>
#include <QList>
#include <QPixmap>
#include <QString>

/// Every image format without a palette.
[[nodiscard]] QList<QImage::Format> directFormats();

/// "Format_RGB32" and so on.
[[nodiscard]] const char *formatName(QImage::Format format);

/// An image of one color, Format_RGB32.
[[nodiscard]] QImage plainPicture(int width, int height, QColor color);

/// Blocks of random color, 32 x 32 pixels each, Format_RGB32. No two rows of
/// blocks are equal.
[[nodiscard]] QImage blockPicture(int width, int height, quint32 seed = 1);

/// Light paper with a dark line of "text" in every \a pitch rows, Format_RGB32.
/// The gaps between the lines are the brightest rows.
[[nodiscard]] QImage textPicture(int width, int height, int pitch = 40);

/// White paper with lines of "text" of random pitch, length and darkness,
/// Format_RGB32.
[[nodiscard]] QImage randomTextPicture(QSize size, quint32 seed);

/// White paper with black bars and a blank border of 20 pixels, Format_RGB32.
[[nodiscard]] QImage barPicture(QSize size);

/// Random colors, with random alpha where \a format has alpha.
[[nodiscard]] QImage noisePicture(QSize size, QImage::Format format = QImage::Format_RGB32, quint32 seed = 1);

/// Random indexes into 256 random colors, Format_Indexed8; with random alpha
/// unless \a isOpaque.
[[nodiscard]] QImage palettePicture(QSize size, bool isOpaque, quint32 seed);

/// Colors that depend on the position, Format_ARGB32: 40 opaque rows, then 40
/// partly transparent ones, and so on.
[[nodiscard]] QImage translucentPicture(int width, int height);

/// A pixmap that keeps the format of \a image.
[[nodiscard]] QPixmap keptPixmap(const QImage &image);

/// The colors of \a pixmap in a copied part of it, if the copy kept the palette.
[[nodiscard]] QPixmap withoutPalette(const QPixmap &pixmap);

/// \a image as a file of \a format.
[[nodiscard]] QByteArray encodedPicture(const QImage &image, const char *format);

/// Saves \a image as \a name in the working directory. Without \a format, the
/// suffix of the name decides. Returns the absolute path; ends the program if
/// the file cannot be written.
QString savedPicture(const QImage &image, const QString &name, const char *format = nullptr);

/// Writes \a bytes to the file \a name in the working directory and returns its
/// absolute path; ends the program if it cannot.
QString savedBytes(const QByteArray &bytes, const QString &name);

/// Saves blocks 70 pixels wide that a window cuts into \a strips strips. Returns
/// the absolute path.
QString savedStrips(int strips);
