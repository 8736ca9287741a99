#pragma once

#include <SliceData/platform/common/Export.h>

#include <vector>

class M2DSlice;

namespace M2DSliceUtilities {

class IVectorTypeFilterRange;

/// Deals the elements of a slice out to others, by the numbers that a range gives to their type records.
///
/// \param source  the slice to deal out; none of `out`
/// \param out     brought to as many slices as the range has numbers. Slices that are there already keep what they
///                have, copied where the list has to grow; surplus ones at the end are destroyed. Z areas are not
///                touched.
/// \param range   numbers the records
/// \param move    the elements themselves change slices, and `source` ends empty; otherwise copies do
/// \throws std::out_of_range if the range has no place for an element, `std::bad_alloc` or `std::length_error` if it
/// has
///         more numbers than there is memory for slices; nothing is changed then
VELSDK_EXPORT void Split(M2DSlice& source, std::vector<M2DSlice>& out, IVectorTypeFilterRange const& range, bool move);

}  // namespace M2DSliceUtilities
