#pragma once

#include <SliceData/slice_model/M2DSliceComponentUpdate.h>
#include <SliceData/slice_model/M2DSliceLayerComponent.h>
#include <SliceData/slice_model/M2DSlicePointLayer.h>

struct VELSDK_EXPORT M2DSlicePointsTraits {
  using Layer = M2DSlicePointLayer;
  using Element = M2DSlicePointBlock;
  using BaseInfoElement = M2DSliceBaseInfoPointBlock;
  using BaseInfo = M2DSliceBaseInfoPoints;
};

extern template class VELSDK_EXPORT M2DSliceLayerComponent<M2DSlicePointsTraits>;

/// The point blocks of a slice.
///
/// `GetBoundingBox` of a block that is not on disk gives the empty box; `GetBaseInfo` measures it.
class VELSDK_EXPORT M2DSliceComponentPoints final : public M2DSliceLayerComponent<M2DSlicePointsTraits> {
 public:
  using PointBlockOnDisk = ElementOnDisk;

  explicit M2DSliceComponentPoints(M2DSlice* slice);

  unsigned long GetNumPointBlocks() const { return _GetNumElements(); }
  unsigned long GetNumPoints(unsigned long block) const { return _GetNumItems(block); }
};

/// Write access to the points of a slice.
class M2DSliceComponentPointsUpdate : public M2DSliceComponentUpdate<M2DSlicePointLayer> {
 public:
  explicit M2DSliceComponentPointsUpdate(M2DSliceComponentPoints& component) : M2DSliceComponentUpdate(component) {
    component._InvalidateCachedData();
  }
};
