#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/slice_model/M2DSliceBlockLayer.h>
#include <SliceData/slice_model/M2DSlicePointBlock.h>

#include <memory>

/// The point blocks of a slice, in their order.
class VELSDK_EXPORT M2DSlicePointLayer : public M2DSliceBlockLayer<M2DSlicePointBlock> {
 public:
  /// A block with a copy of the default type record, not yet linked into the layer.
  std::unique_ptr<M2DSlicePointBlock> _CreateNewPointBlock() const { return _CreateNew(); }
  /// Creates a block and links it at the tail.
  M2DSlicePointBlock& AddPointBlock() { return Append(_CreateNew()); }
};
