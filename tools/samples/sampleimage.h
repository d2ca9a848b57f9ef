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
    Gray, ///< an article of text alone, Grayscale8
    Alpha, ///< opaque, half (128) and fully transparent fields, ARGB32
    JpegOrientation, ///< corners of four colours, to be saved as a turned JPEG, RGB32
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
    int orientation = 1; ///< EXIF orientation, 1 to 8; heeded by JpegOrientation alone
};

struct Sample
{
    /// Null if a parameter is out of its range or there is no memory.
    QImage image;

    /// For each line of text the smallest rectangle that holds its pixels, by
    /// rising top edge. A cut below row y slices a line if
    /// top() <= y < bottom(). Empty for the kinds without text; Palette's are
    /// measured before the colours are rounded.
    QList<QRect> textLines;
};

/// Paints a sample. The same parameters and fonts give the same pixels; the
/// kinds with text need a QGuiApplication.
///
/// A JpegOrientation sample is upright here, with a red, a green, a blue and a
/// yellow corner from the top left to the bottom right, row by row; each is a
/// quarter of the shorter side.
Sample makeSample(const SampleParams &params);

/// The image of makeSample() alone.
QImage makeSampleImage(const SampleParams &params);

/// \a image with 249 colours and a transparent one, Indexed8; null if there is
/// no memory. Takes an image of 32 bits a pixel.
QImage toPalette(const QImage &image);

/// \a image in the middle of a blank sheet of the colour of its first pixel,
/// \a rim pixels from each edge. Null if there is no memory.
QImage withRim(const QImage &image, int rim);

/// Saves \a image, which is of the kind \a params.kind, to \a file.
///
/// The file is a PNG of the highest compression. For JpegOrientation it is a
/// JPEG whose stored raster is turned, so that a reader that applies the
/// orientation tag gets \a image as it is. Returns false, leaves a present
/// file alone and explains it in \a error if the file cannot be written.
bool writeSampleImage(const QImage &image, const SampleParams &params, const QString &file, QString *error = nullptr);

/// The kinds by the names of the command line, such as `jpeg-orientation`.
QStringList sampleKindNames();
std::optional<SampleKind> sampleKindByName(const QString &name);
