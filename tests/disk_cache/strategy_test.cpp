#include <SliceData/disk_cache/M2DSliceStackCachingLock.h>
#include <SliceData/disk_cache/M2DSliceStackCachingStrategyMultipleTempFiles.h>
#include <SliceData/disk_cache/M2DSliceStackCachingStrategySingleTempFile.h>
#include <SliceData/slice_stack/M2DSliceStack.h>

#include <memory>
#include <utility>

#include "support/Scratch.h"
#include "support/Slices.h"

namespace {

using namespace testing_support;
using ::testing::ElementsAre;
using Caching = e2DSliceStackCachingType;
using Single = M2DSliceStackCachingStrategySingleTempFile;
using Multiple = M2DSliceStackCachingStrategyMultipleTempFiles;

class Strategies : public ::testing::Test {
 protected:
  ~Strategies() override { Single::SetNumCachedSlices(100); }

  /// A stack with content in all components at heights 0, 1, ..., none of them accessed yet.
  static std::unique_ptr<M2DSliceStack> MakeStack(Caching type, long count) {
    auto stack = std::make_unique<M2DSliceStack>(type);
    for (long i = 0; i < count; ++i) Fill(*stack->AddSlicePosition(i));
    return stack;
  }

  /// Past the hooks, so that no strategy sees it.
  static void Fill(M2DSlice& slice) {
    M2DSlice content;
    FillAllComponents(content, slice.GetZArea().GetZ());
    M2DSlice::ForEachRow([&](auto row) {
      decltype(row)::Component(slice).GetData().Add(decltype(row)::Component(content).GetData(), true);
    });
  }

  /// The heights of slices whose border is in memory.
  static std::vector<long> InMemory(M2DSliceStack& stack) {
    std::vector<long> heights;
    for (unsigned long i = 0; i < stack.GetNumSlices(); ++i) {
      if (stack.GetSlice(i)->GetBorderComponent().IsDataValid())
        heights.push_back(stack.GetSlice(i)->GetZArea().GetZ());
    }
    return heights;
  }

  static void Access(M2DSliceStack& stack, std::initializer_list<unsigned long> slices) {
    for (unsigned long const index : slices) {
      long const z = stack.GetSlice(index)->GetZArea().GetZ();
      EXPECT_EQ(stack.GetSlice(index)->GetBorder().GetFirst()->GetFirstPoint()->x, z);
    }
  }

  static Multiple& StrategyOf(M2DSliceStack& stack) { return static_cast<Multiple&>(*stack._GetCachingStrategy()); }

