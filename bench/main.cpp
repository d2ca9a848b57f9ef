#include "shownwindow.h"
#include "steps.h"
#include "support/privatehome.h"

#include <QApplication>
#include <QCommandLineParser>

#include <algorithm>
#include <array>
#include <cstdlib>

using namespace Qt::StringLiterals;

namespace {

/// Passes our defaults and then the command line to the library. Options that it
/// does not know stay in the arguments.
void initializeLibrary(int &argc, char *argv[])
{
    char name[] = "defaults";
    char interleaving[] = "--benchmark_enable_random_interleaving=true";
    char repetitions[] = "--benchmark_repetitions=5";
    char minTime[] = "--benchmark_min_time=0.1";
    std::array<char *, 5> defaults = {name, interleaving, repetitions, minTime, nullptr};
    auto defaultCount = int(defaults.size() - 1);
    benchmark::Initialize(&defaultCount, defaults.data());
    benchmark::Initialize(&argc, argv);
}

void measureImage(const SampleFile &file, const std::shared_ptr<ShownWindow> &shown, const QString &pdfPath,
                  Table &table)
{
    auto image = std::make_shared<OpenImage>(OpenImage{file, shown, {}, pdfPath});
    constexpr std::array groups = {intakeComparisons, paintComparisons, dragComparisons, commandComparisons,
                                   exportComparisons};
    if (std::none_of(groups.begin(), groups.end(), [&](auto group) { return table.wantsAny(group(image)); })) {
        return;
    }
    image->pixels = windowPixels(file.path);
    for (const auto group : groups) {
        shown->open(file.path);
        table.measure(group(image));
    }
}

} // namespace

int main(int argc, char *argv[])
{
    const PrivateHome home;
    initializeLibrary(argc, argv);
    const QApplication app(argc, argv);
    PrivateHome::removeConfigFile();

    QCommandLineParser parser;
    const QCommandLineOption quick(u"quick"_s, u"Measure with images of 1080 x 12000 pixels."_s);
    const QCommandLineOption large(u"large"_s, u"Add an image of 4000 x 100000 pixels."_s);
    const QCommandLineOption only(u"only"_s, u"Measure only the rows whose \"step/image\" matches."_s, u"pattern"_s);
    parser.addOptions({quick, large, only});
    parser.addHelpOption();
    parser.process(app);

    const SampleSet set = parser.isSet(quick) ? SampleSet::Quick
        : parser.isSet(large)                 ? SampleSet::Large
                                              : SampleSet::Usual;
    Table table(parser.value(only).toStdString());
    const QString folder = QCoreApplication::applicationDirPath() + "/samples"_L1;
    const QString pdfPath = home.path() + "/export.pdf"_L1;
    const std::vector<SampleFile> files = sampleFiles(set, folder);

    table.measure(startComparisons());
    if (table.wants("growth", {})) {
        // First, because memory freed by other steps would speed up only the smallest image.
        table.measure(growthComparisons(set == SampleSet::Quick ? 1500 : 12500, folder, pdfPath));
    }
    const auto shown = std::make_shared<ShownWindow>();
    for (const SampleFile &file : files) {
        measureImage(file, shown, pdfPath, table);
    }
    for (const SampleFile &file : files) {
        if (table.wants("peak memory", file.name)) {
            table.add(peakMemory(file, pdfPath));
        }
    }
    table.print();
    return table.isComplete() ? EXIT_SUCCESS : EXIT_FAILURE;
}
