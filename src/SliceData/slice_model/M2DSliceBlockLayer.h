#pragma once

#include <SliceData/platform/containers/MIntrusiveList.h>
#include <SliceData/slice_model/M2DSliceDefaultVectorTypeInfoHolder.h>

#include <memory>

/// What the vector layer and the point layer share: blocks in their order, owned by the layer.
template <class Block>
class M2DSliceBlockLayer : public M2DSliceDefaultVectorTypeInfoHolder, public MIntrusiveList<Block> {
 public:
  M2DSliceBlockLayer() = default;
  M2DSliceBlockLayer(M2DSliceBlockLayer const&) = delete;

  /// Replaces all blocks by copies of those of `source`. The default type record stays.
  M2DSliceBlockLayer& operator=(M2DSliceBlockLayer const& source) {
    if (this == &source) return *this;
    this->Clear();
    Add(source);
    return *this;
  }

  /// Appends copies of all blocks of `source`.
  void Add(M2DSliceBlockLayer const& source) {
    auto block = source.begin();
    for (unsigned long remaining = source.GetCount(); remaining != 0; --remaining)
      this->Append(_CreateNew()) = *block++;
  }

  /// With `move` true the blocks themselves change layers, without a copy, and `source` ends empty.
  void Add(M2DSliceBlockLayer& source, bool move) {
    if (move) {
      this->Splice(source);
    } else {
      Add(source);
    }
  }

 protected:
  ~M2DSliceBlockLayer() = default;

  std::unique_ptr<Block> _CreateNew() const {
    auto block = std::make_unique<Block>();
    block->SetVectorTypeInfo(this->GetDefaultVectorTypeInfo());
    return block;
  }
};
