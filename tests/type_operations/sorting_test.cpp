#include <SliceData/type_operations/Sorting.h>

#include <algorithm>
#include <boost/make_shared.hpp>
#include <functional>
#include <limits>
#include <set>
#include <stdexcept>

#include "support/RandomSlices.h"

namespace {

using namespace testing_support;
using namespace M2DSliceUtilities;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

using Type = e2DSliceVectorType;
using Priorities = VectorBlockCompareInputBased::Priorities;

constexpr e2DSliceVectorTypeIndex kScanPriority = e2DSliceVectorTypeIndex::IndexScanPriority;

/// A host's rule: the lower rank first, and nothing where ranks are equal.
template <class Interface, class Target, class Argument>
struct RankRule final : Interface {
  explicit RankRule(std::function<long(Argument)> rank_of) : rank(std::move(rank_of)) {}
  void Prepare(Target&) override { ++prepared; }
  int Compare(Argument a, Argument b) const override {
    long const difference = rank(a) - rank(b);
    return difference < 0 ? -1 : difference > 0 ? 1 : 0;
  }
  std::function<long(Argument)> rank;
  int prepared = 0;
};
using ContourRule = RankRule<IContourCompare, M2DSliceContourLayer, M2DSliceContour const*>;
using VectorRule = RankRule<IVectorCompare, M2DSliceVectorBlock, M2DSliceVector const&>;
using BlockRule = RankRule<IVectorBlockCompare, M2DSliceVectorLayer, M2DSliceVectorBlock const*>;

/// A block that is known by the x at which it starts.
M2DSliceVectorBlock& AddBlock(M2DSliceVectorLayer& layer, long x, M2DSliceVectorTypeInfo const& info = {}) {
  M2DSliceVectorBlock& block = AddVectors(layer, {{x, x + 5, 0, 0}});
  block.SetVectorTypeInfo(info);
  return block;
}

std::vector<long> Starts(M2DSliceVectorLayer const& layer) {
  std::vector<long> starts;
  for (auto const& block : layer) starts.push_back(block.front().x1);
  return starts;
}

/// Gives the elements of the layer their new scan priorities and tells the order that they are to end up in: those that
/// an ordered set drops, then the set.
template <class Layer, class Compare>
std::vector<std::string> OrderOfSet(Layer& layer, Compare const& compare, bool multiply) {
  using Element = std::remove_reference_t<decltype(*layer.begin())>;
  auto const goes_before = [&](Element const* a, Element const* b) { return compare.Compare(a, b) == -1; };
  std::set<Element const*, decltype(goes_before)> sorted(goes_before);
  std::vector<std::string> order;
  long const count = static_cast<long>(layer.GetCount());
  long place = count;
  for (Element& element : layer) {
    long const old = element.GetVectorTypeInfo().GetIndex(kScanPriority);
    element.GetVectorTypeInfo().SetIndex(kScanPriority, old == -1 ? place : multiply ? count * old + place : old);
    --place;
    if (!sorted.insert(&element).second) order.push_back(TextOf(element));
  }
  for (Element const* element : sorted) order.push_back(TextOf(*element));
  return order;
}

/// Random layers, each sorted twice.
template <class Layer, class Compare>
void ExpectOrderOfSet(void (*sort)(Layer&, boost::shared_ptr<Compare>), boost::shared_ptr<Compare> compare,
                      bool multiply) {
  Compare const& rule = *compare;
  SCOPED_TRACE(typeid(rule).name());
  for (unsigned seed = 1; seed <= 40; ++seed) {
    Random random(seed);
    Layer layer;
    FillRandomly(layer, random, Draw(random, 0, 30));
    for (auto& element : layer) {
      if (Draw(random, 0, 1)) element.GetVectorTypeInfo().SetIndex(kScanPriority, Draw(random, -3, 2));
      if (Draw(random, 0, 9) == 0) element.GetVectorTypeInfo().SetType("Recoating");
    }
    for (int round = 0; round < 2; ++round) {
      Layer model;
      model.Add(layer);
      compare->Prepare(model);
      auto const expected = OrderOfSet(model, *compare, multiply);
      sort(layer, compare);
      ASSERT_THAT(TextsOf(layer), ElementsAreArray(expected)) << "seed " << seed << ", round " << round;
      ASSERT_EQ(layer.GetCount(), expected.size());
      ASSERT_TRUE(layer.IsEmpty() || layer.GetLast()->GetNext() == nullptr);
    }
  }
}

TEST(Sorting, EverySortGivesTheOrderOfASetWithDroppedTiesInFront) {
  Priorities const priorities = {{Type::Hatching, 2}, {Type::Border, -3}, {Type::BorderUp, 2}};
  auto const input_based = boost::make_shared<VectorBlockCompareInputBased>();
  input_based->SetInputPriorities(priorities);
  std::vector<boost::shared_ptr<IVectorBlockCompare>> const rules = {
      boost::make_shared<VectorBlockCompareScanPriority>(),
      boost::make_shared<VectorBlockCompareInsideOut>(),
      boost::make_shared<VectorBlockCompareLeftToRight>(),
      boost::make_shared<VectorBlockCompareLaserMelting>(),
      boost::make_shared<VectorBlockCompareInsstekCFC>(),
      input_based,
      boost::make_shared<BlockRule>([](auto const* block) { return static_cast<long>(block->size() % 2); })};
  for (auto const& rule : rules) ExpectOrderOfSet(SortVectorBlocks, rule, true);
  boost::shared_ptr<IContourCompare> const by_points = boost::make_shared<ContourRule>(
      [](auto const* contour) { return static_cast<long>(contour->GetNumPoints() % 2); });
  ExpectOrderOfSet(SortContours, by_points, false);
}

TEST(Sorting, OldPrioritiesAreMultipliedAndWrapRound) {
  auto const sort = [](std::vector<long> const& old) {
    M2DSliceVectorLayer layer;
    for (long const priority : old) AddBlock(layer, 0).GetVectorTypeInfo().SetIndex(kScanPriority, priority);
    SortVectorBlocksOnScanPriority(layer);
    std::vector<long> priorities;
    for (auto const& block : layer) priorities.push_back(block.GetVectorTypeInfo().GetIndex(kScanPriority));
    return priorities;
  };
  EXPECT_THAT(sort({-1, -1, -1}), ElementsAre(3, 2, 1));
  EXPECT_THAT(sort({1, 2}), ElementsAre(5, 4));
  EXPECT_THAT(sort({std::numeric_limits<long>::max(), std::numeric_limits<long>::min()}), ElementsAre(1, 0));
}

TEST(Sorting, TheTablesOrderTheTypesAndARuntimeTypeRanksZero) {
  auto const order = [](void (*sort)(M2DSliceVectorLayer&)) {
    M2DSliceVectorLayer layer;
    AddBlock(layer, 12).GetVectorTypeInfo().SetType("Recoating");
    for (long type = 0; type < 12; ++type) AddBlock(layer, type, static_cast<Type>(type));
    sort(layer);
    return Starts(layer);
  };
  EXPECT_THAT(order(SortVectorBlocksInsideOut), ElementsAre(6, 9, 7, 10, 8, 11, 5, 4, 3, 2, 1, 12, 0));
  EXPECT_THAT(order(SortVectorBlocksLaserMelting), ElementsAre(4, 5, 1, 2, 3, 6, 7, 8, 9, 0, 12, 10, 11));
  EXPECT_THAT(order(SortVectorBlocksInsstekCFC), ElementsAre(1, 6, 4, 12, 0, 2, 3, 5, 7, 8, 9, 10, 11));
}

TEST(Sorting, LeftToRightLeavesTheSecondOfAPairInFrontAndPutsEmptyBlocksLast) {
  M2DSliceVectorLayer layer;
  layer.AddVectorBlock();
  AddVectors(layer, {{10, 90, 0, 0}});
  AddVectors(layer, {{70, 5, 0, 0}});
  AddVectors(layer, {{50, 60, 0, 0}, {11, 10, 0, 0}});
  AddVectors(layer, {{3'000'000'000, 3'000'000'001, 0, 0}});  // as far as an empty one
  SortVectorBlocksLeftToRight(layer);
  EXPECT_TRUE(layer.Unlink(layer.GetLast())->empty());
  EXPECT_THAT(Starts(layer), ElementsAre(50, 3'000'000'000, 70, 10));
}

TEST(Sorting, TheAddressBreaksTiesButNotFromLeftToRight) {
  M2DSliceVectorLayer layer;
  M2DSliceVectorBlock* low = &AddBlock(layer, 10);
  M2DSliceVectorBlock* high = &AddBlock(layer, 10);
  if (std::less<>()(high, low)) std::swap(low, high);
  VectorBlockCompareInsideOut const inside_out;
  EXPECT_EQ(inside_out.Compare(low, high), -1);
  EXPECT_EQ(inside_out.Compare(high, low), 1);
  EXPECT_EQ(inside_out.Compare(low, low), 0);
  VectorBlockCompareLeftToRight left_to_right;
  left_to_right.Prepare(layer);
  EXPECT_EQ(left_to_right.Compare(low, high), 0);
  M2DSliceVectorLayer others;
  EXPECT_EQ(left_to_right.Compare(low, &AddBlock(others, 99)), 0) << "not measured";
}

TEST(Sorting, ADerivedRuleIsAskedThroughItsCompare) {
  class OutsideIn final : public VectorBlockCompareInsideOut {
    int Compare(M2DSliceVectorBlock const* a, M2DSliceVectorBlock const* b) const override {
      return VectorBlockCompareInsideOut::Compare(b, a);
    }
  };
  M2DSliceVectorLayer layer;
  AddBlock(layer, 1, Type::Hatching);
  AddBlock(layer, 2, Type::Border);
  SortVectorBlocks(layer, boost::make_shared<OutsideIn>());
  EXPECT_THAT(Starts(layer), ElementsAre(2, 1));
}

TEST(Sorting, InputPrioritiesCountOnlyWhatTheirKeysTellApart) {
  M2DSliceVectorTypeInfo support(Type::Hatching);
  support.SetFlag(e2DSliceVectorTypeFlag::IsSupport, true);
  M2DSliceVectorTypeInfo second_pass(Type::Hatching);
  second_pass.SetIndex(e2DSliceVectorTypeIndex::IndexScanPass, 2);
  M2DSliceVectorTypeInfo runtime;
  runtime.SetType("Recoating");
  Priorities const priorities = {{support, 5}, {second_pass, 3}, {Type::Hatching, 1}, {Type::Border, -1}, {runtime, 9}};

  M2DSliceVectorLayer layer;
  AddBlock(layer, 0, runtime);
  AddBlock(layer, 1, Type::Border);
  AddBlock(layer, 2, Type::BorderUp);
  AddBlock(layer, 3, Type::Hatching).GetVectorTypeInfo().SetIndex(e2DSliceVectorTypeIndex::IndexModel, 8);
  AddBlock(layer, 4, support).GetVectorTypeInfo().SetIndex(e2DSliceVectorTypeIndex::IndexScanPass, 2);
  AddBlock(layer, 5, second_pass).GetVectorTypeInfo().SetFlag(e2DSliceVectorTypeFlag::IsUpFacing, true);
  AddBlock(layer, 6, support).GetVectorTypeInfo().SetNumber("Power", 3);
  SortVectorBlocksInputBased(layer, priorities);
  EXPECT_THAT(Starts(layer), ElementsAre(6, 5, 3, 0, 2, 4, 1));

  // The map is looked into when sorting, and what sets its keys apart adds up over all maps.
  Priorities changed = {{support, 5}};
  auto const rule = boost::make_shared<VectorBlockCompareInputBased>();
  rule->SetInputPriorities(priorities);
  rule->SetInputPriorities(changed);
  changed[support] = -5;
  M2DSliceVectorBlock& block = AddBlock(layer, 7, support);
  EXPECT_EQ(rule->GetKey(block).rank, -5);
  block.GetVectorTypeInfo().SetIndex(e2DSliceVectorTypeIndex::IndexScanPass, 2);
  EXPECT_EQ(rule->GetKey(block).rank, 0) << "the pass set keys of the first map apart";
  layer.Unlink(layer.GetLast());
  SortVectorBlocks(layer, boost::make_shared<VectorBlockCompareInputBased>());
  EXPECT_THAT(Starts(layer), ElementsAre(0, 1, 2, 3, 4, 5, 6)) << "without a map, by the priorities of the first sort";
}

TEST(Sorting, VectorsKeepTheirOrderWhereTheRuleLeavesTies) {
  M2DSliceVectorLayer layer;
  AddVectors(layer, {{21, 0, 0, 0}, {12, 0, 0, 0}, {11, 0, 0, 0}, {12, 0, 0, 0}});
  AddVectors(layer, {});
  auto const by_tens = boost::make_shared<VectorRule>([](M2DSliceVector const& vector) { return vector.x1 / 10; });
  SortVectors(layer, by_tens);
  EXPECT_EQ(GeometryOf(*layer.GetFirst()), " 12,0>0,0 11,0>0,0 12,0>0,0 21,0>0,0");
  EXPECT_EQ(by_tens->prepared, 2);
}

TEST(Sorting, OnlyMinusOneIsAnAnswerAndNonsenseLosesNothing) {
  struct Contours final : IContourCompare {
    void Prepare(M2DSliceContourLayer&) override { is_prepared = true; }
    int Compare(M2DSliceContour const* a, M2DSliceContour const* b) const override {
      return static_cast<int>(a->GetNumPoints()) - static_cast<int>(b->GetNumPoints());
    }
    bool is_prepared = false;
  };
  M2DSliceContourLayer contours;
  for (long count : {6, 3, 2}) {
    for (M2DSliceContour& contour = contours.AddContour(); count > 0; --count) contour.AddPoint(count, 0);
  }
  auto const by_points = boost::make_shared<Contours>();
  SortContours(contours, by_points);
  EXPECT_TRUE(by_points->is_prepared);
  std::vector<unsigned long> sizes;
  for (auto const& contour : contours) sizes.push_back(contour.GetNumPoints());
  EXPECT_THAT(sizes, ElementsAre(3, 2, 6)) << "-3 and -4 do not put anything before 6";

  // Answers that go round in circles.
  struct Blocks final : IVectorBlockCompare {
    int Compare(M2DSliceVectorBlock const* a, M2DSliceVectorBlock const* b) const override {
      return static_cast<int>((7 * a->size() + 5 * b->size()) % 3) - 1;
    }
  };
  struct Vectors final : IVectorCompare {
    int Compare(M2DSliceVector const& a, M2DSliceVector const& b) const override {
      return static_cast<int>((a.x1 - b.x1 + 300) % 3) - 1;
    }
  };
  Random random(4);
  for (int round = 0; round < 50; ++round) {
    M2DSliceVectorLayer layer;
    FillRandomly(layer, random, 40);
    for (M2DSliceVectorBlock& block : layer) {
      std::vector<M2DSliceVector> const vectors(block);
      SortVectors(block, boost::make_shared<Vectors>());
      EXPECT_TRUE(std::is_permutation(block.begin(), block.end(), vectors.begin(), vectors.end()));
    }
    std::vector<std::string> before;
    for (auto const& block : layer) before.push_back(GeometryOf(block));
    SortVectorBlocks(layer, boost::make_shared<Blocks>());
    std::vector<std::string> blocks;
    for (auto const& block : layer) blocks.push_back(GeometryOf(block));
    EXPECT_THAT(blocks, ::testing::UnorderedElementsAreArray(before));
  }
}

TEST(Sorting, ARuleThatThrowsLeavesAllInPlace) {
  auto const rank = [](long x) { return x == 13 ? throw std::runtime_error("unlucky") : x; };
  M2DSliceVectorLayer layer;
  auto const by_start = boost::make_shared<BlockRule>([&](auto const* block) { return rank(block->front().x1); });
  SortVectorBlocks(layer, by_start);
  EXPECT_EQ(by_start->prepared, 1) << "for an empty layer too";
  for (long x : {15, 14, 13, 12}) AddBlock(layer, x);
  EXPECT_THROW(SortVectorBlocks(layer, by_start), std::runtime_error);
  EXPECT_THAT(Starts(layer), ElementsAre(15, 14, 13, 12));

  M2DSliceVectorBlock& block = AddVectors(layer, {{15, 0, 0, 0}, {14, 0, 0, 0}, {13, 0, 0, 0}});
  auto const by_x = boost::make_shared<VectorRule>([&](M2DSliceVector const& vector) { return rank(vector.x1); });
  EXPECT_THROW(SortVectors(block, by_x), std::runtime_error);
  EXPECT_EQ(GeometryOf(block), " 15,0>0,0 14,0>0,0 13,0>0,0");
}

}  // namespace
