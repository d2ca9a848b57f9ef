#pragma once

#include <QImage>
#include <QWidget>

/// A picture in a color that no dialog uses itself.
[[nodiscard]] inline QImage redPicture()
{
    QImage image(40, 20, QImage::Format_RGB32);
    image.fill(Qt::red);
    return image;
}

/// Whether \a widget draws any pixel of redPicture().
[[nodiscard]] inline bool showsRed(QWidget &widget)
{
    const QImage shown = widget.grab().toImage();
    for (int y = 0; y < shown.height(); ++y) {
        for (int x = 0; x < shown.width(); ++x) {
            if (shown.pixelColor(x, y) == QColor(Qt::red)) {
                return true;
            }
        }
    }
    return false;
}
