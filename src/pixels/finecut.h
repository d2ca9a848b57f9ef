#pragma once

#include "pixels/calmrow.h"
#include "pixels/channelrows.h"
#include "pixels/rowprofile.h"

/// \a cut, or a better one a few rows away: in the gap beyond the line that frames a
/// picture, or at the end of a narrow gap where less goes on from row to row.
/// \a profile is that of the rows of \a source around \a place.
CalmRow fineCut(const ChannelRows &source, const RowProfile &profile, const CalmRow &cut, const CutPlace &place);
