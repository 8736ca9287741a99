#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/containers/M3dBorder.h>
#include <SliceData/platform/containers/M3dBorderContour.h>
#include <SliceData/platform/containers/M3dBorderPoint.h>

class M2DSlice;
class M2DSliceContourLayer;

/// Copies contours between slices and the general border type, in which other libraries exchange outlines.
///
/// What was in the target goes. The order of contours and points, coordinates in internal units, flags and user values
/// are copied. Type records and the info words of points are not: contours in a layer get its default type, points get
/// a null. If memory runs out, `std::bad_alloc` is thrown and the target holds what was copied so far.
namespace M2DSliceConversions {

/// The general border: contours that each have a pool of their own.
using Border = M3dBorder<long, void*, M3dBorderContour<long, void*, M3dBorderPoint<long, void*>>>;

VELSDK_EXPORT void Convert(M2DSliceContourLayer const& source, Border& target);
VELSDK_EXPORT void Convert(Border const& source, M2DSliceContourLayer& target);

/// Gives the border of a slice, brought into memory if it is not there.
VELSDK_EXPORT void QuerySlice(M2DSlice const& slice, Border& border);

/// Replaces the border of a slice.
VELSDK_EXPORT void SetSlice(M2DSlice& slice, Border const& border);
/// The same; `border` ends empty if `clear`.
VELSDK_EXPORT void SetSlice(M2DSlice& slice, Border& border, bool clear);

}  // namespace M2DSliceConversions
