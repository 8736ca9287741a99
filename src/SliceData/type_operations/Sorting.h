#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/type_operations/SortRules.h>
#include <SliceData/type_operations/VectorBlockCompare.h>

#include <boost/shared_ptr.hpp>
#include <map>

namespace M2DSliceUtilities {

/// Brings the contours of the layer into the order of the rule, which must not be null.
///
/// Contours without an `IndexScanPriority` get one first, by their place: the first of n gets n, the last 1. Others
/// keep theirs. The new priorities stay.
///
/// Of contours that the rule leaves tied, the first in the layer takes its place in the order; the others stay at the
/// front of the layer, as they stood, ahead of all that is sorted.
///
/// O(n log n). If the rule throws, the layer holds all its contours in their old order; priorities may have been given.
VELSDK_EXPORT void SortContours(M2DSliceContourLayer& layer, boost::shared_ptr<IContourCompare> compare);

/// Brings the vectors of the block, or of each block of the layer from first to last, into the order of the rule, which
/// must not be null. Vectors that the rule leaves tied keep their order; all vectors stay. If the rule throws, the
/// block at hand is as it was.
VELSDK_EXPORT void SortVectors(M2DSliceVectorBlock& block, boost::shared_ptr<IVectorCompare> compare);
VELSDK_EXPORT void SortVectors(M2DSliceVectorLayer& layer, boost::shared_ptr<IVectorCompare> compare);

/// Brings the blocks of the layer into the order of the rule, which must not be null.
///
/// Every block's `IndexScanPriority` is rewritten first, so that equal ones keep the order of the layer: the block that
/// is c-th from the end of n gets c if it had none, else n times the old one plus c. The new priorities stay, so each
/// further sort multiplies again; they wrap round without notice beyond the range of `long`.
///
/// Of blocks that the rule leaves tied, the first in the layer takes its place in the order; the others stay at the
/// front of the layer, as they stood, ahead of all that is sorted.
///
/// O(n log n); the built-in rules are asked once a block. If the rule throws, the layer holds all its blocks in their
/// old order; priorities may have been rewritten.
VELSDK_EXPORT void SortVectorBlocks(M2DSliceVectorLayer& layer, boost::shared_ptr<IVectorBlockCompare> compare);

/// The same by the built-in rules.
VELSDK_EXPORT void SortVectorBlocksOnScanPriority(M2DSliceVectorLayer& layer);
VELSDK_EXPORT void SortVectorBlocksInsideOut(M2DSliceVectorLayer& layer);
VELSDK_EXPORT void SortVectorBlocksLeftToRight(M2DSliceVectorLayer& layer);
VELSDK_EXPORT void SortVectorBlocksLaserMelting(M2DSliceVectorLayer& layer);
VELSDK_EXPORT void SortVectorBlocksInsstekCFC(M2DSliceVectorLayer& layer);
VELSDK_EXPORT void SortVectorBlocksInputBased(M2DSliceVectorLayer& layer,
                                              std::map<M2DSliceVectorTypeInfo, long> const& priorities);

}  // namespace M2DSliceUtilities
