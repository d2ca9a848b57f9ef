#pragma once

#include "cutquality/longpicture.h"

// What becomes of a painted picture on its way to a file.

QImage asRgb(const LongPicture &page);
QImage asArgb(const LongPicture &page);
QImage asPalette(const LongPicture &page);
QImage asMono(const LongPicture &page);
QImage asGray(const LongPicture &page);
QImage asJpeg(const LongPicture &page); ///< of quality 40

/// Gray, with the noise of paper and with dust.
QImage asScan(const LongPicture &page);
QImage asNoisyScan(const LongPicture &page);

/// A scan of an open book: blurred, with a dark fold at one side.
QImage asBookScan(const LongPicture &page);

/// Black and white with ragged edges, specks and streaks.
QImage asFax(const LongPicture &page);

/// Uneven light, and the noise of a small camera.
QImage asCameraPicture(const LongPicture &page);
