#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/slice_model/M2DSliceBlockLayer.h>
#include <SliceData/slice_model/M2DSliceVectorBlock.h>

#include <memory>

/// The vector blocks of a slice, in their order.
class VELSDK_EXPORT M2DSliceVectorLayer : public M2DSliceBlockLayer<M2DSliceVectorBlock> {
 public:
  /// A block with a copy of the default type record, not yet linked into the layer.
  std::unique_ptr<M2DSliceVectorBlock> _CreateNewVectorBlock() const { return _CreateNew(); }
  /// Creates a block and links it at the tail.
  M2DSliceVectorBlock& AddVectorBlock() { return Append(_CreateNew()); }
};
