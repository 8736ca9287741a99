#pragma once

#include <SliceData/geometry/IContourStartingPointCalculator.h>
#include <SliceData/geometry/INextPointFunctor.h>
#include <SliceData/platform/common/Export.h>

#include <boost/shared_ptr.hpp>

class M2DSliceContour;
class M2DSliceContourLayer;
class M2DSliceVectorBlock;
class M2DSliceVectorLayer;

namespace M2DSliceUtilities {

/// The longest overlap either way, in internal units.
constexpr long kMaxContourOverlap = 20000;

/// How contours become vectors. One context serves one thread at a time.
struct ContextContoursToVectors {
  struct Options {
    long overlap = 0;                ///< see `AdjustVectorsForContourOverlap`; internal units
    bool mergeEqualTypes = true;     ///< consecutive contours of equal type share one block
    bool markInnerContours = false;  ///< blocks of contours that are not outer get the flag `IsInnerContour`
  };

  Options options;
  boost::shared_ptr<INextPointFunctor> nextPointFunctor;  ///< the way along closed contours; null: stored order
  boost::shared_ptr<IContourStartingPointCalculator> startPointCalculator;  ///< for whole layers; null: the first point
  M2DSliceContourPoint const* startPoint = nullptr;  ///< where single contours begin; null: at their first point
};

/// Appends the vectors of the contour to the block, which takes over the contour's type record: from point to point,
/// and for a closed contour back to the first. A contour without points leaves the block as it was, its type too.
///
/// \param contour  stays as it is
/// \param block    may hold vectors already, which stay
/// \param context  its `startPoint`, if any, is a point of this contour. Open contours run in stored order whatever it
///                 says; one that is begun in the middle runs on from its last point to its first.
VELSDK_EXPORT void ConvertContourToVectors(M2DSliceContour const& contour, M2DSliceVectorBlock& block,
                                           ContextContoursToVectors& context);
VELSDK_EXPORT void ConvertContourToVectors(M2DSliceContour const& contour, M2DSliceVectorBlock& block);

/// Appends the vectors of all contours, in blocks by type.
///
/// A block that is still empty after its contour (one without points, an open one of one point, one shortened to
/// nothing) does not stay in the layer; but it remains the block at hand. With `mergeEqualTypes`, the vectors of
/// contours of its type that follow directly go to this block and are lost with it at the end of the call. Remove such
/// contours first.
///
/// \param contours  stay as they are
/// \param vectors   may hold blocks already, which stay
/// \param context   its `startPoint` is set anew for each contour and keeps the last value. The calculator is asked for
///                  closed contours only, those without points too.
VELSDK_EXPORT void AddContoursToVectorLayer(M2DSliceContourLayer const& contours, M2DSliceVectorLayer& vectors,
                                            ContextContoursToVectors& context);
VELSDK_EXPORT void AddContoursToVectorLayer(M2DSliceContourLayer const& contours, M2DSliceVectorLayer& vectors);

/// Lengthens or shortens the run of vectors from `firstIndex` to the end of the block; only if the contour is closed.
///
/// \param contour     that the run was made from
/// \param block       ends with the run
/// \param firstIndex  of the run's first vector in the block
/// \param overlap     in internal units, limited to `kMaxContourOverlap` either way. Positive: the run repeats its
///                    beginning for this length, at most once as a whole. Negative: the run ends earlier by this
///                    length, or vanishes. The vector cut is truncated to integers.
VELSDK_EXPORT void AdjustVectorsForContourOverlap(M2DSliceContour const& contour, M2DSliceVectorBlock& block,
                                                  unsigned long firstIndex, long overlap);

/// Appends each chain of vectors, where one begins where the one before ends, as a contour of the block's type: closed
/// if it ends where it began, with that point once, otherwise open.
VELSDK_EXPORT void ConvertVectorsToContours(M2DSliceVectorBlock const& block, M2DSliceContourLayer& contours);
/// The same block by block; no chain goes on from one block to the next.
VELSDK_EXPORT void ConvertVectorsToContours(M2DSliceVectorLayer const& vectors, M2DSliceContourLayer& contours);

}  // namespace M2DSliceUtilities
