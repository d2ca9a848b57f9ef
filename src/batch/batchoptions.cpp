#include "batch/batchoptions.h"

#include <QCommandLineParser>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

constexpr int maxColumns = 4;
constexpr int maxColumnsOfWindow = 2;
constexpr int maxJobs = 64;
constexpr double narrowestColumn = 24; // points, with the gap beside it

const QString exitText = uR"(
IMAGE can be a folder, for all images in it, or "-" for standard input.
OUT is a PDF file with all images in order, if its name ends in ".pdf" or there is
one IMAGE; "-" for standard output; or a folder, if it exists, ends in "/", or has
another name, which gets a file for each image. A second one of the same name becomes
NAME-2.pdf. An existing PDF file is replaced, but only by a complete one. Any other
existing file is left alone.

Exit status:
  0  all files were written
  2  the command line is wrong; nothing was done
  3  an image or a list could not be read, or an image is damaged
  4  a PDF file could not be written
  5  an image is too large, or memory ran out
After a failure the other files are still processed. After several failures the
status is the highest of their numbers.
)"_s;

BatchError wrongUse(const QString &text)
{
    return {BatchFailure::WrongUse, text};
}

/// The whole number \a text, the value of the option \a name.
int numberFrom(const char *name, const QString &text, int lowest, int highest)
{
    bool isNumber = false;
    const int number = text.toInt(&isNumber);
    if (!isNumber || number < lowest || number > highest) {
        throw wrongUse(u"--%1 must be a whole number from %2 to %3, not \"%4\""_s.arg(QLatin1StringView(name))
                           .arg(lowest)
                           .arg(highest)
                           .arg(text));
    }
    return number;
}

QString notEmpty(const char *name, const QString &text)
{
    if (text.isEmpty()) {
        throw wrongUse(u"--%1 needs a name"_s.arg(QLatin1StringView(name)));
    }
    return text;
}

PageLayout layoutFrom(const QString &text)
{
    if (text != "flow"_L1 && text != "window"_L1) {
        throw wrongUse(u"--layout must be flow or window, not \"%1\""_s.arg(text));
    }
    return text == "flow"_L1 ? PageLayout::Flow : PageLayout::Window;
}

Paper paperFrom(const QString &text)
{
    const std::optional<Paper> paper = paperNamed(text);
    if (!paper) {
        throw wrongUse(u"--paper must be A3, A4, A5, Letter, Legal, strip, or a size such as 100x200mm or 4x6in, "
                       "not \"%1\""_s.arg(text));
    }
    return *paper;
}

Margin marginFrom(const QString &text)
{
    const std::optional<Margin> margin = marginNamed(text);
    if (!margin) {
        throw wrongUse(
            u"--margin must be a whole number from 0 to 30, in percent, or 0mm to 100mm, not \"%1\""_s.arg(text));
    }
    return *margin;
}

std::optional<CutRule> cutRuleFrom(const QString &text)
{
    const std::optional<CutRule> rule = cutRuleNamed(text);
    if (!rule && text != "regular"_L1) {
        throw wrongUse(u"--cuts must be calm, bright or regular, not \"%1\""_s.arg(text));
    }
    return rule;
}

QString nameFormFrom(const QString &text)
{
    QString rest = text;
    rest.remove(u"{stem}"_s).remove(u"{n}"_s);
    if (!text.endsWith(".pdf"_L1) || rest.contains(u'/') || rest.contains(u'{') || rest == text) {
        throw wrongUse(u"--name must end in \".pdf\" and contain {stem} or {n}, but no \"/\", not \"%1\""_s.arg(text));
    }
    return text;
}

/// An option: all that the parser, the help, the manual page and the completions of the
/// shells know of it.
struct Option
{
    const char *names; // separated by "|", the long one last
    const char *value; // null for a flag
    const char *choices; // the values, separated by "|"; "FILE" for any file
    const char *help;
    void (*apply)(BatchOptions &options, const QString &value);
};

