#include <SliceData/slice_model/M2DSliceVectorLayer.h>
#include <SliceData/type_operations/Polylines.h>

#include <algorithm>
#include <utility>

namespace M2DSliceUtilities {

namespace {

/// The block is left with its first piece. Returns the last one.
template <class IsGap>
M2DSliceVectorBlock& CutAtGaps(M2DSliceVectorLayer& layer, M2DSliceVectorBlock& block, IsGap is_gap) {
  auto const end = block.end();
  auto const end_of_piece = [&](auto start) {
    auto const before_gap = std::adjacent_find(start, end, is_gap);
    return before_gap == end ? end : before_gap + 1;
  };

  auto const first_cut = end_of_piece(block.begin());
  if (first_cut == end) return block;
  M2DSliceVectorBlock* last = &block;
  for (auto start = first_cut; start != end;) {
    auto const next = end_of_piece(start);
    auto piece = layer._CreateNewVectorBlock();
    piece->SetVectorTypeInfo(block.GetVectorTypeInfo());
    piece->assign(start, next);
    last = &layer.InsertAfter(last, std::move(piece));
    start = next;
  }
  block.erase(first_cut, end);
  block.shrink_to_fit();
  return *last;
}

}  // namespace

void SplitInPolylineVectorBlocks(M2DSliceVectorLayer& layer, OptionsPolylineToVectorBlocks const& options) {
  double const max_gap = static_cast<double>(options.maxGap);
  auto const is_gap = [limit = max_gap * max_gap](M2DSliceVector const& before, M2DSliceVector const& after) {
    double const dx = static_cast<double>(after.x1) - static_cast<double>(before.x2);
    double const dy = static_cast<double>(after.y1) - static_cast<double>(before.y2);
    return dx * dx + dy * dy > limit;
  };
  for (auto block = layer.begin(); block != layer.end(); ++block) {
    block = M2DSliceVectorLayer::iterator(&CutAtGaps(layer, *block, is_gap));
  }
}

}  // namespace M2DSliceUtilities
