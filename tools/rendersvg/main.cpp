// Renders an SVG file to a PNG file, for the logo and the icons:
//
//     render-svg resources/sitelogo.svg 480x240 resources/sitelogo.png
//
// Needs Qt's SVG image plugin.

#include <QCommandLineParser>
#include <QGuiApplication>
#include <QImageReader>
#include <QRegularExpression>
#include <QTextStream>

using namespace Qt::StringLiterals;

namespace {

int fail(const QString &message)
{
    QTextStream(stderr) << "render-svg: " << message << '\n';
    return 1;
}

QSize parseSize(const QString &text)
{
    static const QRegularExpression pattern(u"^(\\d{1,4})x(\\d{1,4})$"_s);
    const QRegularExpressionMatch match = pattern.match(text);
    return match.hasMatch() ? QSize(match.captured(1).toInt(), match.captured(2).toInt()) : QSize();
}

} // namespace

int main(int argc, char *argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QGuiApplication app(argc, argv);
    QCommandLineParser parser;
    parser.addHelpOption();
    parser.addPositionalArgument(u"source"_s, u"The SVG file."_s);
    parser.addPositionalArgument(u"size"_s, u"Width and height in pixels, such as 480x240."_s);
    parser.addPositionalArgument(u"target"_s, u"The PNG file."_s);
    parser.process(app);
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 3) {
        parser.showHelp(2);
    }
    const QSize size = parseSize(arguments.at(1));
    if (size.isEmpty()) {
        return fail(u"not a size such as 480x240: "_s + arguments.at(1));
    }

    QImageReader reader(arguments.at(0), "svg");
    reader.setScaledSize(size);
    reader.setBackgroundColor(Qt::transparent);
    const QImage image = reader.read();
    if (image.isNull()) {
        return fail(u"%1: cannot read image: %2"_s.arg(arguments.at(0), reader.errorString()));
    }
    if (!image.save(arguments.at(2), "png")) {
        return fail(u"%1: cannot write image"_s.arg(arguments.at(2)));
    }
    return 0;
}
