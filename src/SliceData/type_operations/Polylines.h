#pragma once

#include <SliceData/platform/common/Export.h>

class M2DSliceVectorLayer;

namespace M2DSliceUtilities {

/// When consecutive vectors count as joined.
struct OptionsPolylineToVectorBlocks {
  long reserved = 0;  ///< not looked at
  long maxGap = 0;    ///< internal units; the largest distance from the end of a vector to the start of the next
};

/// Cuts the blocks of the layer at every gap, so that each becomes one polyline.
///
/// A block keeps its first piece; the others follow it as new blocks in the order of the vectors, each with a copy of
/// the block's whole record. No vector is turned round or moved to another place: a vector that starts elsewhere than
/// where the one before it ended begins a new piece, even if it ends there. Gaps are measured in doubles, so that
/// neighbouring coordinates beyond 2^53 may count as one; the sign of `maxGap` does not count.
///
/// Reads each vector once and copies those behind the first gap of their block once. Throws `std::bad_alloc` without
/// memory; the block at hand then still has all its vectors, and the pieces that were made of it stand behind it.
VELSDK_EXPORT void SplitInPolylineVectorBlocks(M2DSliceVectorLayer& layer,
                                               OptionsPolylineToVectorBlocks const& options);

}  // namespace M2DSliceUtilities
