#pragma once

#include <QImage>
#include <QList>

/// The rows from `first` to `last`, both included; none if `last` is less.
struct RowRange
{
    int first;
    int last;
};

/// Converts images of changing sizes, each for immediate use.
///
/// Keeps its memory from one image to the next: allocating it anew costs as
/// much as the conversion.
class RowConverter
{
public:
    /// \a image in the first of \a formats, that in the second, and so on. All
    /// but the last may be left out if they change no pixel.
    ///
    /// Only the rows \a rows are converted; the others are there, but hold
    /// anything. The result is valid until the next call; null without memory.
    [[nodiscard]] QImage convert(const QImage &image, const QList<QImage::Format> &formats, const RowRange &rows);

    /// Frees the memory.
    void clear() { scratch = QImage(); }

private:
    QImage scratch;
};
