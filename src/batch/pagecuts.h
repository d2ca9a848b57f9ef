#pragma once

#include "batch/picturerows.h"
#include "batch/sheetlayout.h"
#include "page/cutrule.h"

#include <QImage>

#include <optional>

/// Where a picture is cut, in source rows.
struct PlacedCuts
{
    QList<int> rows; ///< the first rows below the cuts, rising
    std::optional<QList<int>> through; ///< those of them that go through content; for calm cuts only
};

/// Cuts \a picture into strips of at most \a capacity rows, each as high as possible:
/// it ends in the last good gap of its lowest part by \a rule, or where it is full if
/// there is none.
[[nodiscard]] PlacedCuts cutsForFlow(const PictureRows &picture, int capacity, std::optional<CutRule> rule);

/// The cuts of a picture in the window, and its pages there.
struct WindowCuts
{
    PlacedCuts cuts;
    WindowPages pages;
};

/// What the window makes of \a image with margins of \a marginPercent percent. Without
/// \a rule the cuts stay at their regular places. The proportions of strips are global
/// to the process, so no window may be open.
[[nodiscard]] WindowCuts cutsOfWindow(const QImage &image, int marginPercent, std::optional<CutRule> rule);
