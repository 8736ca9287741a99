#include <SliceData/slice_model/M2DSliceVectorTypeInfo.h>

#include <atomic>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include "support/FailingAllocation.h"

namespace {

using Info = M2DSliceVectorTypeInfo;
constexpr double kNoNumber = std::numeric_limits<double>::max();

Info::Registry& Registry() {
  return Info::GetRegistry();
}

TEST(VectorTypeInfo, ReadingNeverRegistersANameAndWritingDoes) {
  Info info;
  std::size_t const before = Registry().GetIndices().size();
  EXPECT_EQ(info.GetIndex("IndexNeverSeen"), -1);
  EXPECT_FALSE(info.GetFlag("FlagNeverSeen"));
  EXPECT_EQ(info.GetNumber("NumberNeverSeen"), kNoNumber);
  EXPECT_EQ(Registry().GetIndices().size(), before);
  EXPECT_EQ(Registry().GetNumberID("NumberNeverSeen", false), nullptr);

  info.SetIndex("IndexNeverSeen", 3);
  EXPECT_EQ(Registry().GetIndices().size(), before + 1);
  EXPECT_EQ(static_cast<int>(Registry().GetIndexID("IndexNeverSeen", false)->enumerator), 13);
}

TEST(VectorTypeInfo, ABuiltInNameHasOneKeyHoweverItComes) {
  Info by_name;
  by_name.SetType("Border");
  EXPECT_EQ(by_name, Info(e2DSliceVectorType::Border));
  EXPECT_EQ(Registry().GetFlagID("IsRecoating", true), Registry().GetFlagID(e2DSliceVectorTypeFlag::IsRecoating, true));

  Info lower_case;
  lower_case.SetType("border");
  EXPECT_NE(lower_case, by_name);
  EXPECT_EQ(static_cast<int>(lower_case.GetType().enumerator), 12);
}

TEST(VectorTypeInfo, EqualityReadsAMissingEntryAsItsDefault) {
  Info empty;
  Info defaults;
  defaults.SetFlag(e2DSliceVectorTypeFlag::IsSupport, false);
  defaults.SetIndex(e2DSliceVectorTypeIndex::IndexCore2D, -1);
  defaults.SetNumber("EqualityNumber", kNoNumber);
  EXPECT_EQ(empty, defaults);
  EXPECT_FALSE(empty < defaults || defaults < empty);
  defaults.SetFlag(e2DSliceVectorTypeFlag::IsGhostPath, true);
  EXPECT_NE(empty, defaults);

  Info nan;
  nan.SetNumber("EqualityNumber", std::nan(""));
  EXPECT_FALSE(nan == nan);
  EXPECT_FALSE(nan < nan);
}

TEST(VectorTypeInfo, OrdersByTypeThenFlagsThenIndicesThenNumbersInOrderOfRegistration) {
  Registry().GetFlagID("OrderFlagFirst", true);
  Registry().GetFlagID("OrderFlagSecond", true);
  Info a;
  Info b;
  a.SetIndex("OrderIndex", 1);
  b.SetIndex("OrderIndex", 2);
  EXPECT_LT(a, b);
  a.SetFlag("OrderFlagSecond", true);
  EXPECT_LT(b, a) << "flags come before indices";
  b.SetFlag("OrderFlagFirst", true);
  EXPECT_LT(a, b) << "the flag that was registered first decides";
  b.SetType(e2DSliceVectorType::Border);
  a.SetType("RunTimeTypeB");
  EXPECT_LT(b, a) << "built-in types first";
  b.SetType("RunTimeTypeA");
  EXPECT_LT(b, a) << "run-time types by name";

  Info low;
  low.SetNumber("OrderNumber", 0.5);
  EXPECT_LT(low, Info()) << "a missing number is the largest double";
}

TEST(VectorTypeInfo, MergeTakesNumbersWhateverTheFlagsSay) {
  Info target(e2DSliceVectorType::Border);
  target.SetIndex(e2DSliceVectorTypeIndex::IndexModel, 7);
  target.SetFlag(e2DSliceVectorTypeFlag::IsSupport, true);
  target.SetNumber("MergeLost", 1.0);
  target.SetNumber("MergeKept", 2.0);
  Info source;
  source.SetIndex(e2DSliceVectorTypeIndex::IndexModel, -1);
  source.SetFlag(e2DSliceVectorTypeFlag::IsSupport, false);
  source.SetNumber("MergeKept", 0.0);
  target.MergeWith(source, true, true);
  EXPECT_EQ(target.GetType().enumerator, e2DSliceVectorType::Border) << "General does not overwrite";
  EXPECT_EQ(target.GetIndex(e2DSliceVectorTypeIndex::IndexModel), 7);
  EXPECT_TRUE(target.GetFlag(e2DSliceVectorTypeFlag::IsSupport));
  EXPECT_EQ(target.GetNumber("MergeLost"), kNoNumber) << "a number that the other lacks is overwritten";
  EXPECT_EQ(target.GetNumbers().count(Registry().GetNumberID("MergeLost", false)), 1u);
  EXPECT_EQ(target.GetNumber("MergeKept"), 2.0) << "an explicit zero is skipped";

  source.SetType("MergeRunTimeType");
  source.SetIndex(e2DSliceVectorTypeIndex::IndexModel, 8);
  target.MergeWith(source, false, false);
  EXPECT_STREQ(target.GetTypeName(), "MergeRunTimeType");
  EXPECT_EQ(target.GetIndex(e2DSliceVectorTypeIndex::IndexModel), 7);
}

TEST(VectorTypeInfo, TheLastTwoBuiltInFlagsCountAsDynamicAndTheLastIndexDoesNot) {
  Info info;
  info.SetIndex(e2DSliceVectorTypeIndex::IndexPrintHead, 0);
  info.SetFlag(e2DSliceVectorTypeFlag::IsGhostPath, true);
  EXPECT_FALSE(info.HasAMX3DynamicInfo());
  info.SetFlag(e2DSliceVectorTypeFlag::IsRecoating, false);
  EXPECT_TRUE(info.HasAMX3DynamicInfo());
}

TEST(VectorTypeInfo, CopiesShareUntilOneChanges) {
  Info first;
  first.SetIndex(e2DSliceVectorTypeIndex::IndexModel, 1);
  Info second(first);
  EXPECT_EQ(&first.GetIndices(), &second.GetIndices());
  second.SetIndex(e2DSliceVectorTypeIndex::IndexModel, 2);
  EXPECT_EQ(first.GetIndex(e2DSliceVectorTypeIndex::IndexModel), 1);
  EXPECT_EQ(sizeof(Info), 4 * sizeof(void*)) << "records stand in every contour";
}

TEST(VectorTypeInfo, AFailedAllocationLeavesRegistryAndRecordUsable) {
  for (long successes = 0;; ++successes) {
    std::string const name = "IndexThatNeedsMemory" + std::to_string(successes);
    Info info;
    info.SetIndex(e2DSliceVectorTypeIndex::IndexModel, 1);
    Info const shared(info);
    std::size_t const before = Registry().GetIndices().size();
    bool failed = false;
    {
      testing_support::FailingAllocation const failing(successes);
      try {
        info.SetIndex(name.c_str(), 5);
      } catch (std::bad_alloc const&) {
        failed = true;
      }
    }
    if (!failed) {
      EXPECT_GT(successes, 4) << "key, map entry, record and entry each allocate";
      break;
    }
    EXPECT_EQ(info, shared);
    auto const* const key = Registry().GetIndexID(name, false);
    EXPECT_EQ(Registry().GetIndices().size(), before + (key != nullptr ? 1 : 0));
    info.SetIndex(name.c_str(), 5);
    EXPECT_EQ(info.GetIndex(name.c_str()), 5);
    EXPECT_EQ(Registry().GetIndices().size(), before + 1);
  }
}

TEST(VectorTypeInfo, ServesEightThreadsAtOnce) {
  Info shared(e2DSliceVectorType::Hatching);
  shared.SetIndex("ThreadIndexShared", 1);
  shared.SetNumber("ThreadNumberShared", 1.5);
  std::atomic<bool> start{false};
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([&, t] {
      while (!start) std::this_thread::yield();
      for (int i = 0; i < 300; ++i) {
        Info mine(shared);
        std::string const suffix = std::to_string(i % 150);
        mine.SetIndex(("ThreadIndex" + suffix).c_str(), t);
        mine.SetFlag(("ThreadFlag" + suffix).c_str(), true);
        mine.SetNumber(("ThreadNumber" + suffix).c_str(), 2.5);
        mine.SetType(("ThreadType" + suffix).c_str());
        Info merged;
        merged.MergeWith(mine, true, true);
        bool const ordered = shared < mine || mine < shared;
        if (!ordered || mine == shared || merged.GetIndex(("ThreadIndex" + suffix).c_str()) != t) ++wrong;
        if (shared.GetIndex(e2DSliceVectorTypeIndex::IndexScanPass) != -1) ++wrong;
      }
    });
  }
  start = true;
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(shared.GetIndices().size(), 1u);
}

}  // namespace
