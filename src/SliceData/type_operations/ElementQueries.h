#pragma once

#include <SliceData/platform/common/Export.h>

#include <vector>

class M2DSliceContour;
class M2DSliceContourLayer;
class M2DSlicePointBlock;
class M2DSlicePointLayer;
class M2DSliceVectorBlock;
class M2DSliceVectorLayer;

namespace M2DSliceUtilities {

class IVectorTypeFilterObject;

/// The elements of a layer whose type record matches the filter, in the order of the layer. What `found` held before is
/// gone.
VELSDK_EXPORT void QueryContours(M2DSliceContourLayer& layer, std::vector<M2DSliceContour*>& found,
                                 IVectorTypeFilterObject const& filter);
VELSDK_EXPORT void QueryContours(M2DSliceContourLayer const& layer, std::vector<M2DSliceContour const*>& found,
                                 IVectorTypeFilterObject const& filter);
VELSDK_EXPORT void QueryVectorBlocks(M2DSliceVectorLayer& layer, std::vector<M2DSliceVectorBlock*>& found,
                                     IVectorTypeFilterObject const& filter);
VELSDK_EXPORT void QueryVectorBlocks(M2DSliceVectorLayer const& layer, std::vector<M2DSliceVectorBlock const*>& found,
                                     IVectorTypeFilterObject const& filter);
VELSDK_EXPORT void QueryPointBlocks(M2DSlicePointLayer& layer, std::vector<M2DSlicePointBlock*>& found,
                                    IVectorTypeFilterObject const& filter);
VELSDK_EXPORT void QueryPointBlocks(M2DSlicePointLayer const& layer, std::vector<M2DSlicePointBlock const*>& found,
                                    IVectorTypeFilterObject const& filter);

/// Take elements out of a layer, in the order of the list. With a `target` they are appended to it, and the list keeps
/// them; with null they are deleted, and their places in the list become null.
///
/// An element of the list that is not in `source` must be in no other layer either; it goes the same way. One that
/// stands in the list again is moved to the end of `source` again if that is the target, and otherwise passed over, as
/// null is. Takes time in the sum of both lengths. Throws `std::bad_alloc` without memory, before anything is changed.
VELSDK_EXPORT void RemoveContours(M2DSliceContourLayer& source, std::vector<M2DSliceContour*>& contours,
                                  M2DSliceContourLayer* target);
VELSDK_EXPORT void RemoveVectorBlocks(M2DSliceVectorLayer& source, std::vector<M2DSliceVectorBlock*>& blocks,
                                      M2DSliceVectorLayer* target);
VELSDK_EXPORT void RemovePointBlocks(M2DSlicePointLayer& source, std::vector<M2DSlicePointBlock*>& blocks,
                                     M2DSlicePointLayer* target);

}  // namespace M2DSliceUtilities
