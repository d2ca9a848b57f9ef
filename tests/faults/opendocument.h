#pragma once

#include "app/mainwindow.h"
#include "page/pageitem.h"
#include "support/documents.h"

inline constexpr QSize pictureSize(140, 900);

/// A window with a document of five strips, and what it shows.
struct OpenDocument
{
    OpenDocument()
    {
        window.setAutoPage(false);
        path = savedPicture(picture, QStringLiteral("open.png"));
        window.loadImageFile(path);
        strips = stripsOf(window);
    }

    /// Empty if the strips are the same and show what they showed.
    QString change() const
    {
        if (stripsOf(window) != strips) {
            return QStringLiteral("other strips");
        }
        return firstDifference(shownPicture(window, pictureSize), picture);
    }

    const QImage picture = blockPicture(pictureSize.width(), pictureSize.height());
    QString path;
    MainWindow window;
    QList<PageItem *> strips;
};
