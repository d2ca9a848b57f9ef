#include "cutquality/cutcount.h"
#include "cutquality/cutpictures.h"
#include "cutquality/cutspeed.h"
#include "cutquality/limits.h"

#include <QCommandLineParser>
#include <QFileInfo>
#include <QGuiApplication>

#include <algorithm>
#include <array>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

constexpr std::array groupNames{"tuned", "held back", "blind"}; // as in PictureKind::Group

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

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    const QGuiApplication app(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(u"Counts the cuts through content that each rule for placing cuts makes."_s);
    parser.addHelpOption();
    const QCommandLineOption seeds(u"seeds"_s, u"pictures of each kind and width"_s, u"count"_s, u"20"_s);
    const QCommandLineOption first(u"first-seed"_s, u"the first of them"_s, u"number"_s, u"1"_s);
    const QCommandLineOption strips(u"strips"_s, u"strips of a picture"_s, u"count"_s, u"9"_s);
    const QCommandLineOption widths(u"widths"_s, u"widths of the pictures"_s, u"list"_s, u"360,720,1080"_s);
    const QCommandLineOption only(u"only"_s, u"only kinds with this in their name"_s, u"text"_s);
    const QCommandLineOption group(u"group"_s, u"only this group: tuned, held back or blind"_s, u"name"_s);
    const QCommandLineOption failures(u"failures"_s, u"save what surrounds failed cuts"_s, u"directory"_s);
    const QCommandLineOption painted(u"painted"_s, u"save a picture of each kind with its content marked"_s,
                                     u"directory"_s);
    const QCommandLineOption pictures(u"pictures"_s, u"save pictures of cuts by both rules"_s, u"directory"_s);
    const QCommandLineOption file(u"file"_s, u"with --pictures: save those of an image instead"_s, u"image"_s);
    const QCommandLineOption speed(u"speed"_s, u"measure the time instead"_s);
    parser.addOptions({speed, painted, pictures, file, seeds, first, strips, widths, only, group, failures});
    parser.process(app);
    Settings settings;
    settings.seeds = parser.value(seeds).toInt();
    settings.firstSeed = parser.value(first).toInt();
    settings.strips = parser.value(strips).toInt();
    settings.widths.clear();
    for (const QString &width : parser.value(widths).split(u',')) {
        settings.widths.append(width.toInt());
    }
    settings.only = parser.value(only);
    settings.group = parser.value(group);
    settings.failures = parser.value(failures);
    if (parser.isSet(speed)) {
        const CutSpeed measured = measureCutSpeed();
        std::printf("reading %.2f ms, cutting %.2f ms, ratio %.2f\n", measured.reading, measured.cutting,
                    measured.cutting / measured.reading);
        return 0;
    }
    if (parser.isSet(painted)) {
        return savePainted(settings, parser.value(painted)) ? 0 : 1;
    }
    if (parser.isSet(file)) {
        return saveSheet(parser.value(file), parser.value(pictures)) ? 0 : 1;
    }
    if (parser.isSet(pictures)) {
        return saveSheets(settings, parser.value(pictures)) ? 0 : 1;
    }
    return measure(settings) ? 0 : 1;
}
