#pragma once

#include <SliceData/geometry/TransformOptions.h>
#include <SliceData/geometry/iTransformation.h>
#include <SliceData/platform/common/Export.h>

class M2DSlice;
class M2DSliceContour;
class M2DSliceContourLayer;
class M2DSlicePointBlock;
class M2DSlicePointLayer;
class M2DSliceStack;
class M2DSliceVectorBlock;
class M2DSliceVectorLayer;

namespace M2DSliceUtilities {

/// Maps the geometry of the target in place. Every coordinate goes through the mapping as a double and is truncated
/// towards zero.
///
/// Without refinement each stored point is mapped once and everything else about it stays. With refinement a segment is
/// halved, in source coordinates, until it is shorter than `maxDeviation` or the image of its middle is closer than
/// that to the straight line between the images of its ends; the new points have z 0 and no info. If the mapping throws
/// then, the contour or block at hand keeps its old content.
///
/// Points are never refined. Layers and slices map each point of a block of n points n times over, truncating in
/// between; only the form for a single block maps it once. Callers depend on both.
///
/// Without refinement, the forms for slices and stacks do not load what is paged out: the mapping is kept and applied
/// when it is read. Two things follow: each point of a point block that is on disk is mapped once, of one in memory n
/// times; and extents (`GetXYArea`, `GetBaseInfo`, `GetBoundingBox`) of elements with a record on disk can stay those
/// from before until the record is written anew. `MapContent` maps each point once and leaves the extents right,
/// whatever is paged out.
///
/// The form for a slice maps border, vectors, points and areas in this order. It takes no lock, nor does the one for a
/// stack.
VELSDK_EXPORT void Transform(M2DSliceContour& contour, iTransformation const& mapping,
                             TransformOptions const& options = {});
VELSDK_EXPORT void Transform(M2DSliceVectorBlock& block, iTransformation const& mapping,
                             TransformOptions const& options = {});
VELSDK_EXPORT void Transform(M2DSlicePointBlock& block, iTransformation const& mapping,
                             TransformOptions const& options = {});
VELSDK_EXPORT void Transform(M2DSliceContourLayer& layer, iTransformation const& mapping,
                             TransformOptions const& options = {});
VELSDK_EXPORT void Transform(M2DSliceVectorLayer& layer, iTransformation const& mapping,
                             TransformOptions const& options = {});
VELSDK_EXPORT void Transform(M2DSlicePointLayer& layer, iTransformation const& mapping,
                             TransformOptions const& options = {});
VELSDK_EXPORT void Transform(M2DSlice& slice, iTransformation const& mapping, TransformOptions const& options = {});
VELSDK_EXPORT void Transform(M2DSliceStack& stack, iTransformation const& mapping,
                             TransformOptions const& options = {});

/// Moves the geometry of the target by (dx, dy), in internal units, in integers throughout.
///
/// Contours and vectors are shifted; points are placed *at* (dx, dy). Callers that build point patterns depend on this,
/// so it stays. The form for a slice leaves its area contours where they are.
VELSDK_EXPORT void Translate(M2DSliceContourLayer& layer, long dx, long dy);
VELSDK_EXPORT void Translate(M2DSliceVectorLayer& layer, long dx, long dy);
VELSDK_EXPORT void Translate(M2DSlicePointLayer& layer, long dx, long dy);
VELSDK_EXPORT void Translate(M2DSlice& slice, long dx, long dy);

}  // namespace M2DSliceUtilities
