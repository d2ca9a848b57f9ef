#pragma once

#include "page/pageitem.h"
#include "support/pictures.h"
#include "support/plainchain.h"

#include <QGraphicsScene>

/// A chain of strips in a separate scene, with `minAspect` reset.
struct StripDocument
{
    StripDocument(const QPixmap &pixmap, const QList<QRectF> &bands)
        : source(pixmap)
    {
        resetMinAspect();
        strips = addChain(scene, source, bands);
    }

    /// \a count strips of \a size that show one dark color.
    StripDocument(int count, QSize size)
        : StripDocument(keptPixmap(plainPicture(size.width(), count * size.height(), Qt::darkCyan)),
                        equalBands(count, size.width(), size.height()))
    {
    }

    PageItem *upper() const { return strips.at(0); }
    PageItem *lower() const { return strips.at(1); }
    PageItem *last() const { return strips.last(); }

    /// The cut between the first two strips, in source pixels.
    double cut() const { return upper()->sourceRect().bottom(); }

    QGraphicsScene scene;
    QPixmap source;
    QList<PageItem *> strips;
};
