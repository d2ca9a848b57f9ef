#pragma once

#include "comparison.h"
#include "samplefiles.h"

#include <QImage>

#include <memory>

class ShownWindow;

/// What the comparisons of one image share. They run one after the other, on
/// one window.
struct OpenImage
{
    SampleFile file;
    std::shared_ptr<ShownWindow> shown;
    QImage pixels; ///< as the window holds them
    QString pdfPath; ///< where exports go
};

using OpenImagePtr = std::shared_ptr<const OpenImage>;

/// Opening the file, placing the cuts and trimming.
std::vector<Comparison> intakeComparisons(const OpenImagePtr &image);

/// Painting both views, in whole and in part.
std::vector<Comparison> paintComparisons(const OpenImagePtr &image);

/// Dragging the middle cut.
std::vector<Comparison> dragComparisons(const OpenImagePtr &image);

/// The commands that change what a view shows.
std::vector<Comparison> commandComparisons(const OpenImagePtr &image);

/// Export in both layouts.
std::vector<Comparison> exportComparisons(const OpenImagePtr &image);

/// The long steps on images that are 2, 4 and 8 times as high as one of
/// \a height rows, next to that. The images come from \a folder, the exports go
/// to \a pdfPath.
std::vector<Comparison> growthComparisons(int height, const QString &folder, const QString &pdfPath);

/// The start of the program next to that of an empty window, of one with bars
/// and a text, and of itself on a network that does not answer.
std::vector<Comparison> startComparisons();

/// The peak memory of a process that opens \a file and exports it to
/// \a pdfPath, next to the size of the decoded pixels.
Row peakMemory(const SampleFile &file, const QString &pdfPath);
