#pragma once

#include <SliceData/slice_model/M2DSliceComponentUpdate.h>
#include <SliceData/slice_model/M2DSliceLayerComponent.h>
#include <SliceData/slice_model/M2DSliceVectorLayer.h>

struct VELSDK_EXPORT M2DSliceVectorsTraits {
  using Layer = M2DSliceVectorLayer;
  using Element = M2DSliceVectorBlock;
  using BaseInfoElement = M2DSliceBaseInfoVectorBlock;
  using BaseInfo = M2DSliceBaseInfoVectors;
};

extern template class VELSDK_EXPORT M2DSliceLayerComponent<M2DSliceVectorsTraits>;

/// The vector blocks of a slice.
class VELSDK_EXPORT M2DSliceComponentVectors final : public M2DSliceLayerComponent<M2DSliceVectorsTraits> {
 public:
  using VectorBlockOnDisk = ElementOnDisk;

  explicit M2DSliceComponentVectors(M2DSlice* slice);

  unsigned long GetNumVectorBlocks() const { return GetNumElements(); }
  unsigned long GetNumVectors(unsigned long block) const { return GetNumItems(block); }

  /// Reads a vector: in memory by its index, with `std::out_of_range` for one that is not there; on disk through a
  /// cursor, from vector 0 of a block upward, one after the other, with nobody else using a temp file between two
  /// calls.
  void GetVector(unsigned long block, unsigned long index, long& x1, long& y1, long& x2, long& y2) const;

  /// Lets the strategy prepare the component to be filled on disk. Always true: otherwise pushing fills memory.
  bool PrepareForPushingData();
  /// Begin a block, whose index is returned, and give it a vector: on disk if the disk state is valid, else in memory.
  unsigned long PushVectorBlock();
  void PushVector(long x1, long y1, long x2, long y2);
};

/// Write access to the vectors of a slice.
class M2DSliceComponentVectorsUpdate : public M2DSliceComponentUpdate<M2DSliceVectorLayer> {
 public:
  explicit M2DSliceComponentVectorsUpdate(M2DSliceComponentVectors& component) : M2DSliceComponentUpdate(component) {
    component._InvalidateCachedData();
  }
};
