#pragma once

#include <QImage>

#include <memory>

class JpegBands;

/// The pixels of a picture: those of an image, or of a JPEG file of which only those rows
/// are decoded that somebody looks at.
class PictureRows
{
public:
    PictureRows(const QImage &image); // NOLINT(google-explicit-constructor): an image is its rows
    explicit PictureRows(std::shared_ptr<const JpegBands> jpeg);

    QSize size() const;

    /// The rows from \a first to before \a end, both within the picture; of an image
    /// without a copy. Throws std::bad_alloc where they do not fit into memory.
    QImage rows(int first, int end) const;

private:
    QImage pixels;
    std::shared_ptr<const JpegBands> file; // null if `pixels` are all there are
};
