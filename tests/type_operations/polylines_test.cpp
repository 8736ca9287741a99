#include <SliceData/type_operations/Polylines.h>

#include <cmath>
#include <limits>
#include <string>

#include "support/RandomSlices.h"

namespace {

using namespace testing_support;
using namespace M2DSliceUtilities;
using ::testing::ElementsAre;

OptionsPolylineToVectorBlocks UpTo(long max_gap) {
  OptionsPolylineToVectorBlocks options;
  options.maxGap = max_gap;
  return options;
}

std::vector<std::size_t> Sizes(M2DSliceVectorLayer const& layer) {
  std::vector<std::size_t> sizes;
  for (auto const& block : layer) sizes.push_back(block.size());
  return sizes;
}

TEST(Polylines, BlocksAreCutAtTheirGapsAndThePiecesFollowThem) {
  M2DSliceVectorLayer layer;
  AddVectors(layer, {});
  // Cuts at 2 and 5, the second by a vector that ends where the one before it ended.
  M2DSliceVectorBlock& cut = AddVectors(
      layer, {{0, 1, 0, 0}, {1, 2, 0, 0}, {9, 8, 9, 9}, {8, 7, 9, 9}, {7, 6, 9, 9}, {5, 6, 9, 9}, {6, 5, 9, 9}});
  cut.GetVectorTypeInfo().SetType(e2DSliceVectorType::HatchingUp);
  cut.GetVectorTypeInfo().SetIndex(e2DSliceVectorTypeIndex::IndexScanPriority, 4);
  cut.GetVectorTypeInfo().SetNumber("Power", 200);
  M2DSliceVectorBlock const& chain = AddVectors(layer, {{0, 1, 0, 0}, {1, 2, 0, 0}, {2, 0, 0, 0}});
  AddVectors(layer, {{0, 1, 0, 0}, {5, 6, 0, 0}});
  M2DSliceVector const* const storage_of_chain = chain.data();

  SplitInPolylineVectorBlocks(layer, UpTo(0));
  EXPECT_THAT(Sizes(layer), ElementsAre(0, 2, 3, 2, 3, 1, 1));
  EXPECT_EQ(layer.GetCount(), 7u);
  EXPECT_EQ(layer.GetLast()->front().x1, 5);
  EXPECT_EQ(layer.GetLast()->GetNext(), nullptr);
  EXPECT_EQ(layer.GetLast()->GetPrevious()->front().x1, 0);
  EXPECT_EQ(chain.data(), storage_of_chain);
  EXPECT_EQ(cut.capacity(), 2u) << "gives back what it no longer needs";
  M2DSliceVectorBlock const& last_piece = *cut.GetNext()->GetNext();
  EXPECT_EQ(TextOf(last_piece), "HatchingUp IndexScanPriority=4 Power=200 |  5,9>6,9 6,9>5,9");
}

TEST(Polylines, AGapOfExactlyTheLimitJoins) {
  auto const pieces = [](M2DSliceVector const& a, M2DSliceVector const& b, long max_gap) {
    M2DSliceVectorLayer layer;
    AddVectors(layer, {a, b});
    SplitInPolylineVectorBlocks(layer, UpTo(max_gap));
    return layer.GetCount();
  };
  EXPECT_EQ(pieces({0, 0, 0, 0}, {6, 9, -8, 9}, 10), 1u);
  EXPECT_EQ(pieces({0, 0, 0, 0}, {6, 9, -8, 9}, 9), 2u);
  constexpr long kFarthest = std::numeric_limits<long>::max();
  EXPECT_EQ(pieces({0, kFarthest, 0, 0}, {-kFarthest, 0, 0, 0}, kFarthest), 2u) << "twice as far as a long can tell";
  constexpr long kBeyondDoubles = 1L << 53;
  EXPECT_EQ(pieces({0, kBeyondDoubles, 0, 0}, {kBeyondDoubles + 1, 0, 0, 0}, 0), 1u) << "equal as doubles";
}

TEST(Polylines, PiecesPutTogetherAreTheBlocksAndNoneHasAGap) {
  auto const gap = [](M2DSliceVector const& before, M2DSliceVector const& after) {
    return std::hypot(after.x1 - before.x2, after.y1 - before.y2);
  };
  for (unsigned seed = 1; seed <= 50; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Random random(seed);
    long const max_gap = Draw(random, 0, 60);
    M2DSliceVectorLayer layer;
    FillRandomly(layer, random, Draw(random, 0, 12));
    for (auto& block : layer)
      block.GetVectorTypeInfo().SetNumber("Name", static_cast<double>(Draw(random, 0, 1000000)));
    auto const before = TextsOf(layer);
    SplitInPolylineVectorBlocks(layer, UpTo(max_gap));

    std::vector<std::string> together;
    M2DSliceVectorBlock const* previous = nullptr;
    for (auto const& piece : layer) {
      for (std::size_t i = 1; i < piece.size(); ++i) ASSERT_LE(gap(piece[i - 1], piece[i]), max_gap);
      if (previous != nullptr && TextOf(previous->GetVectorTypeInfo()) == TextOf(piece.GetVectorTypeInfo())) {
        ASSERT_GT(gap(previous->back(), piece.front()), max_gap);
        together.back() += GeometryOf(piece);
      } else {
        together.push_back(TextOf(piece));
      }
      previous = &piece;
    }
    EXPECT_EQ(together, before);
  }
}

}  // namespace
