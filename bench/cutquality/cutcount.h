#pragma once

#include "cutquality/kinds.h"
#include "pixels/calmrow.h"

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

/// The row of a cut, and how far it goes into content: 0 if it goes past every
/// piece, otherwise the rows to the nearer end of the piece hit worst.
struct PlacedRow
{
    int row = 0;
    int depth = 0;
};

/// A cut by the three rules.
struct PlacedCut
{
    CutPlace place;
    bool isAvoidable = false; ///< some place within reach goes past every piece
    PlacedRow regular;
    PlacedRow bright;
    PlacedRow calm;
};

/// The cuts of \a image, from top to bottom; its content are \a pieces.
QList<PlacedCut> cutsOf(const QImage &image, const QList<Piece> &pieces);

struct CutPicture
{
    QImage image;
    QList<PlacedCut> cuts;
};

/// Paints one picture of \a kind and cuts it into \a strips strips.
CutPicture cutPicture(const PictureKind &kind, int width, int strips, quint32 seed);

/// Paints one picture of \a kind and cuts it into \a strips strips. With a
/// \a directory, the surroundings of each calm cut through content are saved there.
CutCounts countCuts(const PictureKind &kind, int width, int strips, quint32 seed, const QString &directory = {});
