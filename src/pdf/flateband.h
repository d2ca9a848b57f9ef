#pragma once

#include "pdf/packedband.h"

class SampleRows;

/// The colors of the rows of \a samples from \a first to before \a end, without loss.
[[nodiscard]] PackedImage packColors(const SampleRows &samples, int width, int first, int end);

/// The same for the alpha channel.
[[nodiscard]] PackedImage packAlpha(const SampleRows &samples, int width, int first, int end);
