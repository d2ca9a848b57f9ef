#pragma once

#include <QIcon>

#include <functional>

class QPainter;

/// The icons of the commands, drawn for the density of the screen. All but the
/// last are a pixel larger than the tool bar shows them, so that they have a true
/// center pixel; that of the update is 20 x 20.
[[nodiscard]] QIcon openIcon();
[[nodiscard]] QIcon exportPdfIcon();
[[nodiscard]] QIcon printIcon();
[[nodiscard]] QIcon helpIcon();
[[nodiscard]] QIcon decreaseMarginIcon();
[[nodiscard]] QIcon increaseMarginIcon();
[[nodiscard]] QIcon zoomInIcon();
[[nodiscard]] QIcon zoomOutIcon();
[[nodiscard]] QIcon twoColsIcon();
[[nodiscard]] QIcon autoTrimIcon();
[[nodiscard]] QIcon pageNumIcon();
[[nodiscard]] QIcon updateIcon();

/// Calls \a draw with a painter on \a pixmap, which has a pen of \a color, and
/// with the frame of the icon, \a margin pixels inside the pixmap; see iconFrame().
void drawCommandIcon(QPixmap &pixmap, const QColor &color, int margin,
                     const std::function<void(QPainter &, const QRect &)> &draw);
