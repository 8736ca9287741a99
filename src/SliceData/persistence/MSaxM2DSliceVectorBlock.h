#pragma once

#include <SliceData/persistence/MSaxM2DSliceElement.h>
#include <SliceData/slice_model/M2DSliceVectorBlock.h>

extern template class VELSDK_EXPORT MSaxM2DSliceElement<MSaxElementInMemory<M2DSliceVectorBlock>>;

/// A vector block in memory as an element of a document.
class VELSDK_EXPORT MSaxM2DSliceVectorBlock final
    : public MSaxM2DSliceElement<MSaxElementInMemory<M2DSliceVectorBlock>> {
 public:
  /// `block` and the name, which may be null, outlive this.
  MSaxM2DSliceVectorBlock(M2DSliceVectorBlock* block, char const* stream_name)
      : MSaxM2DSliceElement({block}, stream_name) {}
};
