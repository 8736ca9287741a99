#include <SliceData/disk_cache/M2DSliceStackCachingLock.h>
#include <SliceData/disk_cache/M2DSliceStackCachingStrategyMultipleTempFiles.h>
#include <SliceData/disk_cache/M2DSliceStackCachingStrategySingleTempFile.h>
#include <SliceData/disk_cache/M2DSliceTempFile.h>
#include <SliceData/slice_stack/M2DSliceBasicContainer.h>
#include <SliceData/slice_stack/M2DSliceStack.h>

#include <boost/make_shared.hpp>
#include <memory>
#include <utility>

#include "support/Scratch.h"
#include "support/Slices.h"

namespace {

using namespace testing_support;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Caching = e2DSliceStackCachingType;
using Single = M2DSliceStackCachingStrategySingleTempFile;
using Multiple = M2DSliceStackCachingStrategyMultipleTempFiles;

class Strategies : public ::testing::Test {
 protected:
  ~Strategies() override { Single::SetNumCachedSlices(100); }

  /// A stack with content in all components at heights 0, 1, ..., none of them accessed yet.
  static std::unique_ptr<M2DSliceStack> MakeStack(Caching type, long count, long distance = 1) {
    auto stack = std::make_unique<M2DSliceStack>(type);
    for (long i = 0; i < count; ++i) Fill(*stack->AddSlicePosition(i * distance));
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

  /// The heights of slices whose component is in memory.
  template <class Row = M2DSlice::BorderRow>
  static std::vector<long> InMemory(M2DSliceStack& stack) {
    std::vector<long> heights;
    for (unsigned long i = 0; i < stack.GetNumSlices(); ++i) {
      if (Row::Component(*stack.GetSlice(i)).IsDataValid()) heights.push_back(stack.GetSlice(i)->GetZArea().GetZ());
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

  static long FileSizeOf(M2DSliceComponentContours const& component) {
    return component.GetTempFile()->InitForWriting();
  }

  Scratch scratch;
};

TEST_F(Strategies, SingleTakesSlicesAsAWholeOldestFirst) {
  Single::SetNumCachedSlices(2);
  auto const stack = MakeStack(Caching::SingleTempFile, 4);
  Access(*stack, {0, 1, 1, 2});
  EXPECT_THAT(InMemory(*stack), ElementsAre(1, 2, 3)) << "the last one was never accessed, so it never leaves";
  EXPECT_THAT(InMemory<M2DSlice::AreasRow>(*stack), ElementsAre(1, 2, 3));
  stack->GetSlice(0)->GetPoints();
  EXPECT_THAT(InMemory(*stack), ElementsAre(0, 2, 3)) << "all four came in";
  EXPECT_EQ(scratch.GetFiles().size(), 1u);

  Single::SetNumCachedSlices(1);
  EXPECT_THAT(InMemory(*stack), ElementsAre(0, 2, 3)) << "heeded at the next access";
  Access(*stack, {3});
  EXPECT_THAT(InMemory(*stack), ElementsAre(3));
  Single::SetNumCachedSlices(0);
  Access(*stack, {1});
  EXPECT_THAT(InMemory(*stack), ElementsAre(1)) << "written out, and read back for the caller";
  EXPECT_THAT(InMemory<M2DSlice::PointsRow>(*stack), IsEmpty());
  EXPECT_EQ(stack->_GetCachingStrategy()->GetMaxAdvicedDataBuffer(), 0u);
}

TEST_F(Strategies, SingleCountsAcrossStacksAndForgetsWhatIsRemoved) {
  Single::SetNumCachedSlices(3);
  auto const a = MakeStack(Caching::SingleTempFile, 3);
  auto b = MakeStack(Caching::SingleTempFile, 3);
  Access(*a, {0, 1});
  Access(*b, {0, 1});
  EXPECT_THAT(InMemory(*a), ElementsAre(1, 2));
  EXPECT_THAT(InMemory(*b), ElementsAre(0, 1, 2));
  a->RemoveSlicePosition(1);
  Access(*b, {2});
  EXPECT_THAT(InMemory(*b), ElementsAre(0, 1, 2));
  a->_GetCachingStrategy()->LockCaching();
  Access(*a, {0});
  EXPECT_THAT(InMemory(*b), ElementsAre(1, 2)) << "locking does not hold it back";
  b.reset();
  Access(*a, {0, 1});
  EXPECT_THAT(InMemory(*a), ElementsAre(0, 2));
}

TEST_F(Strategies, SingleAsksForTheSharedFileForEachComponent) {
  Single::SetNumCachedSlices(0);
  Single::SetMaxFileSize(0);
  auto const stack = MakeStack(Caching::SingleTempFile, 1);
  Access(*stack, {0});
  M2DSliceStackSlice const& slice = *std::as_const(*stack).GetSlice(0);
  EXPECT_NE(slice.GetBorderComponent().GetTempFile(), slice.GetVectorsComponent().GetTempFile());
  EXPECT_EQ(scratch.GetFiles().size(), 4u);
  EXPECT_FALSE(stack->GetSlice(0)->GetAreasComponent().PrepareForPushingData());
  EXPECT_TRUE(stack->GetSlice(0)->GetBorderComponent().PrepareForPushingData());
}

TEST_F(Strategies, MultipleCutsAListToHalfWhenItGrowsTooLong) {
  auto const stack = MakeStack(Caching::MultipleTempFiles, 13);
  Access(*stack, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 0});
  EXPECT_EQ(InMemory(*stack).size(), 13u);
  EXPECT_THAT(scratch.GetFiles(), ::testing::SizeIs(1)) << "the shared one alone";
  Access(*stack, {10});
  EXPECT_THAT(InMemory(*stack), ElementsAre(0, 7, 8, 9, 10, 11, 12));
  EXPECT_EQ(InMemory<M2DSlice::VectorsRow>(*stack).size(), 13u) << "each kind by itself";
  EXPECT_EQ(scratch.GetFiles().size(), 2u);

  StrategyOf(*stack).SetCacheSizes(7, 25, 0, 0);
  Access(*stack, {0, 7, 8, 9, 10, 11, 12});
  EXPECT_THAT(InMemory(*stack), ElementsAre(0, 7, 8, 9, 10, 11, 12));
  Access(*stack, {1});
  EXPECT_THAT(InMemory(*stack), ElementsAre(1, 11, 12)) << "half of seven is three";
  EXPECT_EQ(StrategyOf(*stack).GetMaxAdvicedDataBuffer(), 28u);
}

TEST_F(Strategies, MultipleWithALimitOfOneReadsBackWhatItPagedOut) {
  auto const stack = MakeStack(Caching::MultipleTempFiles, 3);
  StrategyOf(*stack).SetCacheSizes(1, 1, 1, 1);
  Access(*stack, {0, 1});
  EXPECT_THAT(InMemory(*stack), ElementsAre(1, 2));
  long const size = FileSizeOf(stack->GetSlice(0)->GetBorderComponent());
  Access(*stack, {2});
  Access(*stack, {1, 2, 1});
  EXPECT_EQ(FileSizeOf(stack->GetSlice(0)->GetBorderComponent()), size + 36) << "each was written once";
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
  EXPECT_EQ(advice.GetMaxAdvicedDataBuffer(1000, 1), 40u);
}

TEST_F(Strategies, ZRangeMovesWithAnAccessOutsideIt) {
  M2DSliceStack stack(Caching::ZRange);
  for (long const z : {1000, 61000, 61001}) Fill(*stack.AddSlicePosition(z));
  Access(stack, {0, 1});
  EXPECT_THAT(InMemory(stack), ElementsAre(1000, 61000, 61001));
  stack._GetCachingStrategy()->LockCaching();
  Access(stack, {2});
  EXPECT_THAT(InMemory(stack), ElementsAre(61000, 61001)) << "locking does not hold it back";
  EXPECT_FALSE(stack.GetSlice(0)->GetBorderComponent().PrepareForPushingData());
}

TEST_F(Strategies, ZRangeEvictsFromTheBottomForWhatLiesAbove) {
  auto const stack = MakeStack(Caching::ZRange, 6, 50000);
  Access(*stack, {0, 1, 2, 3, 4, 5});
  EXPECT_THAT(InMemory(*stack), ElementsAre(150000, 200000, 250000));
  Access(*stack, {0});
  // Three above the range up to 60000, so three leave from the bottom: 0, 150000 and 200000. The first is read back.
  EXPECT_THAT(InMemory(*stack), ElementsAre(0, 250000));
  Access(*stack, {1});
  EXPECT_THAT(InMemory(*stack), ElementsAre(0, 50000, 250000)) << "inside the range";
  Access(*stack, {4});
  EXPECT_THAT(InMemory(*stack), ElementsAre(0, 200000, 250000)) << "0 is not listed any more and stays";
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
}

TEST_F(Strategies, SlicesOfOneStackThatPageEachOtherOutExchangeTheirContent) {
  for (Caching const type : {Caching::ZRange, Caching::MultipleTempFiles}) {
    auto const stack = MakeStack(type, 3, 200000);
    if (type == Caching::MultipleTempFiles) StrategyOf(*stack).SetCacheSizes(1, 1, 1, 1);
    stack->GetSlice(0)->Swap(*stack->GetSlice(2));
    EXPECT_EQ(Starts(*stack->GetSlice(0))[2], 400200);
    EXPECT_EQ(Starts(*stack->GetSlice(2))[2], 200);
    *stack->GetSlice(1) = *stack->GetSlice(0);
    EXPECT_EQ(Starts(*stack->GetSlice(1))[1], 400100);
    stack->GetSlice(2)->Add(*stack->GetSlice(0), true);
    stack->GetSlice(1)->Add(std::as_const(*stack->GetSlice(2)));
    EXPECT_THAT(Counts(*stack->GetSlice(1)), ElementsAre(3, 3, 3, 3));
    EXPECT_THAT(Counts(*stack->GetSlice(2)), ElementsAre(2, 2, 2, 2));
    EXPECT_THAT(Counts(*stack->GetSlice(0)), ElementsAre(0, 0, 0, 0));
  }
}

/// Makes its slices when asked and counts how often.
class Source : public M2DSliceBasicContainer {
 public:
  mutable int fetched = 0;

 protected:
  unsigned long _OnGetNumSlices() const override { return 3; }
  M2DSliceZArea _OnGetSliceZArea(unsigned long index) const override {
    return M2DSliceZArea(static_cast<long>(index) * 100000);
  }
  using M2DSliceBasicContainer::_OnGetSlice;
  void _OnGetSlice(M2DSlice& slice, unsigned long index) const override {
    ++fetched;
    FillAllComponents(slice, static_cast<long>(index) * 100000);
  }
};

TEST_F(Strategies, WhatCanBeReadFromItsSourceAgainIsDroppedAsAWhole) {
  Single::SetNumCachedSlices(1);
  for (Caching const type : {Caching::MultipleTempFiles, Caching::SingleTempFile}) {
    auto const source = boost::make_shared<Source>();
    M2DSliceStack stack(type);
    stack.InitFromSourceSlices(source);
    if (type == Caching::MultipleTempFiles) StrategyOf(stack).SetCacheSizes(2, 9, 9, 9);
    Access(stack, {0, 1, 2});
    EXPECT_THAT(InMemory<M2DSlice::PointsRow>(stack), ElementsAre(200000));
    EXPECT_EQ(source->fetched, 3);
    Access(stack, {0});
    EXPECT_EQ(source->fetched, 4);
    EXPECT_EQ(stack.GetSlice(0)->GetBorderComponent().GetTempFile(), nullptr);
    EXPECT_EQ(FilesBelow(scratch.GetPath()).size(), 1u);
    EXPECT_EQ(M2DSliceTempFile::GetInstance()->InitForWriting(), 0);

    stack.GetSlice(0)->GetBorderUpdate()->AddContour();
    Access(stack, {1, 2, 1});
    EXPECT_EQ(stack.GetSlice(0)->GetBorderComponent().GetNumContours(), 2u);
    EXPECT_FALSE(stack.GetSlice(0)->GetBorderComponent().IsDataValid()) << "changed, so written";
  }
}

TEST_F(Strategies, ASliceThatIsDroppedAtItsOwnAccessIsFetchedOnceMore) {
  auto const source = boost::make_shared<Source>();
  M2DSliceStack stack(Caching::MultipleTempFiles);
  stack.InitFromSourceSlices(source);
  StrategyOf(stack).SetCacheSizes(1, 1, 1, 1);
  Access(stack, {0, 1});
  EXPECT_EQ(source->fetched, 3);
  Single::SetNumCachedSlices(0);
  M2DSliceStack single(Caching::SingleTempFile);
  single.InitFromSourceSlices(source);
  Access(single, {0, 1});
}

TEST_F(Strategies, ZRangeWritesEvenWhatItCouldReadFromItsSource) {
  auto const source = boost::make_shared<Source>();
  M2DSliceStack stack(Caching::ZRange);
  stack.InitFromSourceSlices(source);
  Access(stack, {0, 1, 0});
  EXPECT_EQ(source->fetched, 2);
  EXPECT_TRUE(stack.GetSlice(0)->GetBorderComponent().IsDiskStateValid());
  EXPECT_THAT(InMemory<M2DSlice::PointsRow>(stack), ElementsAre(0, 100000));
}

TEST_F(Strategies, PushedSlicesAreNeverInMemory) {
  for (Caching const type : {Caching::MultipleTempFiles, Caching::SingleTempFile}) {
    M2DSliceStack stack(type);
    for (long z = 0; z < 5; ++z) {
      M2DSliceStackSlice& slice = *stack.AddSlicePosition(z);
      ASSERT_TRUE(slice.GetBorderComponent().PrepareForPushingData());
      slice.GetBorderComponent().PushContour();
      slice.GetBorderComponent().PushContourPoint(z, 0);
      slice.GetVectorsComponent().PrepareForPushingData();
      slice.GetVectorsComponent().PushVectorBlock();
      slice.GetVectorsComponent().PushVector(z, 1, 2, 3);
    }
    EXPECT_THAT(InMemory(stack), IsEmpty());
    EXPECT_EQ(stack.GetXYArea(), (M2DSliceXYArea{0, 4, 0, 3}));
    Access(stack, {4, 3, 2, 1, 0});
    EXPECT_EQ(stack.GetSlice(3)->GetVectors().GetFirst()->front().x1, 3);
  }
}

TEST_F(Strategies, ManyStacksShareTheTwentyFiles) {
  std::vector<std::unique_ptr<M2DSliceStack>> stacks;
  for (int i = 0; i < 12; ++i) {
    stacks.push_back(MakeStack(i % 2 == 0 ? Caching::MultipleTempFiles : Caching::ZRange, 12, 70000));
  }
  auto const before = NamesIn("/proc/self/fd").size();
  for (unsigned long i = 0; i < 12; ++i) {
    for (auto const& stack : stacks) EXPECT_THAT(Starts(*stack->GetSlice(i)), ::testing::SizeIs(4));
  }
  EXPECT_LE(NamesIn("/proc/self/fd").size(), before + 20);
  for (unsigned long i = 0; i < 12; ++i) {
    long const z = static_cast<long>(i) * 70000;
    for (auto const& stack : stacks) {
      EXPECT_THAT(Starts(*stack->GetSlice(i)), ElementsAre(z, z + 100, z + 200, z + 300));
    }
  }
  EXPECT_EQ(scratch.GetFiles().size(), 12u * 4 + 1);
}

}  // namespace
