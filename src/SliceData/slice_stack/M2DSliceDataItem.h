#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/slice_model/M2DSliceContour.h>
#include <SliceData/slice_model/M2DSlicePointBlock.h>
#include <SliceData/slice_model/M2DSliceVectorBlock.h>

#include <type_traits>

/// What an item of a slice's flat list refers to.
enum class e2DSliceDataItemKind : int { Empty = 0, Contour = 1, VectorBlock = 2, PointBlock = 3 };

/// A reference to one contour, vector block or point block of a slice, not owned. `Const` makes it a read-only one.
template <bool Const>
class M2DSliceDataItemBase {
  template <class T>
  using Qualified = std::conditional_t<Const, T const, T>;

 public:
  /// Back to the empty state of a new item.
  void Reset() { _Set(nullptr, e2DSliceDataItemKind::Empty); }
  void SetContour(Qualified<M2DSliceContour>* contour) { _Set(contour, e2DSliceDataItemKind::Contour); }
  void SetVectorBlock(Qualified<M2DSliceVectorBlock>* block) { _Set(block, e2DSliceDataItemKind::VectorBlock); }
  void SetPointBlock(Qualified<M2DSlicePointBlock>* block) { _Set(block, e2DSliceDataItemKind::PointBlock); }

  e2DSliceDataItemKind GetKind() const { return m_kind; }

  /// The block, or null if the item is empty or of another kind.
  Qualified<M2DSliceContour>* GetContour() const { return _Get<M2DSliceContour>(); }
  Qualified<M2DSliceVectorBlock>* GetVectorBlock() const { return _Get<M2DSliceVectorBlock>(); }
  Qualified<M2DSlicePointBlock>* GetPointBlock() const { return _Get<M2DSlicePointBlock>(); }

  /// The type record of the block, whatever its kind; null for an empty item.
  Qualified<M2DSliceVectorTypeInfo>* GetVectorTypeInfo() const {
    auto* const holder = _Get<M2DSliceVectorTypeInfoHolder>();
    return holder != nullptr ? &holder->GetVectorTypeInfo() : nullptr;
  }

 private:
  void _Set(Qualified<I2DSliceDataBlock>* block, e2DSliceDataItemKind kind) {
    m_block = block;
    m_kind = kind;
  }

  template <class T>
  Qualified<T>* _Get() const {
    return dynamic_cast<Qualified<T>*>(m_block);
  }

  Qualified<I2DSliceDataBlock>* m_block = nullptr;
  e2DSliceDataItemKind m_kind = e2DSliceDataItemKind::Empty;
};

using M2DSliceDataItem = M2DSliceDataItemBase<false>;
using M2DSliceConstDataItem = M2DSliceDataItemBase<true>;
