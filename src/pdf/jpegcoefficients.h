#pragma once

#include "pdf/jpegbands.h"

/// The coefficients of a JPEG file, of any kind that libjpeg reads. The copied bands are
/// of the same kind, with Huffman tables of their own.
class JpegCoefficients : public JpegBands
{
public:
    /// As JpegBands::read().
    static std::shared_ptr<const JpegCoefficients> read(const QByteArray &jpeg);

    ~JpegCoefficients() override;

private:
    struct Blocks;

    JpegCoefficients(const Frame &frame, std::unique_ptr<Blocks> found);

    QByteArray copyRows(int first, int end) const override;

    std::unique_ptr<Blocks> source;
};
