#include "cutquality/cutcount.h"
#include "cutquality/cutpictures.h"
#include "cutquality/cutspeed.h"
#include "cutquality/limits.h"

#include <QCommandLineParser>
#include <QFileInfo>
#include <QFontDatabase>
#include <QGuiApplication>

#include <algorithm>
#include <array>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

constexpr std::array groupNames{"tuned", "held back", "blind", "unseen"}; // as in PictureKind::Group
constexpr std::array drawnFonts{"DejaVu Sans",     "DejaVu Serif",     "DejaVu Sans Mono",
                                "Liberation Sans", "Noto Sans CJK SC", "Noto Serif CJK SC"};

// Tables as docs/cuts.md has them.
void printHead()
{
    std::printf("| Pictures | Without a free row | Regular | Bright | Calm |\n"
                "|---|--:|--:|--:|--:|\n");
}

void printRow(const QByteArray &name, const CutCounts &counts)
{
    std::printf("| %s | %d | %d + %d | %d + %d | %d + %d |\n", name.constData(), counts.unavoidable,
                counts.regular.shallow, counts.regular.deep, counts.bright.shallow, counts.bright.deep,
                counts.calm.shallow, counts.calm.deep);
    std::fflush(stdout);
}

struct Settings
{
    int seeds = 20;
    int firstSeed = 1;
    int strips = 9;
    QList<int> widths{360, 720, 1080};
    QString only;
    QString group;
    QString failures;
};

bool isChosen(const PictureKind &kind, const Settings &settings)
{
    const bool inGroup = settings.group.isEmpty() || settings.group == QLatin1StringView(groupNames[kind.group]);
    return inGroup && QLatin1StringView(kind.name).contains(settings.only);
}

CutCounts measured(const PictureKind &kind, const Settings &settings)
{
    CutCounts counts;
    for (int seed = settings.firstSeed; seed < settings.firstSeed + settings.seeds; ++seed) {
        for (const int width : settings.widths) {
            counts += countCuts(kind, width, settings.strips, quint32(seed), settings.failures);
        }
    }
    return counts;
}

CutCounts measureGroup(PictureKind::Group group, const Settings &settings, bool &keptLimits)
{
    CutCounts sum;
    std::printf("\n%s\n\n", groupNames[size_t(group)]);
    printHead();
    for (const PictureKind &kind : pictureKinds()) {
        if (kind.group != group || !isChosen(kind, settings)) {
            continue;
        }
        const CutCounts counts = measured(kind, settings);
        printRow(kind.name, counts);
        keptLimits = keepsLimits(kind, counts) && keptLimits;
        sum += counts;
    }
    printRow("all " + QByteArray::number(sum.cuts) + " cuts", sum);
    return sum;
}

/// Prints a table for each group. False if the calm rule exceeds a limit.
bool measure(const Settings &settings)
{
    CutCounts sum;
    bool keptLimits = true;
    for (size_t group = 0; group < groupNames.size(); ++group) {
        if (settings.group.isEmpty() || settings.group == QLatin1StringView(groupNames[group])) {
            sum += measureGroup(PictureKind::Group(group), settings, keptLimits);
        }
    }
    return keepsLimits(sum) && keptLimits;
}

bool savePainted(const Settings &settings, const QString &directory)
{
    const QList<PictureKind> &kinds = pictureKinds();
    return std::all_of(kinds.begin(), kinds.end(), [&](const PictureKind &kind) {
        return !isChosen(kind, settings) || savePainted(kind, directory);
    });
}

/// Saves cuts of all chosen kinds of each group.
bool saveSheets(const Settings &settings, const QString &directory)
{
    for (const char *group : groupNames) {
        QList<PictureKind> kinds = pictureKinds();
        kinds.removeIf(
            [&](const PictureKind &kind) { return !isChosen(kind, settings) || groupNames[kind.group] != group; });
        const QString name = QString::fromLatin1(group).replace(u' ', u'-');
        if (!kinds.isEmpty() && !cutSheet(kinds).save(u"%1/cuts-%2.jpg"_s.arg(directory, name), "jpeg", 50)) {
            return false;
        }
    }
    return true;
}

