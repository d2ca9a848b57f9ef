#pragma once

#include <QImage>
#include <QList>
#include <QRect>
#include <QStringList>

#include <optional>

/// What a sample image shows, and in which pixel format.
enum class SampleKind {
    Chat, ///< a phone's chat on a light ground, RGB32
    Web, ///< an article with headings, pictures and code, RGB32
    Dark, ///< the chat on a dark ground, RGB32
    Palette, ///< the article on a transparent ground, Indexed8
    Gray, ///< an article without pictures, Grayscale8
    Alpha, ///< opaque, half (128) and fully transparent rectangles, ARGB32
    JpegOrientation, ///< corners of four colors, to be saved as a rotated JPEG, RGB32
    Noise, ///< every pixel random, RGB32
    Gradient, ///< smooth and without text, RGB32
    Table, ///< a wide table, RGB32
};

struct SampleParams
{
    SampleKind kind = SampleKind::Chat;
    int width = 1080; ///< pixels, 1 to 10000; text and pictures grow with it
    int height = 12000; ///< pixels, 1 and more
    quint32 seed = 1;
    int orientation = 1; ///< EXIF orientation, 1 to 8; only for JpegOrientation
    bool english = false; ///< only English texts, in a chat or an article; else Chinese ones, too
};

struct Sample
{
    /// Null if a parameter is out of range or memory runs out.
    QImage image;

    /// The bounding rectangles of the pixels of each line of text, sorted by top
    /// edge. A cut below row y slices a line if top() <= y < bottom(). Empty for the
    /// kinds without text; for Palette, measured before the colors are rounded.
    QList<QRect> textLines;
};

/// Paints a sample. The same parameters and fonts give the same pixels; the
/// kinds with text need a QGuiApplication.
///
/// A JpegOrientation sample is upright here. Its corners are red, green, blue and
/// yellow, from top left to bottom right, row by row; each takes a quarter of the
/// shorter side.
[[nodiscard]] Sample makeSample(const SampleParams &params);

/// Only the image of makeSample().
[[nodiscard]] QImage makeSampleImage(const SampleParams &params);

/// \a image with a palette of 249 colors, one of them transparent, Indexed8; null if
/// memory runs out. \a image must have 32 bits per pixel.
[[nodiscard]] QImage toPalette(const QImage &image);

/// \a image with a blank rim, \a rim pixels wide, in the color of its first pixel.
/// Null if memory runs out.
[[nodiscard]] QImage withRim(const QImage &image, int rim);

/// Saves \a image, which is of the kind \a params.kind, to \a file.
///
/// The file is a PNG of the highest compression. For JpegOrientation it is a JPEG
/// whose pixels are stored so that a reader that applies the orientation tag gets
/// \a image unchanged. If the file cannot be written, returns false, leaves an
/// existing file alone and sets \a error to the reason.
bool writeSampleImage(const QImage &image, const SampleParams &params, const QString &file, QString *error = nullptr);

/// The names of the kinds on the command line, such as `jpeg-orientation`.
[[nodiscard]] QStringList sampleKindNames();
/// The kind with the command line name \a name; nothing if there is none.
[[nodiscard]] std::optional<SampleKind> sampleKindByName(const QString &name);
