#pragma once

#include <SliceData/geometry/TransformOptions.h>
#include <SliceData/geometry/iTransformation.h>
#include <SliceData/platform/common/Export.h>

class M2DSlice;
class M2DSliceStack;

namespace M2DSliceUtilities {

/// Maps all geometry, whatever is paged out: every point once, and the extents are right afterwards. `Transform` does
/// less work on slices that are paged out, but leaves their extents as they were and maps points of point blocks
/// several times over.
///
/// Coordinates go through the mapping as doubles and are truncated towards zero; `options` split segments as they do in
/// `Transform`. Heights stay. A slice that waits for its initial source is fetched, and lets go of the source.
///
/// A failure leaves the slice as it was: out of memory, a scratch file that cannot be written or read, a mapping that
/// throws. (If its initial source fails, the slice is empty from then on, as with any access.) For that, a slice is
/// mapped as a copy, which then takes the place of its content, unless it stands alone and the mapping is a matrix. So
/// take lists, elements and points anew.
VELSDK_EXPORT void MapContent(M2DSlice& slice, iTransformation const& mapping, TransformOptions const& options = {});

/// Maps the slices of a stack from index `num_mapped` on, and counts it up by one for each slice that is done. If it
/// throws, all slices below `num_mapped` are mapped and no other: the same call goes on where it stopped, as long as no
/// slice was added or removed.
///
/// ```cpp
/// unsigned long num_mapped = 0;
/// MapContent(stack, placement, num_mapped);  // again, with the same num_mapped, once the disk has room
/// ```
VELSDK_EXPORT void MapContent(M2DSliceStack& stack, iTransformation const& mapping, unsigned long& num_mapped,
                              TransformOptions const& options = {});

}  // namespace M2DSliceUtilities
