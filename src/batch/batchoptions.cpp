#include "batch/batchoptions.h"

#include <QCommandLineParser>

using namespace Qt::StringLiterals;

namespace {

constexpr int maxMargin = 30; // as in the window
constexpr int maxJobs = 64;

const QString exitText = uR"(
With one IMAGE, OUT is the PDF file, or a folder for it if that exists or OUT ends
in "/". With several, OUT is a folder, which is created if needed. A file in a
folder is named after its image; a second one of that name becomes NAME-2.pdf.
An existing PDF file is replaced, but only by a complete one.

Exit status:
  0  all files were written
  2  the command line is wrong; nothing was done
  3  an image could not be read
  4  a PDF file could not be written
  5  an image is too large, or memory ran out
After a failure the other images are still processed. After several failures the
status is the highest of their numbers.
)"_s;

void describe(QCommandLineParser &parser)
{
    parser.setApplicationDescription(u"Turns long images into PDF files, page by page."_s);
    parser.addPositionalArgument(u"IMAGE"_s, u"A long image, in any format that the window opens."_s,
                                 u"IMAGE... -o OUT"_s);
    parser.addOptions({
        {{u"o"_s, u"output"_s}, u"The PDF file to write, or the folder for several."_s, u"OUT"_s},
        {u"columns"_s, u"1: one strip on a page. 2: four strips in two columns. Default: 1."_s, u"1|2"_s, u"1"_s},
        {u"margin"_s, u"Margin of the pages, 0 to 30 percent. Default: 10."_s, u"PERCENT"_s, u"10"_s},
        {u"page-numbers"_s, u"Number the pages."_s},
        {u"trim"_s, u"Remove the blank border of the image first."_s},
        {u"cuts"_s,
         u"calm: in the middle of gaps, on any ground. bright: on the brightest row, as the window does by default. "
         u"regular: at regular distances. Default: calm."_s,
         u"calm|bright|regular"_s, u"calm"_s},
        {u"no-auto-cut"_s, u"The same as --cuts regular."_s},
        {u"lossless"_s, u"Keep every pixel unchanged; by default they are stored as JPEG."_s},
        {{u"j"_s, u"jobs"_s}, u"Process N images at a time, 1 to 64. Default: 1."_s, u"N"_s, u"1"_s},
        {u"dry-run"_s, u"Print where each image would be cut, and write no file."_s},
        {u"json"_s, u"Report each page and file as a line of JSON."_s},
        {{u"q"_s, u"quiet"_s}, u"Print only failures."_s},
        {{u"v"_s, u"version"_s}, u"Show the version and exit."_s},
        {{u"h"_s, u"help"_s}, u"Show this help and exit."_s},
    });
}

/// Reads the option \a name into \a number. Returns false unless it is a whole
/// number from \a lowest to \a highest.
bool readNumber(const QCommandLineParser &parser, const QString &name, int lowest, int highest, int &number)
{
    bool isNumber = false;
    number = parser.value(name).toInt(&isNumber);
    return isNumber && number >= lowest && number <= highest;
}

/// Reads the rule for cuts from \a parser into \a pages. Returns the error
/// message, or an empty string.
QString readCutRule(const QCommandLineParser &parser, PageOptions &pages)
{
    const QString cuts = parser.value(u"cuts"_s);
    const std::optional<CutRule> rule = cutRuleNamed(cuts);
    if (!rule && cuts != "regular"_L1) {
        return u"--cuts must be calm, bright or regular, not \"%1\""_s.arg(cuts);
    }
    if (parser.isSet(u"no-auto-cut"_s) && parser.isSet(u"cuts"_s) && rule) {
        return u"--no-auto-cut contradicts --cuts %1"_s.arg(cuts);
    }
    pages.autoCut = rule && !parser.isSet(u"no-auto-cut"_s);
    pages.cutRule = rule.value_or(CutRule::Calm);
    return {};
}

/// Reads the numbers and operands of \a parser into \a options. Returns the error
/// message, or an empty string.
QString readValues(const QCommandLineParser &parser, BatchOptions &options)
{
    if (!readNumber(parser, u"columns"_s, 1, 2, options.pages.columns)) {
        return u"--columns must be 1 or 2, not \"%1\""_s.arg(parser.value(u"columns"_s));
    }
    if (!readNumber(parser, u"margin"_s, 0, maxMargin, options.pages.marginPercent)) {
        return u"--margin must be a whole number from 0 to %1, not \"%2\""_s.arg(maxMargin).arg(
            parser.value(u"margin"_s));
    }
    if (!readNumber(parser, u"jobs"_s, 1, maxJobs, options.jobs)) {
        return u"--jobs must be a whole number from 1 to %1, not \"%2\""_s.arg(maxJobs).arg(parser.value(u"jobs"_s));
    }
    options.images = parser.positionalArguments();
    if (options.images.isEmpty()) {
        return u"no image is given"_s;
    }
    if (options.images.contains(QString())) {
        return u"the name of an image is empty"_s;
    }
    options.output = parser.value(u"output"_s);
    if (options.output.isEmpty() && (!options.dryRun || parser.isSet(u"output"_s))) {
        return u"no output is given: use -o OUT"_s;
    }
    return readCutRule(parser, options.pages);
}

} // namespace

CommandLine readCommandLine(const QStringList &arguments)
{
    CommandLine line;
    if (arguments.size() == 2 && arguments.last() == serveArgument()) {
        line.request = CommandLine::Request::Serve;
        return line;
    }
    QCommandLineParser parser;
    describe(parser);
    if (!parser.parse(arguments)) {
        line.request = CommandLine::Request::Refuse;
        line.mistake = parser.errorText();
        return line;
    }
    if (parser.isSet(u"help"_s) || parser.isSet(u"version"_s)) {
        line.request = parser.isSet(u"help"_s) ? CommandLine::Request::ShowHelp : CommandLine::Request::ShowVersion;
        return line;
    }
    line.options.pages.pageNumbers = parser.isSet(u"page-numbers"_s);
    line.options.pages.trim = parser.isSet(u"trim"_s);
    line.options.pages.lossless = parser.isSet(u"lossless"_s);
    line.options.json = parser.isSet(u"json"_s);
    line.options.dryRun = parser.isSet(u"dry-run"_s);
    line.options.quiet = parser.isSet(u"quiet"_s);
    line.mistake = readValues(parser, line.options);
    if (!line.mistake.isEmpty()) {
        line.request = CommandLine::Request::Refuse;
    }
    return line;
}

QString batchHelp()
{
    QCommandLineParser parser;
    describe(parser);
    return parser.helpText() + exitText;
}

QString serveArgument()
{
    return u"--serve-jobs"_s;
}