const std::array optionTable{
    Option{"o|output", "OUT", "FILE", "The PDF file to write, or the folder for several.",
           [](BatchOptions &to, const QString &value) {
               to.output = value.isEmpty() ? throw wrongUse(u"no output is given: use -o OUT"_s) : value;
           }},
    Option{"layout", "flow|window", "flow|window",
           "flow: strips as high as the sheet allows, at full width. window: the pages that the window exports. "
           "Default: flow.",
           [](BatchOptions &to, const QString &value) { to.pages.layout = layoutFrom(value); }},
    Option{
        "columns", "N", "1|2|3|4",
        "Columns on a sheet, 1 to 4; with --layout window 1 or 2, where 2 is for four strips. Default: 1.",
        [](BatchOptions &to, const QString &value) { to.pages.columns = numberFrom("columns", value, 1, maxColumns); }},
    Option{"paper", "PAPER", "A3|A4|A5|Letter|Legal|strip",
           "A3, A4, A5, Letter, Legal, WIDTHxHEIGHTmm, WIDTHxHEIGHTin, or strip: each page as large as its strip, "
           "for reading on a phone. Default: A4.",
           [](BatchOptions &to, const QString &value) { to.pages.paper = paperFrom(value); }},
    Option{"landscape", nullptr, nullptr, "Turn the paper.",
           [](BatchOptions &to, const QString &) { to.pages.paper.size.transpose(); }},
    Option{"margin", "MARGIN", nullptr, "Margin of the pages, 0 to 30 percent, or in mm, such as 12.5mm. Default: 10.",
           [](BatchOptions &to, const QString &value) { to.pages.margin = marginFrom(value); }},
    Option{"page-numbers", nullptr, nullptr, "Number the pages.",
           [](BatchOptions &to, const QString &) { to.pages.pageNumbers = true; }},
    Option{"trim", nullptr, nullptr, "Remove the blank border of the image first.",
           [](BatchOptions &to, const QString &) { to.pages.trim = true; }},
    Option{"cuts", "calm|bright|regular", "calm|bright|regular",
           "calm: in the middle of gaps, on any ground. bright: on the brightest row, as the window does by default. "
           "regular: at regular distances. Default: calm.",
           [](BatchOptions &to, const QString &value) { to.pages.cutRule = cutRuleFrom(value); }},
    Option{"no-auto-cut", nullptr, nullptr, "The same as --cuts regular.",
           [](BatchOptions &to, const QString &) { to.pages.cutRule = std::nullopt; }},
    Option{"cuts-from", "FILE", "FILE",
           "Cut where the lines of FILE say, which --dry-run --json has printed; \"-\" for standard input.",
           [](BatchOptions &to, const QString &value) { to.cutsFrom = notEmpty("cuts-from", value); }},
    Option{"lossless", nullptr, nullptr, "Keep every pixel unchanged; by default they are stored as JPEG.",
           [](BatchOptions &to, const QString &) { to.pages.lossless = true; }},
    Option{"quality", "N", nullptr, "Quality of JPEG, 1 to 100. Default: 94.",
           [](BatchOptions &to, const QString &value) { to.pages.quality = numberFrom("quality", value, 1, 100); }},
    Option{"accept-damaged", nullptr, nullptr, "Convert what can be read of a damaged image.",
           [](BatchOptions &to, const QString &) { to.pages.acceptDamaged = true; }},
    Option{"title", "TEXT", nullptr, "Title of the document. Default: the name of the image.",
           [](BatchOptions &to, const QString &value) { to.pages.title = value; }},
    Option{"recursive", nullptr, nullptr, "Take the images of folders in a folder, too.",
           [](BatchOptions &to, const QString &) { to.recursive = true; }},
    Option{"files-from", "FILE", "FILE", "Read names of images from FILE, one a line; \"-\" for standard input.",
           [](BatchOptions &to, const QString &value) { to.filesFrom = notEmpty("files-from", value); }},
    Option{"0|null", nullptr, nullptr, "The names in that FILE end with a zero byte, as find -print0 writes them.",
           [](BatchOptions &to, const QString &) { to.isNulSeparated = true; }},
    Option{"name", "FORM", nullptr,
           "Names of the files in a folder: {stem} is the name of the image, {n} its number. Default: {stem}.pdf.",
           [](BatchOptions &to, const QString &value) { to.nameForm = nameFormFrom(value); }},
    Option{"no-clobber", nullptr, nullptr, "Replace no existing file.",
           [](BatchOptions &to, const QString &) { to.noClobber = true; }},
    Option{"j|jobs", "N", nullptr, "Process N images at a time, up to 64; 0 is one for each processor. Default: 0.",
           [](BatchOptions &to, const QString &value) { to.jobs = numberFrom("jobs", value, 0, maxJobs); }},
    Option{"dry-run", nullptr, nullptr, "Print where each image would be cut, and write no PDF file.",
           [](BatchOptions &to, const QString &) { to.dryRun = true; }},
    Option{"preview", "FILE", "FILE", "Write a small picture of the image with its cuts to the PNG file FILE.",
           [](BatchOptions &to, const QString &value) { to.preview = notEmpty("preview", value); }},
    Option{"json", nullptr, nullptr, "Report each page and file as a line of JSON.",
           [](BatchOptions &to, const QString &) { to.json = true; }},
    Option{"q|quiet", nullptr, nullptr, "Print only failures.",
           [](BatchOptions &to, const QString &) { to.quiet = true; }},
    Option{"completion", "SHELL", "bash|zsh|fish", "Print the completion of this command for the shell and exit.",
           [](BatchOptions &, const QString &) {}},
    Option{"v|version", nullptr, nullptr, "Show the version and exit.", [](BatchOptions &, const QString &) {}},
    Option{"h|help", nullptr, nullptr, "Show this help and exit.", [](BatchOptions &, const QString &) {}},
};

QStringList partsOf(const char *text)
{
    return text == nullptr ? QStringList() : QString::fromLatin1(text).split(u'|');
}

QString longName(const Option &option)
{
    return partsOf(option.names).last();
}

