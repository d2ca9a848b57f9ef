#pragma once

#include <QImage>
#include <QList>

/// The rows from `first` to `last`, both included; none if `last` is smaller.
struct RowRange
{
    int first;
    int last;
};

/// Converts images of changing sizes, each for immediate use.
///
/// Reuses its memory for the next image: allocating it anew costs as much as the
/// conversion.
class RowConverter
{
public:
    /// \a image converted to each of \a formats in turn. Formats before the last
    /// one may be skipped where that changes no pixel.
    ///
    /// Only \a rows are converted; the contents of the other rows are undefined.
    /// The result is valid until the next call; null if memory runs out.
    [[nodiscard]] QImage convert(const QImage &image, const QList<QImage::Format> &formats, const RowRange &rows);

    /// Frees the memory.
    void clear() { scratch = QImage(); }

private:
    QImage scratch;
};
