#pragma once

#include "app/mainwindow.h"
#include "page/pageitem.h"
#include "support/imagecomparison.h"
#include "support/pictures.h"
#include "support/windowprobe.h"

inline constexpr QSize pictureSize(140, 900);

/// A window with a document of five strips, and its contents when it was opened.
struct OpenDocument
{
    OpenDocument()
    {
        window.setAutoPage(false);
        path = savedPicture(picture, QStringLiteral("open.png"));
        window.loadImageFile(path);
        strips = stripsOf(window);
    }

    /// How the document has changed; empty if the strips and their contents are the
    /// same.
    [[nodiscard]] QString change() const
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