  Scratch scratch;
};

TEST_F(Strategies, SingleAsksForTheSharedFileForEachComponent) {
  Single::SetNumCachedSlices(0);
  Single::SetMaxFileSize(0);
  auto const stack = MakeStack(Caching::SingleTempFile, 1);
  Access(*stack, {0});
  M2DSliceStackSlice const& slice = *std::as_const(*stack).GetSlice(0);
  EXPECT_NE(slice.GetBorderComponent().GetTempFile(), slice.GetVectorsComponent().GetTempFile());
  EXPECT_EQ(scratch.GetFiles().size(), 4u);
  EXPECT_EQ(stack->_GetCachingStrategy()->GetMaxAdvicedDataBuffer(), 0u);
  EXPECT_FALSE(stack->GetSlice(0)->GetAreasComponent().PrepareForPushingData());
  EXPECT_TRUE(stack->GetSlice(0)->GetBorderComponent().PrepareForPushingData());
}

TEST_F(Strategies, MultipleBeginsANewFileBeyondTheLimitAndOldOnesGoWithTheirSlices) {
  auto const stack = MakeStack(Caching::MultipleTempFiles, 4);
  StrategyOf(*stack).SetCacheSizes(0, 9, 9, 9);
  StrategyOf(*stack).SetMaxFileSize(36);
  Access(*stack, {0, 1, 2});
  auto const file = [&](unsigned long i) { return stack->GetSlice(i)->GetBorderComponent().GetTempFile(); };
  EXPECT_EQ(file(0), file(1)) << "at exactly the limit";
  EXPECT_NE(file(1), file(2));
  EXPECT_EQ(scratch.GetFiles().size(), 3u);
  stack->GetSlice(0)->Clear();
  stack->RemoveSlicePosition(1);
  EXPECT_EQ(scratch.GetFiles().size(), 2u);

  M2DSliceStackSlice* const empty = stack->AddSlicePosition(9);
  auto const count = scratch.GetFiles().size();
  StrategyOf(*stack).SetCacheSizes(0, 0, 0, 0);
  empty->GetAreas();
  EXPECT_TRUE(empty->GetAreasComponent().IsDataValid());
  EXPECT_EQ(scratch.GetFiles().size(), count) << "nothing to write, no file";
  EXPECT_TRUE(empty->GetAreasComponent().PrepareForPushingData());
  EXPECT_EQ(scratch.GetFiles().size(), count + 1);
}

TEST_F(Strategies, ALockLetsListsGrowAndTheirCutComesWithTheUnlock) {
  auto const a = MakeStack(Caching::MultipleTempFiles, 30);
  auto const b = MakeStack(Caching::NoTempFiles, 1);
  {
    M2DSliceStackCachingLock lock;
    lock.Add(a.get());
    lock.Add(b.get());
    lock.Lock();
    lock.Lock();
    for (unsigned long i = 0; i < 30; ++i) Access(*a, {i});
    EXPECT_EQ(InMemory(*a).size(), 30u);
    lock.Unlock();
    EXPECT_THAT(InMemory(*a), ElementsAre(25, 26, 27, 28, 29));
    lock.Lock();
    for (unsigned long i = 0; i < 11; ++i) Access(*a, {i});
  }
  EXPECT_THAT(InMemory(*a), ElementsAre(6, 7, 8, 9, 10)) << "the end of a lock unlocks";

  M2DSliceStackCachingLock advice;
  EXPECT_EQ(advice.GetMaxAdvicedDataBuffer(50, 30), 60u);
  advice.Add(b.get());
  EXPECT_EQ(advice.GetMaxAdvicedDataBuffer(1000, 30), 90u);
  EXPECT_EQ(advice.GetMaxAdvicedDataBuffer(1000, 200), 100u);
  advice.Add(a.get());
  StrategyOf(*a).SetCacheSizes(10, 20, 5, 5);
  EXPECT_EQ(advice.GetMaxAdvicedDataBuffer(1000, 1), 40u);
}

TEST_F(Strategies, ZRangeKeepsOneSliceAtAHeightAndSurvivesMovedAndRemovedOnes) {
  M2DSliceStack stack(Caching::ZRange);
  for (long const z : {0, 10, 500000}) Fill(*stack.AddSlicePosition(z));
  auto const held = static_cast<ISource2DSlices const&>(stack).GetSlice(0);
  Access(stack, {0, 1});
  stack.GetSlice(1)->SetZArea(M2DSliceZArea(0));  // listed at 10
  stack.RemoveSlicePosition(10);
  stack.RemoveSlicePosition(0);
  held->GetBorder();  // goes on using the strategy after it has left
  Access(stack, {0});
  EXPECT_FALSE(held->GetBorderComponent().IsDataValid());
  Fill(*stack.AddSlicePosition(0));
  stack.GetSlice(0)->GetBorder();
  held->GetBorder();
  EXPECT_EQ(held->GetBorder().GetCount(), 1u);

  stack.AddSlicePosition(10)->GetBorder();
  auto const cleared = boost::const_pointer_cast<M2DSlice>(static_cast<ISource2DSlices const&>(stack).GetSlice(1));
  stack.Clear();
  Fill(*cleared);
  Fill(*stack.AddSlicePosition(500000));
  Access(stack, {0});
  EXPECT_TRUE(cleared->GetBorderComponent().IsDataValid()) << "not the strategy's business any more";
  EXPECT_TRUE(held->GetBorderComponent().IsDataValid()) << "nor is what shared its height with one that left";
}

TEST_F(Strategies, ASliceThatMovesUnderZRangeLeavesNoTrace) {
  M2DSliceStack stack(Caching::ZRange);
  for (long z : {0, 10}) AddContour(*stack.AddSlicePosition(z)->GetBorderUpdate(), {{z, 1}});
  stack.GetSlice(0)->SetZArea(M2DSliceZArea(5));
  stack.GetSlice(0)->GetBorder();
  EXPECT_TRUE(stack.RemoveSlicePosition(0));
  AddContour(*stack.AddSlicePosition(500'000)->GetBorderUpdate(), {{9, 9}});
  EXPECT_FALSE(std::as_const(*stack.GetSlice(0)).GetBorderComponent().IsDataValid()) << "evicted";
  EXPECT_THAT(PointsOf(*stack.GetSlice(0)->GetBorder().GetFirst()), ElementsAre(XY(10, 1)));
}

}  // namespace
