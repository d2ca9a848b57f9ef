#pragma once

#include <QImage>

class InputBytes;

/// A picture of at most 12000 pixels that \a input describes: its format, which may be
/// any, its size, its color table, and pixels that are arbitrary bits or look like lines
/// of text, gaps, photos and noise. Takes all of \a input.
[[nodiscard]] QImage pictureFrom(InputBytes &input);

/// Whether a premultiplied color of \a image exceeds its alpha.
[[nodiscard]] bool hasImpossibleColors(const QImage &image);
