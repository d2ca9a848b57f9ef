#pragma once

#include <QList>

class PageItem;
class PreviewItem;
class QPixmap;

/// The items of a document, in order. The caller owns them; pages must not outlive
/// the strips that they show.
struct DocumentItems
{
    QList<PageItem *> strips;
    QList<PreviewItem *> oneColumnPages;
    QList<PreviewItem *> twoColumnPages;
};

/// Makes the strips of \a source at its regular cuts, and the output pages of
/// both layouts with margins of \a marginPercent percent. There is at least one
/// of each. \a source must be wider than 10 pixels.
[[nodiscard]] DocumentItems makeDocumentItems(const QPixmap &source, unsigned int marginPercent);