bool saveSheet(const QString &file, const QString &directory)
{
    const QImage image(file);
    const QString name = u"%1/cuts-%2.jpg"_s.arg(directory, QFileInfo(file).baseName());
    return !image.isNull() && cutSheet(image).save(name, "jpeg", 75);
}

void describe(QCommandLineParser &parser)
{
    parser.setApplicationDescription(u"Counts the cuts through content that each rule for placing cuts makes."_s);
    parser.addHelpOption();
    parser.addOptions({
        {u"seeds"_s, u"pictures of each kind and width"_s, u"count"_s, u"20"_s},
        {u"first-seed"_s, u"the first of them"_s, u"number"_s, u"1"_s},
        {u"strips"_s, u"strips of a picture"_s, u"count"_s, u"9"_s},
        {u"widths"_s, u"widths of the pictures"_s, u"list"_s, u"360,720,1080"_s},
        {u"only"_s, u"only kinds with this in their name"_s, u"text"_s},
        {u"group"_s, u"only this group: tuned, held back, blind or unseen"_s, u"name"_s},
        {u"failures"_s, u"save what surrounds failed cuts"_s, u"directory"_s},
        {u"painted"_s, u"save a picture of each kind with its content marked"_s, u"directory"_s},
        {u"pictures"_s, u"save pictures of cuts by both rules"_s, u"directory"_s},
        {u"file"_s, u"with --pictures: save those of an image instead"_s, u"image"_s},
        {u"speed"_s, u"measure the time instead"_s},
    });
}

Settings settingsOf(const QCommandLineParser &parser)
{
    Settings settings;
    settings.seeds = parser.value(u"seeds"_s).toInt();
    settings.firstSeed = parser.value(u"first-seed"_s).toInt();
    settings.strips = parser.value(u"strips"_s).toInt();
    settings.widths.clear();
    for (const QString &width : parser.value(u"widths"_s).split(u',')) {
        settings.widths.append(width.toInt());
    }
    settings.only = parser.value(u"only"_s);
    settings.group = parser.value(u"group"_s);
    settings.failures = parser.value(u"failures"_s);
    return settings;
}

bool printSpeed()
{
    const CutSpeed measured = measureCutSpeed();
    std::printf("reading %.2f ms, cutting %.2f ms, ratio %.2f\n", measured.reading, measured.cutting,
                measured.cutting / measured.reading);
    return true;
}

bool run(const QCommandLineParser &parser)
{
    const Settings settings = settingsOf(parser);
    if (parser.isSet(u"speed"_s)) {
        return printSpeed();
    }
    if (parser.isSet(u"painted"_s)) {
        return savePainted(settings, parser.value(u"painted"_s));
    }
    if (parser.isSet(u"file"_s)) {
        return saveSheet(parser.value(u"file"_s), parser.value(u"pictures"_s));
    }
    if (parser.isSet(u"pictures"_s)) {
        return saveSheets(settings, parser.value(u"pictures"_s));
    }
    return measure(settings);
}

/// False, with a message, if a font of the pictures is missing: Qt would draw others in its place, and the counts
/// would not be those of other machines.
bool hasFonts()
{
    const QStringList families = QFontDatabase::families();
    return std::all_of(drawnFonts.begin(), drawnFonts.end(), [&](const char *family) {
        const bool found = families.contains(QLatin1StringView(family));
        if (!found) {
            std::fprintf(stderr, "the pictures need the font %s\n", family);
        }
        return found;
    });
}

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    qputenv("FONTCONFIG_FILE", CUT_QUALITY_FONTS);
    const QGuiApplication app(argc, argv);
    QCommandLineParser parser;
    describe(parser);
    parser.process(app);
    return hasFonts() && run(parser) ? 0 : 1;
}
