#include "pdf/imageobjects.h"

#include <qpdf/Pipeline.hh>

#include <cstring>
#include <string>

namespace {

constexpr int gray = 1;
constexpr int rgb = 3;

/// The number of channels that the ICC profile \a profile is for, or 0.
int channelsOf(const QByteArray &profile)
{
    constexpr int spaceOffset = 16;
    const QByteArray space = profile.mid(spaceOffset, 4);
    return space == "RGB " ? rgb : space == "GRAY" ? gray : 0;
}

QPDFObjectHandle integer(qint64 number)
{
    return QPDFObjectHandle::newInteger(number);
}

QPDFObjectHandle name(const char *text)
{
    return QPDFObjectHandle::newName(text);
}

QPDFObjectHandle filterOf(const PackedImage &image)
{
    return name(image.coding == PackedImage::Coding::Jpeg ? "/DCTDecode" : "/FlateDecode");
}

QPDFObjectHandle parametersOf(const PackedImage &image)
{
    if (image.coding != PackedImage::Coding::PredictedFlate) {
        return QPDFObjectHandle::newNull();
    }
    constexpr int pngPredictors = 15;
    QPDFObjectHandle parameters = QPDFObjectHandle::newDictionary();
    parameters.replaceKey("/Predictor", integer(pngPredictors));
    parameters.replaceKey("/Colors", integer(image.channels));
    parameters.replaceKey("/BitsPerComponent", integer(image.bits));
    parameters.replaceKey("/Columns", integer(image.width));
    return parameters;
}

} // namespace

/// Gives libqpdf the bytes of a stream. No exception may pass libqpdf while it writes;
/// the first one is kept, and the file is lost.
class ImageObjects::SpooledStream : public QPDFObjectHandle::StreamDataProvider
{
public:
    SpooledStream(BandSpool &spool, BandSpool::Entry stored, std::shared_ptr<std::exception_ptr> first)
        : bytes(spool)
        , entry(std::move(stored))
        , failure(std::move(first)) // NOLINT(bugprone-throw-keyword-missing): kept, to be thrown later
    {
    }

    using StreamDataProvider::provideStreamData;

    void provideStreamData(const QPDFObjGen & /*object*/, Pipeline *pipeline) override
    {
        try {
            if (!*failure) {
                const QByteArray data = bytes.read(entry);
                pipeline->write(data.constData(), size_t(data.size()));
            }
        } catch (...) {
            *failure = std::current_exception();
        }
        pipeline->finish();
    }

private:
    BandSpool &bytes;
    BandSpool::Entry entry;
    std::shared_ptr<std::exception_ptr> failure;
};

ImageObjects::ImageObjects(QPDF &pdf, BandSpool &spool)
    : document(pdf)
    , bytes(spool)
{
}

QPDFObjectHandle ImageObjects::colorSpace(const QByteArray &profile, int channels)
{
    const char *device = channels == gray ? "/DeviceGray" : "/DeviceRGB";
    if (channelsOf(profile) != channels) {
        return name(device);
    }
    QPDFObjectHandle &space = spaces[profile];
    if (!space.isInitialized()) {
        QPDFObjectHandle stream = document.newStream(profile.toStdString());
        stream.getDict().replaceKey("/N", integer(channels));
        stream.getDict().replaceKey("/Alternate", name(device));
        space = document.makeIndirectObject(QPDFObjectHandle::newArray({name("/ICCBased"), stream}));
    }
    return space;
}

QPDFObjectHandle ImageObjects::add(PackedBand band, const QByteArray &profile)
{
    QPDFObjectHandle space = colorSpace(profile, band.colors.channels);
    const QByteArray palette = band.colors.palette;
    if (!palette.isEmpty()) {
        QPDFObjectHandle &indexed = spaces[profile + palette];
        if (!indexed.isInitialized()) {
            indexed = document.makeIndirectObject(QPDFObjectHandle::newArray(
                {name("/Indexed"), colorSpace(profile, rgb), integer(palette.size() / rgb - 1),
                 QPDFObjectHandle::newString(palette.toStdString())}));
        }
        space = indexed;
    }
    QPDFObjectHandle image = addImage(std::move(band.colors), space);
    if (band.alpha) {
        image.getDict().replaceKey("/SMask", addImage(std::move(*band.alpha), name("/DeviceGray")));
    }
    return image;
}

void ImageObjects::throwFailure() const
{
    if (*failure) {
        std::rethrow_exception(*failure);
    }
}

QPDFObjectHandle ImageObjects::addImage(PackedImage image, const QPDFObjectHandle &space)
{
    QPDFObjectHandle stream = document.newStream();
    QPDFObjectHandle dictionary = stream.getDict();
    dictionary.replaceKey("/Type", name("/XObject"));
    dictionary.replaceKey("/Subtype", name("/Image"));
    dictionary.replaceKey("/Width", integer(image.width));
    dictionary.replaceKey("/Height", integer(image.height));
    dictionary.replaceKey("/BitsPerComponent", integer(image.bits));
    dictionary.replaceKey("/ColorSpace", space);
    const auto provider = std::make_shared<SpooledStream>(bytes, bytes.add(std::move(image.bytes)), failure);
    stream.replaceStreamData(provider, filterOf(image), parametersOf(image));
    return stream;
}
