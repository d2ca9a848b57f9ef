#pragma once

#include "comparison.h"
#include "samplefiles.h"

#include <QImage>

#include <memory>

class ShownWindow;

/// The data that all comparisons of one image share. They run one after the other,
/// in one window.
struct OpenImage
{
    SampleFile file;
    std::shared_ptr<ShownWindow> shown;
    QImage pixels; ///< as the window stores them
    QString pdfPath; ///< the target of exports
};

using OpenImagePtr = std::shared_ptr<const OpenImage>;

/// Opening the file, placing the cuts and trimming.
std::vector<Comparison> intakeComparisons(const OpenImagePtr &image);

/// Painting both views, completely and partly.
std::vector<Comparison> paintComparisons(const OpenImagePtr &image);

/// Dragging the middle cut.
std::vector<Comparison> dragComparisons(const OpenImagePtr &image);

/// The commands that change what a view shows.
std::vector<Comparison> commandComparisons(const OpenImagePtr &image);

/// Export in both layouts.
std::vector<Comparison> exportComparisons(const OpenImagePtr &image);

/// The long steps on images that are 2, 4 and 8 times as high as an image of
/// \a height rows, compared with that one. The images are in \a folder; exports are
/// written to \a pdfPath.
std::vector<Comparison> growthComparisons(int height, const QString &folder, const QString &pdfPath);

/// The start of the program, compared with that of an empty window and of one with
/// bars and a text; and its start on a network that does not answer.
std::vector<Comparison> startComparisons();

/// The peak memory of a process that opens \a file and exports it to \a pdfPath,
/// compared with the size of the decoded pixels.
Row peakMemory(const SampleFile &file, const QString &pdfPath);
