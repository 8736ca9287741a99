#pragma once

#include <SliceData/persistence/MSaxM2DSliceElement.h>
#include <SliceData/slice_model/M2DSlicePointBlock.h>

extern template class VELSDK_EXPORT MSaxM2DSliceElement<MSaxElementInMemory<M2DSlicePointBlock>>;

/// A point block in memory as an element of a document.
class VELSDK_EXPORT MSaxM2DSlicePointBlock final : public MSaxM2DSliceElement<MSaxElementInMemory<M2DSlicePointBlock>> {
 public:
  /// `block` and the name, which may be null, outlive this.
  MSaxM2DSlicePointBlock(M2DSlicePointBlock* block, char const* stream_name)
      : MSaxM2DSliceElement({block}, stream_name) {}
};
