#pragma once

#include "batch/batchoptions.h"

/// The images that \a options name: its operands and the list of names, with the
/// images of a folder in its place, in natural order. "-" stands for standard input.
/// Throws BatchError if a folder or the list cannot be read, or has no image, or if standard
/// input would be read twice.
[[nodiscard]] QStringList findImages(const BatchOptions &options);

/// Whether \a left comes before \a right if numbers in them count by their value and
/// case only where nothing else differs.
[[nodiscard]] bool isNaturallyBefore(const QString &left, const QString &right);
