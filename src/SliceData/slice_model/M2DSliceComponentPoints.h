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

  unsigned long GetNumPointBlocks() const { return GetNumElements(); }
  unsigned long GetNumPoints(unsigned long block) const { return GetNumItems(block); }

  /// Reads a point: in memory by its index, unchecked; on disk through a cursor, from point 0 of a block upward, one
  /// after the other, with nobody else using a temp file between two calls.
  void GetPoint(unsigned long block, unsigned long index, long& x, long& y) const;

  /// Lets the strategy prepare the component to be filled on disk. Always true: otherwise pushing fills memory.
  bool PrepareForPushingData();
  /// Begin a block, whose index is returned, and give it a point: on disk if the disk state is valid, else in memory.
  unsigned long PushPointBlock();
  void PushPoint(long x, long y);
};

/// Write access to the points of a slice.
class M2DSliceComponentPointsUpdate : public M2DSliceComponentUpdate<M2DSlicePointLayer> {
 public:
  explicit M2DSliceComponentPointsUpdate(M2DSliceComponentPoints& component) : M2DSliceComponentUpdate(component) {
    component._InvalidateCachedData();
  }
};
