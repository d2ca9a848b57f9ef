#include "samples/sampleimage.h"

#include <QCommandLineParser>
#include <QGuiApplication>
#include <QRegularExpression>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

constexpr int writeFailure = 1;
constexpr int badArguments = 2;

int fail(int code, const QString &message)
{
    std::fprintf(stderr, "make-sample: %s\n", qPrintable(message));
    return code;
}

/// How the image is changed after painting.
struct Finish
{
    int rim = 0; // pixels
    bool indexed = false;
};

/// Reads options into \a finish. Returns an error message; empty if there is none.
QString readFinish(const QCommandLineParser &parser, SampleKind kind, Finish &finish)
{
    bool ok = false;
    finish.rim = parser.value(u"rim"_s).toInt(&ok);
    if (!ok || finish.rim < 0 || finish.rim > 1000) {
        return u"bad rim \"%1\", use a number from 0 to 1000"_s.arg(parser.value(u"rim"_s));
    }
    finish.indexed = parser.isSet(u"indexed"_s);
    if (kind == SampleKind::Palette && (finish.rim > 0 || finish.indexed)) {
        return u"the kind palette already has 249 colors, and takes no rim"_s;
    }
    return {};
}

QImage finished(QImage image, const Finish &finish)
{
    if (finish.rim > 0) {
        image = withRim(image, finish.rim);
    }
    if (finish.indexed) {
        image = toPalette(image.convertToFormat(QImage::Format_ARGB32));
    }
    return image;
}

bool hasEnglishTexts(SampleKind kind)
{
    switch (kind) {
    case SampleKind::Chat:
    case SampleKind::Dark:
    case SampleKind::Web:
    case SampleKind::Palette:
    case SampleKind::Gray:
        return true;
    default:
        return false;
    }
}

/// Reads options into \a params and the operand into \a file. Returns an error
/// message; empty if there is none.
QString readArguments(const QCommandLineParser &parser, SampleParams &params, QString &file)
{
    const auto kind = sampleKindByName(parser.value(u"kind"_s));
    if (!kind) {
        return u"unknown kind \"%1\", use one of %2"_s.arg(parser.value(u"kind"_s), sampleKindNames().join(u", "_s));
    }
    params.kind = *kind;

    static const QRegularExpression sizePattern(u"^([1-9][0-9]{0,4})x([1-9][0-9]{0,5})$"_s);
    const QRegularExpressionMatch size = sizePattern.match(parser.value(u"size"_s));
    params.width = size.captured(1).toInt();
    params.height = size.captured(2).toInt();
    if (!size.hasMatch() || params.width > 10000) {
        return u"bad size \"%1\", use WIDTHxHEIGHT up to 10000x999999"_s.arg(parser.value(u"size"_s));
    }

    bool ok = false;
    params.seed = parser.value(u"seed"_s).toUInt(&ok);
    if (!ok) {
        return u"bad seed \"%1\", use a number from 0 to 4294967295"_s.arg(parser.value(u"seed"_s));
    }
    params.orientation = parser.value(u"orientation"_s).toInt(&ok);
    if (!ok || params.orientation < 1 || params.orientation > 8) {
        return u"bad orientation \"%1\", use a number from 1 to 8"_s.arg(parser.value(u"orientation"_s));
    }
    const bool jpeg = params.kind == SampleKind::JpegOrientation;
    if (!jpeg && parser.isSet(u"orientation"_s)) {
        return u"--orientation is for the kind jpeg-orientation alone"_s;
    }
    params.english = parser.isSet(u"english"_s);
    if (params.english && !hasEnglishTexts(params.kind)) {
        return u"--english is for the kinds chat, dark, web, palette and gray"_s;
    }

    if (parser.positionalArguments().size() != 1) {
        return u"give the name of one file to write"_s;
    }
    file = parser.positionalArguments().constFirst();
    const QString suffix = file.section(u'.', -1).toLower();
    if (jpeg ? suffix != "jpg"_L1 && suffix != "jpeg"_L1 : suffix != "png"_L1) {
        return u"\"%1\" must end in %2 for this kind"_s.arg(file, jpeg ? u".jpg"_s : u".png"_s);
    }
    return {};
}

} // namespace

int main(int argc, char *argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen"); // no window is shown
    }
    const QGuiApplication app(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(u"Paints a long sample image."_s);
    const QCommandLineOption help = parser.addHelpOption();
    parser.addOptions({
        {u"kind"_s, u"What to paint: %1."_s.arg(sampleKindNames().join(u", "_s)), u"kind"_s, u"chat"_s},
        {u"size"_s, u"Pixels of the image."_s, u"WIDTHxHEIGHT"_s, u"1080x12000"_s},
        {u"seed"_s, u"Different numbers give different images."_s, u"number"_s, u"1"_s},
        {u"rim"_s, u"Blank rows and columns around the image, 0 to 1000."_s, u"pixels"_s, u"0"_s},
        {u"indexed"_s, u"Saves the image with 249 colors, in a smaller file."_s},
        {u"english"_s, u"Only English texts, for chats and articles."_s},
        {u"orientation"_s, u"EXIF orientation for the kind jpeg-orientation, 1 to 8."_s, u"tag"_s, u"1"_s},
    });
    parser.addPositionalArgument(u"file"_s, u"The PNG file to write; a JPEG file for the kind jpeg-orientation."_s);
    if (!parser.parse(app.arguments())) {
        return fail(badArguments, parser.errorText());
    }
    if (parser.isSet(help)) {
        parser.showHelp();
    }

    SampleParams params;
    QString file;
    Finish finish;
    QString error = readArguments(parser, params, file);
    if (error.isEmpty()) {
        error = readFinish(parser, params.kind, finish);
    }
    if (!error.isEmpty()) {
        return fail(badArguments, error);
    }
    const QImage image = finished(makeSampleImage(params), finish);
    if (image.isNull()) {
        return fail(writeFailure, u"not enough memory for an image of this size"_s);
    }
    QString reason;
    if (!writeSampleImage(image, params, file, &reason)) {
        return fail(writeFailure, u"cannot write \"%1\": %2"_s.arg(file, reason));
    }
    return 0;
}
