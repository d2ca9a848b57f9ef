#pragma once

#include "pdf/jpegbands.h"

#include <QColorSpace>

/// A JPEG file whose bits are copied as they are: only the first block of each channel
/// in a band is coded anew, since it is stored as a difference to the block before it.
///
/// Reading the file follows the lengths of its codes and computes no coefficients.
class JpegBits : public JpegBands
{
public:
    /// As JpegBands::read(), but also null unless all channels are in one sequential scan
    /// with Huffman codes and without restart markers, and each row of blocks can begin
    /// with the codes of the file.
    static std::shared_ptr<const JpegBits> read(const QByteArray &jpeg);

    ~JpegBits() override;

    /// The color space that QImage takes from the file.
    QColorSpace colorSpace() const;

private:
    class Scan;

    JpegBits(const Frame &frame, std::unique_ptr<const Scan> found);

    QByteArray copyRows(int first, int end) const override;

    std::unique_ptr<const Scan> scan;
};
