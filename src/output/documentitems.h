#pragma once

#include <QList>

#include <utility>

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

/// Deletes its items at its end, unless they are released.
class OwnedDocumentItems
{
public:
    explicit OwnedDocumentItems(DocumentItems made = {})
        : items(std::move(made))
    {
    }
    ~OwnedDocumentItems();
    OwnedDocumentItems(const OwnedDocumentItems &) = delete;
    OwnedDocumentItems &operator=(const OwnedDocumentItems &) = delete;

    DocumentItems *operator->() { return &items; }
    const DocumentItems *operator->() const { return &items; }

    /// The items, which the caller takes.
    DocumentItems release() { return std::exchange(items, {}); }

private:
    DocumentItems items;
};

/// Makes the strips of \a source at its regular cuts, and the output pages of
/// both layouts with margins of \a marginPercent percent. There is at least one
/// of each. \a source must be wider than 10 pixels. If memory runs out, no item
/// remains.
[[nodiscard]] DocumentItems makeDocumentItems(const QPixmap &source, unsigned int marginPercent);