void describe(QCommandLineParser &parser)
{
    parser.setApplicationDescription(u"Turns long images into PDF files, page by page."_s);
    parser.addPositionalArgument(u"IMAGE"_s, u"A long image, in any format that the window opens, or a folder."_s,
                                 u"IMAGE... -o OUT"_s);
    for (const Option &option : optionTable) {
        parser.addOption(QCommandLineOption(partsOf(option.names), QString::fromLatin1(option.help),
                                            QString::fromLatin1(option.value)));
    }
}

void refuseIf(const QString &mistake)
{
    if (!mistake.isEmpty()) {
        throw wrongUse(mistake);
    }
}

/// Whether the value of \a option is a file: another one would take its place silently.
bool isFile(const Option &option)
{
    return QLatin1StringView(option.choices) == "FILE"_L1;
}

/// Applies the options that \a parser found to \a to, in the order of the table.
void apply(const QCommandLineParser &parser, BatchOptions &to)
{
    for (const Option &option : optionTable) {
        const QString name = longName(option);
        if (parser.isSet(name)) {
            refuseIf(isFile(option) && parser.values(name).size() > 1 ? u"--%1 is given twice"_s.arg(name) : QString());
            const QString value = parser.value(name);
            option.apply(to, value);
            to.arguments.append(option.value == nullptr ? u"--"_s + name : u"--%1=%2"_s.arg(name, value));
        }
    }
}

/// What can be said against \a page options, which \a parser found; empty if nothing.
QString contradiction(const QCommandLineParser &parser, const PageOptions &pages)
{
    const QString cuts = parser.value(u"cuts"_s);
    if (parser.isSet(u"no-auto-cut"_s) && parser.isSet(u"cuts"_s) && cuts != "regular"_L1) {
        return u"--no-auto-cut contradicts --cuts %1"_s.arg(cuts);
    }
    if (pages.layout == PageLayout::Window) {
        const bool isFixed = parser.isSet(u"paper"_s) || parser.isSet(u"landscape"_s) || pages.margin.isMillimeters
            || pages.columns > maxColumnsOfWindow;
        return isFixed ? u"--layout window is for A4 in portrait, margins in percent, and 1 or 2 columns"_s : QString();
    }
    if (pages.paper.isStrip() && (parser.isSet(u"margin"_s) || parser.isSet(u"landscape"_s) || pages.columns > 1)) {
        return u"--paper strip has no margins and one column"_s;
    }
    const double least = 2 * marginOn(pages.paper.size, pages.margin) + pages.columns * narrowestColumn;
    const bool isTooSmall = std::min(pages.paper.size.width(), pages.paper.size.height()) < least;
    return isTooSmall && !pages.paper.isStrip() ? u"the margins leave too little of the paper"_s : QString();
}

QString contradiction(const BatchOptions &options)
{
    if (options.operands.isEmpty() && options.filesFrom.isEmpty()) {
        return u"no image is given"_s;
    }
    if (options.operands.contains(QString())) {
        return u"the name of an image is empty"_s;
    }
    if (options.output.isEmpty() && !options.dryRun && options.preview.isEmpty()) {
        return u"no output is given: use -o OUT"_s;
    }
    return {};
}

/// What \a parser asks for instead of a conversion.
CommandLine::Request requestOf(const QCommandLineParser &parser)
{
    if (parser.isSet(u"help"_s)) {
        return CommandLine::Request::ShowHelp;
    }
    if (parser.isSet(u"version"_s)) {
        return CommandLine::Request::ShowVersion;
    }
    return parser.isSet(u"completion"_s) ? CommandLine::Request::ShowCompletion : CommandLine::Request::Convert;
}

} // namespace

CommandLine readCommandLine(const QStringList &arguments)
{
    CommandLine line;
    const bool isWorker = arguments.value(1) == serveArgument();
    QCommandLineParser parser;
    describe(parser);
    if (!parser.parse(isWorker ? arguments.first(1) + arguments.mid(2) : arguments)) {
        throw wrongUse(parser.errorText());
    }
    line.request = isWorker ? CommandLine::Request::Serve : requestOf(parser);
    line.shell = parser.value(u"completion"_s);
    if (line.request == CommandLine::Request::Convert || isWorker) {
        line.options.operands = parser.positionalArguments();
        apply(parser, line.options);
        refuseIf(contradiction(parser, line.options.pages));
        refuseIf(isWorker ? QString() : contradiction(line.options));
    }
    return line;
}

QString batchHelp()
{
    QCommandLineParser parser;
    describe(parser);
    return parser.helpText() + exitText;
}

QList<OptionFacts> optionFacts()
{
    QList<OptionFacts> facts;
    for (const Option &option : optionTable) {
        OptionFacts fact{partsOf(option.names), QString::fromLatin1(option.help), QString::fromLatin1(option.value),
                         partsOf(option.choices), false};
        if (isFile(option)) {
            fact.choices.clear();
            fact.isFile = true;
        }
        facts.append(fact);
    }
    return facts;
}

QString serveArgument()
{
    return u"--serve-jobs"_s;
}
