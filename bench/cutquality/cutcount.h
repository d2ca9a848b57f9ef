#pragma once

#include "cutquality/kinds.h"

/// What a rule made of its cuts.
struct CutCount
{
    int shallow = 0; ///< through at most three rows of a piece, though a place within reach is free
    int deep = 0; ///< through more of it, likewise
};

/// The cuts of some pictures by three rules.
struct CutCounts
{
    int cuts = 0;
    int unavoidable = 0; ///< no place within reach goes past every piece
    CutCount regular;
    CutCount bright;
    CutCount calm;

    CutCounts &operator+=(const CutCounts &other);
};

/// Paints one picture of \a kind and cuts it into \a strips strips. With a
/// \a directory, the surroundings of each calm cut through content are saved there.
CutCounts countCuts(const PictureKind &kind, int width, int strips, quint32 seed, const QString &directory = {});
