#include "cutquality/cutcount.h"
#include "cutquality/cutspeed.h"

#include <QCommandLineParser>
#include <QGuiApplication>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

void printHead()
{
    std::printf(
        "| pictures | cuts | unavoidable | regular shallow | deep | bright shallow | deep | calm shallow | deep |\n"
        "|---|--:|--:|--:|--:|--:|--:|--:|--:|\n");
}

void printRow(const char *name, const CutCounts &counts)
{
    std::printf("| %s | %d | %d | %d | %d | %d | %d | %d | %d |\n", name, counts.cuts, counts.unavoidable,
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
    QString failures;
};

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

int throughContent(const CutCount &count)
{
    return count.shallow + count.deep;
}

/// Whether the calm rule is not worse than the bright one.
bool isNotWorse(const CutCounts &counts)
{
    return throughContent(counts.calm) <= throughContent(counts.bright) && counts.calm.deep <= counts.bright.deep;
}

/// Prints the table of one half of the kinds. False if the calm rule is worse
/// than the bright one in any kind, or cuts through content more than once in 50.
bool measureHalf(bool heldBack, const Settings &settings)
{
    CutCounts sum;
    bool good = true;
    printHead();
    for (const PictureKind &kind : pictureKinds()) {
        if (kind.heldBack != heldBack || !QLatin1StringView(kind.name).contains(settings.only)) {
            continue;
        }
        const CutCounts counts = measured(kind, settings);
        printRow(kind.name, counts);
        good = good && isNotWorse(counts);
        sum += counts;
    }
    printRow("all", sum);
    return good && throughContent(sum.calm) * 50 <= sum.cuts;
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
    const QCommandLineOption half(u"half"_s, u"tuned, held or both"_s, u"half"_s, u"both"_s);
    const QCommandLineOption failures(u"failures"_s, u"save what surrounds failed cuts"_s, u"directory"_s);
    const QCommandLineOption speed(u"speed"_s, u"measure the time instead"_s);
    parser.addOptions({speed, seeds, first, strips, widths, only, half, failures});
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
    settings.failures = parser.value(failures);
    if (parser.isSet(speed)) {
        const CutSpeed measured = measureCutSpeed();
        std::printf("reading %.2f ms, cutting %.2f ms, ratio %.2f\n", measured.reading, measured.cutting,
                    measured.cutting / measured.reading);
        return 0;
    }
    bool good = true;
    if (parser.value(half) != "held"_L1) {
        good = measureHalf(false, settings);
    }
    if (parser.value(half) != "tuned"_L1) {
        std::printf("\n");
        good = measureHalf(true, settings) && good;
    }
    return good ? 0 : 1;
}
