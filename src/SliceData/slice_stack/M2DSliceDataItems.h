#pragma once

#include <SliceData/slice_stack/M2DSliceDataItem.h>

#include <boost/shared_ptr.hpp>
#include <type_traits>
#include <vector>

class M2DSlice;

/// The contours, vector blocks and point blocks of slices as a flat list, with shares of the slices, so that the blocks
/// live as long as the list.
template <bool Const>
struct M2DSliceDataItemsBase {
  std::vector<M2DSliceDataItemBase<Const>> items;
  std::vector<boost::shared_ptr<std::conditional_t<Const, M2DSlice const, M2DSlice>>> slices;

  M2DSliceDataItemsBase() = default;
  M2DSliceDataItemsBase(M2DSliceDataItemsBase const&) = default;
  M2DSliceDataItemsBase& operator=(M2DSliceDataItemsBase const&) = default;
  ~M2DSliceDataItemsBase() { Clear(); }

  /// Empties the list, then releases the slices from the back.
  void Clear() {
    items.clear();
    while (!slices.empty()) slices.pop_back();
  }
};

/// With writable items.
class M2DSliceDataItems : public M2DSliceDataItemsBase<false> {};
/// With read-only items.
class M2DSliceConstDataItems : public M2DSliceDataItemsBase<true> {};
