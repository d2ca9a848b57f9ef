#pragma once

#include <QImage>

/// Where a cut is wanted, and how far from there it may go. In source rows.
struct CutPlace
{
    int regular = 0; ///< the first row below the cut if it stays where it is
    int near = 0; ///< the cut is looked for so far above and below
    int far = 0; ///< and so far if there is no clear gap near
};

/// The place of the cut below a strip of \a stripHeight rows that ends at
/// \a regular: within 0.15 of the height, or 0.2 at most, which is as far as a
/// cut between two strips of that height can be dragged.
///
/// It depends on the regular heights alone, so that no cut moves because of
/// the cut above it, and no strip becomes lower than 0.6 of its height.
CutPlace cutPlace(double regular, double stripHeight);

/// Where a cut through a picture goes best.
struct CalmRow
{
    enum Ground {
        Clear, ///< a gap in plain ground: paper, a page, a bubble
        Busy, ///< a gap in ground with noise or a pattern, between busier rows
        Edge, ///< the edge of a picture, or of a part of the page
        Content, ///< none of these: the cut goes through content
    };

    int row = 0; ///< the first row below the cut, within reach of the regular one
    int gap = 0; ///< the rows of the gap that the cut halves, within the window
    Ground ground = Content;
};

/// The row of \a source in whose place a cut goes through nothing, or through
/// as little as possible.
///
/// Rows are compared by how much their pixels differ from those to the left,
/// near and a fiftieth of the width away, and from those above. No color and no
/// brightness plays a part in it: a gap is where rows change less than those
/// around it. The higher and the calmer, and the nearer to the regular place,
/// the better; the cut goes through its middle.
///
/// Rows that are exactly equal come first, even if they are few; then gaps in
/// plain ground and edges of pictures at the ends of gaps, near and then within the far
/// reach; then the nearest edge between two pictures, and the nearest seam, at which only a
/// part of the width changes; at last the best gap of any ground, or the calmest rows.
///
/// Equal pixels give an equal row in every format, and so does a picture that
/// is mirrored left to right, or has a constant added to all channels.
CalmRow calmRow(const QImage &source, const CutPlace &place);

/// How many rows above and below the reach can play a part, in an image of \a width
/// pixels. The cut stays the same if rows beyond them are missing; above, a multiple of
/// calmAlignment.
int calmContext(int width);
constexpr int calmAlignment = 4;
