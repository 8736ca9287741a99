#include <SliceData/slice_stack/M2DSliceBasicContainer.h>
#include <SliceData/slice_stack/M2DSliceSourceVector.h>
#include <SliceData/slice_stack/M2DSliceStack.h>
#include <SliceData/slice_stack/M2DSliceStackUtilities.h>

#include <limits>
#include <list>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "support/RandomSlices.h"

namespace {

using namespace testing_support;
using ::testing::ElementsAre;

/// A container with slices of its own, which notes how often it is started.
class Source final : public M2DSliceBasicContainer {
 public:
  std::list<M2DSlice> slices;
  mutable int open_runs = 0;

  Source() = default;
  explicit Source(std::vector<long> const& heights) {
    for (long const z : heights) Add(z);
  }

  M2DSlice& Add(long z) {
    AddSlice(&slices.emplace_back(z));
    return slices.back();
  }

 protected:
  unsigned long _OnStartGettingSlices() const override {
    ++open_runs;
    return _OnGetNumSlices();
  }
  void _OnStopGettingSlices() const override { --open_runs; }
};

/// The height of each layer and the number of its slices.
std::vector<XY> LayersOf(ISource2DSlices const& source) {
  std::vector<XY> layers;
  unsigned long const count = source.StartGettingSlices();
  for (unsigned long i = 0; i < count; ++i) {
    std::vector<boost::shared_ptr<M2DSlice const>> slices;
    source.GetSlices(slices, i);
    layers.emplace_back(source.GetSliceZPosition(i), slices.size());
  }
  return layers;
}

std::vector<std::string> TextsOfSlice(M2DSlice const& slice) {
  std::vector<std::string> texts = {std::to_string(slice.GetZArea().GetZ())};
  M2DSlice::ForEachRow([&](auto row) {
    auto const of_row = TextsOf(decltype(row)::Get(slice));
    texts.insert(texts.end(), of_row.begin(), of_row.end());
    texts.emplace_back("--");
  });
  return texts;
}

/// The slices at each height; null stands for an empty one.
std::map<long, std::vector<M2DSlice const*>> PlainMerge(std::list<Source> const& sources,
                                                        M2DSliceSourceVector::Options const& options) {
  std::map<long, std::vector<M2DSlice const*>> layers;
  std::set<long> steps;
  for (Source const& source : sources) {
    for (M2DSlice const& slice : source.slices) layers[slice.GetZArea().GetZ()].push_back(&slice);
    bool const has_step = source.slices.size() >= 2;
    steps.insert(has_step ? source.GetSliceZPosition(1) - source.GetSliceZPosition(0) : -1);
  }
  if (options.fillGaps && !layers.empty() && steps.size() == 1 && *steps.begin() > 0) {
    long const last = layers.rbegin()->first;
    for (long z = layers.begin()->first; z <= last; z += *steps.begin()) layers[z].push_back(nullptr);
  }
  if (options.padToSourceCount) {
    for (auto& [z, slices] : layers) slices.resize(std::max(slices.size(), sources.size()));
  }
  return layers;
}

TEST(SourceVector, AgreesWithAPlainMergeOfRandomSources) {
  for (unsigned seed = 0; seed < 300; ++seed) {
    SCOPED_TRACE(seed);
    Random random(seed);
    // Regular grids of mostly one step, some with a height twice, some not in order.
    std::list<Source> sources;
    M2DSliceSourceVector merged;
    M2DSliceXYArea area;
    for (long remaining = seed % 100 == 0 ? 50 : Draw(random, 0, 5); remaining > 0; --remaining) {
      Source& source = sources.emplace_back();
      merged.AddSource(&source);
      long z = Draw(random, -6, 6);
      long const step = Draw(random, 0, 9) == 0 ? Draw(random, -3, 3) : 3;
      for (long slices = Draw(random, Draw(random, 0, 4) == 0 ? 0 : 2, 6); slices > 0; --slices) {
        FillRandomly(source.Add(z), random, 2);
        z += Draw(random, 0, 9) == 0 ? Draw(random, -3, 9) : step;
      }
      area.Extend(source.GetXYArea());
    }
    merged.SetOptions({Draw(random, 0, 1) == 1, Draw(random, 0, 1) == 1});
    EXPECT_EQ(merged.GetXYArea(), area);

    auto const layers = PlainMerge(sources, merged.GetOptions());
    ASSERT_EQ(merged.GetNumSlices(), layers.size());
    unsigned long index = 0;
    for (auto const& [z, contributions] : layers) {
      std::vector<boost::shared_ptr<M2DSlice const>> slices(2);
      merged.GetSlices(slices, index);
      ASSERT_EQ(slices.size(), contributions.size());
      M2DSlice sum(z);
      for (std::size_t i = 0; i < contributions.size(); ++i) {
        M2DSlice const empty(z);
        M2DSlice const& expected = contributions[i] != nullptr ? *contributions[i] : empty;
        EXPECT_EQ(TextsOfSlice(*slices[i]), TextsOfSlice(expected));
        sum.Add(expected);
      }

      M2DSlice given(77);
      FillAllComponents(given);
      merged.GetSlice(given, index);
      EXPECT_EQ(TextsOfSlice(given), TextsOfSlice(sum));
      EXPECT_EQ(TextsOfSlice(*merged.GetSlice(index)), TextsOfSlice(sum));
      EXPECT_EQ(merged.GetSliceZArea(index).GetZ(), z);

      M2DSliceConstDataItems items;
      merged.GetSliceItems(items, index);
      EXPECT_EQ(items.slices.size(), contributions.size());
      M2DSlice of_items(z);
      M2DSliceStackUtilities::StoreDataItemsInM2DSlice(items, of_items);
      sum.GetAreasUpdate()->Clear();
      EXPECT_EQ(TextsOfSlice(of_items), TextsOfSlice(sum));
      ++index;
    }
    EXPECT_EQ(merged.GetSliceThickness(),
              layers.size() < 2 ? -1 : std::next(layers.begin())->first - layers.begin()->first);
  }
}

TEST(SourceVector, GapsAreFilledAtGridPlacesUpToTheEndsOfTheRange) {
  auto const filled = [](std::vector<std::vector<long>> const& heights) {
    std::list<Source> const sources(heights.begin(), heights.end());
    M2DSliceSourceVector merged;
    merged.GetOptions().fillGaps = true;
    for (Source const& source : sources) merged.AddSource(&source);
    return LayersOf(merged);
  };
  EXPECT_THAT(filled({{0, 10, 20}, {10, 20, 30}}), ElementsAre(XY(0, 2), XY(10, 3), XY(20, 3), XY(30, 2)));
  EXPECT_THAT(filled({{0, 20}, {10, 30}}), ElementsAre(XY(0, 2), XY(10, 1), XY(20, 2), XY(30, 1)));
  EXPECT_THAT(filled({{0, 10, 30}, {}}), ElementsAre(XY(0, 1), XY(10, 1), XY(30, 1))) << "a source without a step";

  constexpr long kLow = std::numeric_limits<long>::min();
  constexpr long kHigh = std::numeric_limits<long>::max();
  EXPECT_THAT(filled({{kLow, -1, kHigh}}), ElementsAre(XY(kLow, 2), XY(-1, 2), XY(kHigh - 1, 1), XY(kHigh, 1)));
  EXPECT_THAT(filled({{kLow, 0, kHigh}}), ElementsAre(XY(kLow, 1), XY(0, 1), XY(kHigh, 1))) << "too wide a step";
  EXPECT_THAT(filled({{kHigh, kLow}}), ElementsAre(XY(kLow, 1), XY(kHigh, 1))) << "wraps to a step of 1";
  EXPECT_THROW(filled({{kLow, kLow + 1, kHigh}}), std::length_error);
}

TEST(SourceVector, TheFirstMergeThatFindsLayersStays) {
  Source const empty;
  Source const first({0, 30, 10});
  Source late({5});
  FillAllComponents(late.slices.front());
  M2DSliceSourceVector merged;
  merged.SetVector({&empty});
  EXPECT_EQ(merged.GetNumSlices(), 0u);
  merged.SetOptions({false, true});
  merged.AddSource(&first);
  EXPECT_THAT(LayersOf(merged), ElementsAre(XY(0, 2), XY(10, 2), XY(30, 2)));

  merged.AddSource(&late);
  EXPECT_THAT(LayersOf(merged), ElementsAre(XY(0, 2), XY(10, 2), XY(30, 2)));
  merged.StopGettingSlices();
  EXPECT_EQ(first.open_runs, 1) << "whoever owns a source stops it";
}

TEST(SourceVector, ItemsAreAppendedAndStacksGiveTheirOwnSlices) {
  M2DSliceStack stacks[2];
  M2DSliceSourceVector merged;
  for (M2DSliceStack& stack : stacks) {
    FillAllComponents(*stack.AddSlicePosition(5));
    merged.AddSource(&stack);
  }
  ASSERT_EQ(merged.StartGettingSlices(), 1u);
  M2DSliceConstDataItems items;
  merged.GetSliceItems(items, 0);
  merged.GetSliceItems(items, 0);
  EXPECT_EQ(items.items.size(), 2u * 2u * 3u);
  EXPECT_EQ(items.slices[3].get(), stacks[1].GetSlice(0));
  std::vector<boost::shared_ptr<M2DSlice const>> slices;
  merged.GetSlices(slices, 0);
  EXPECT_EQ(slices[0].get(), stacks[0].GetSlice(0));
}

}  // namespace
