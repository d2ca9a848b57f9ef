#include "shownwindow.h"
#include "steps.h"

namespace {

OpenImagePtr openRepeated(int times, int height, const QString &folder, const QString &pdfPath)
{
    SampleFile file;
    file.name = std::to_string(times) + " x";
    file.path = repeatedChat(times, height, folder);
    auto shown = std::make_shared<ShownWindow>();
    shown->open(file.path);
    return std::make_shared<OpenImage>(OpenImage{file, shown, windowPixels(file.path), pdfPath});
}

std::vector<Comparison> longSteps(const OpenImagePtr &image)
{
    std::vector<Comparison> steps = intakeComparisons(image);
    steps.push_back(exportComparisons(image).front());
    return steps;
}

} // namespace

std::vector<Comparison> growthComparisons(int height, const QString &folder, const QString &pdfPath)
{
    const std::vector<Comparison> once = longSteps(openRepeated(1, height, folder, pdfPath));
    std::vector<Comparison> growth;
    for (const int times : {2, 4, 8}) {
        const std::vector<Comparison> more = longSteps(openRepeated(times, height, folder, pdfPath));
        for (size_t i = 0; i < more.size(); ++i) {
            Comparison comparison = more[i];
            comparison.step.insert(0, "growth: ");
            comparison.target = 1.1;
            comparison.floor = once[i].program;
            comparison.floorFactor = times;
            growth.push_back(comparison);
        }
    }
    return growth;
}
