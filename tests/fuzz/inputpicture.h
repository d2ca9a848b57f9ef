#pragma once

#include <QImage>

class InputBytes;

/// A picture of at most 12000 pixels that \a input describes: its format, which may be
/// any, its size, its color table, and pixels that are arbitrary bits or look like lines
/// of text, gaps, photos and noise. Takes all of \a input.
[[nodiscard]] QImage pictureFrom(InputBytes &input);

/// \a image without premultiplied colors that exceed their alpha: they are as high as it.
[[nodiscard]] QImage withPossibleColors(QImage image);
