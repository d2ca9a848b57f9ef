#pragma once

#include "cutquality/cutcount.h"

/// Whether the calm rule keeps what limits.cpp demands of it for \a kind.
/// Prints what it exceeds to standard error.
bool keepsLimits(const PictureKind &kind, const CutCounts &counts);

/// Likewise for the sum of all kinds.
bool keepsLimits(const CutCounts &sum);
