#pragma once

#include "pdf/bandspool.h"
#include "pdf/packedband.h"

#include <QHash>
#include <qpdf/QPDF.hh>

#include <exception>
#include <memory>

/// Makes the image objects of a file. Their bytes stay in a spool until libqpdf asks
/// for them.
class ImageObjects
{
public:
    /// \a pdf must outlive the object, and \a spool all use of \a pdf.
    ImageObjects(QPDF &pdf, BandSpool &spool);

    /// The color space of samples of \a channels channels with the ICC profile \a profile,
    /// which may be empty. A profile for another number of channels is not used.
    QPDFObjectHandle colorSpace(const QByteArray &profile, int channels);

    /// The image object of \a band, and of its mask.
    QPDFObjectHandle add(PackedBand band, const QByteArray &profile);

    /// Throws what went wrong while libqpdf asked for bytes, if anything did.
    void throwFailure() const;

private:
    class SpooledStream;

    QPDFObjectHandle addImage(PackedImage image, const QPDFObjectHandle &space);

    QPDF &document;
    BandSpool &bytes;
    QHash<QByteArray, QPDFObjectHandle> spaces; // by profile, channels and palette
    std::shared_ptr<std::exception_ptr> failure = std::make_shared<std::exception_ptr>();
};
