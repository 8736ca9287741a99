#include <SliceData/disk_cache/M2DSliceStackCachingStrategyMultipleTempFiles.h>
#include <SliceData/slice_stack/M2DSliceStack.h>
#include <SliceData/type_operations/M2DSliceTempDefaultTypeBackup.h>
#include <SliceData/type_operations/TypeAssignment.h>

#include <boost/make_shared.hpp>
#include <cmath>
#include <stdexcept>
#include <utility>

#include "support/Scratch.h"
#include "support/Slices.h"

namespace {

using namespace M2DSliceUtilities;
using namespace testing_support;
using ::testing::Each;
using ::testing::ElementsAre;
using Backup = M2DSliceTempDefaultTypeBackup;
using Info = M2DSliceVectorTypeInfo;

Info SupportOf(long model, e2DSliceVectorType type = e2DSliceVectorType::BorderUp) {
  Info info(type);
  info.SetIndex(e2DSliceVectorTypeIndex::IndexModel, model);
  info.SetFlag(e2DSliceVectorTypeFlag::IsSupport, true);
  return info;
}

std::string Told(Info const& info) {
  std::string told = info.GetTypeName();
  if (long const model = info.GetIndex(e2DSliceVectorTypeIndex::IndexModel); model != -1) told += std::to_string(model);
  return told + (info.GetFlag(e2DSliceVectorTypeFlag::IsSupport) ? "+" : "");
}

/// What `record_of` finds in the layers of border, vectors, points and areas.
template <class RecordOf>
std::vector<std::string> ToldOf(M2DSlice const& slice, RecordOf const& record_of) {
  std::vector<std::string> told;
  M2DSlice::ForEachRow([&](auto row) { told.push_back(Told(record_of(row.Get(slice)))); });
  return told;
}

auto ElementsOf(M2DSlice const& slice) {
  return ToldOf(slice, [](auto const& layer) { return layer.GetFirst()->GetVectorTypeInfo(); });
}

auto DefaultsOf(M2DSlice const& slice) {
  return ToldOf(slice, [](auto const& layer) { return layer.GetDefaultVectorTypeInfo(); });
}

TEST(TypeAssignment, RecordsOfElementsAndDefaultsAreDifferentThings) {
  M2DSlice slice(0);
  FillAllComponents(slice);
  SetType(slice, SupportOf(7));
  EXPECT_THAT(DefaultsOf(slice), Each("General"));
  SetDefaultTypeInfo(slice, e2DSliceVectorType::Hatching);
  EXPECT_THAT(ElementsOf(slice), Each("BorderUp7+"));
  EXPECT_THAT(DefaultsOf(slice), Each("Hatching"));
}

TEST(TypeAssignment, LayersMergeIndicesAndFlagsWhateverTheBoolsSay) {
  M2DSlice slice(0);
  FillAllComponents(slice);
  MergeTypeInfo(*slice.GetBorderUpdate(), SupportOf(1), false, false);
  MergeTypeInfo(*slice.GetVectorsUpdate(), SupportOf(2), false, false);
  MergeTypeInfo(*slice.GetPointsUpdate(), SupportOf(3), false, false);
  EXPECT_THAT(ElementsOf(slice), ElementsAre("BorderUp1+", "BorderUp2+", "BorderUp3+", "General"));
  MergeTypeInfo(slice, SupportOf(4), false, false);
  EXPECT_THAT(ElementsOf(slice), Each("BorderUp4+")) << "all in memory";

  Info info(e2DSliceVectorType::Border);
  MergeTypeInfo(info, SupportOf(5), false, false);
  EXPECT_EQ(Told(info), "BorderUp");
  MergeTypeInfo(info, SupportOf(5, e2DSliceVectorType::General), true, false);
  EXPECT_EQ(Told(info), "BorderUp5");
}

TEST(TypeAssignment, DefaultsHeedTheBoolsAndThoseOfAnotherSliceLeaveAreasAlone) {
  M2DSlice slice(0);
  MergeDefaultTypeInfo(slice, SupportOf(1), true, false);
  EXPECT_THAT(DefaultsOf(slice), Each("BorderUp1"));
  M2DSlice target(0);
  MergeDefaultTypeInfo(target, slice, false, true);
  EXPECT_THAT(DefaultsOf(target), ElementsAre("BorderUp", "BorderUp", "BorderUp", "General"));
  CopyDefaultTypeInfo(target, slice);
  EXPECT_THAT(DefaultsOf(target), Each("BorderUp1"));
}

TEST(TypeAssignment, TheCommonTypeIsOneThatAllElementsRead) {
  M2DSliceContourLayer layer;
  Info result = SupportOf(1);
  EXPECT_FALSE(GetType(layer, result));
  EXPECT_EQ(Told(result), "General");
  for (int i = 0; i < 3; ++i) layer.AddContour().SetVectorTypeInfo(SupportOf(7));
  layer.GetLast()->GetVectorTypeInfo().SetFlag(e2DSliceVectorTypeFlag::IsUpFacing, false);
  EXPECT_TRUE(GetType(layer, result)) << "an entry with its default is none";
  EXPECT_EQ(Told(result), "BorderUp7+");
  EXPECT_EQ(result.GetFlags().size(), 1u) << "the first one's";
  layer.GetLast()->GetVectorTypeInfo().SetFlag(e2DSliceVectorTypeFlag::IsUpFacing, true);
  EXPECT_FALSE(GetType(layer, result));
  EXPECT_EQ(Told(result), "General");

  M2DSlicePointLayer points;
  points.AddPointBlock().GetVectorTypeInfo().SetNumber("Power", std::nan(""));
  EXPECT_TRUE(GetType(points, result)) << "a single one is not compared, not even with itself";
  points.AddPointBlock() = *points.GetFirst();
  EXPECT_FALSE(GetType(points, result));
}

TEST(TypeAssignment, DynamicRecordsOfAreasDoNotCount) {
  M2DSliceStack stack(e2DSliceStackCachingType::NoTempFiles);
  EXPECT_FALSE(HasAMX3DynamicTypeInfo(stack));
  stack.AddSlicePosition(0);
  M2DSlice& slice = *stack.AddSlicePosition(1);
  FillAllComponents(slice);
  std::vector<bool> are_dynamic;
  M2DSlice::ForEachRow([&](auto row) {
    SetType(slice, Info());
    row.GetUpdate(slice)->GetFirst()->GetVectorTypeInfo().SetFlag("Wet", false);
    are_dynamic.push_back(HasAMX3DynamicTypeInfo(stack));
  });
  EXPECT_THAT(are_dynamic, ElementsAre(true, true, true, false));
}

TEST(TypeAssignment, ABorderThatWaitsForItsSourceKeepsTheRecordsItComesWith) {
  auto const source = boost::make_shared<M2DSliceStack>(e2DSliceStackCachingType::NoTempFiles);
  FillAllComponents(*source->AddSlicePosition(0));
  source->GetSlice(0)->GetVectorsUpdate()->GetFirst()->GetVectorTypeInfo().SetFlag("Wet", true);
  M2DSliceStack stack(e2DSliceStackCachingType::NoTempFiles);
  stack.InitFromSourceSlices(source);
  EXPECT_FALSE(HasAMX3DynamicTypeInfo(stack));
  EXPECT_FALSE(stack.GetSlice(0)->IsValidated()) << "nothing was fetched";
  SetType(stack, SupportOf(1));
  EXPECT_THAT(ElementsOf(*stack.GetSlice(0)), ElementsAre("General", "BorderUp1+", "BorderUp1+", "BorderUp1+"));
}

/// Twelve slices, of which the first six have left memory with all they have.
class PagedTypes : public ::testing::Test {
 protected:
  PagedTypes() {
    for (long z = 0; z < 12; ++z) FillAllComponents(*stack.AddSlicePosition(z));
  }

  M2DSliceComponentContours const& BorderOnDisk() { return std::as_const(stack).GetSlice(0)->GetBorderComponent(); }

  Scratch scratch;
  M2DSliceStack stack{e2DSliceStackCachingType::MultipleTempFiles};
};

TEST_F(PagedTypes, BordersOnDiskAreNotReadForTheirRecords) {
  ASSERT_FALSE(BorderOnDisk().IsDataValid());
  M2DSliceTempFile const& file = *BorderOnDisk().GetTempFile();
  auto const reads = file.GetReadCount();
  auto const& vectors = std::as_const(stack).GetSlice(0)->GetVectorsComponent();
  ASSERT_FALSE(vectors.IsDataValid());
  auto const vector_reads = vectors.GetTempFile()->GetReadCount();
  EXPECT_FALSE(HasAMX3DynamicTypeInfo(stack));
  EXPECT_EQ(vectors.GetTempFile()->GetReadCount(), vector_reads);
  SetType(stack, SupportOf(1));
  MergeTypeInfo(stack, SupportOf(2), true, true);
  EXPECT_EQ(file.GetReadCount(), reads);
  EXPECT_FALSE(BorderOnDisk().IsDataValid());

  EXPECT_THAT(ElementsOf(*stack.GetSlice(0)), Each("BorderUp2+"));
  EXPECT_EQ(file.GetReadCount(), reads + 1) << "so it is loading that is counted";
  EXPECT_THAT(Starts(*stack.GetSlice(0)), ElementsAre(0, 100, 200, 300));
}

TEST_F(PagedTypes, EverythingButTheBorderIsBroughtIn) {
  M2DSlice& slice = *stack.GetSlice(0);
  SetType(slice, SupportOf(3));
  EXPECT_FALSE(BorderOnDisk().IsDataValid());
  auto const& vectors = std::as_const(slice).GetVectorsComponent();
  EXPECT_TRUE(vectors.IsDataValid());
  EXPECT_FALSE(vectors.IsDiskStateValid());
}

TEST_F(PagedTypes, TheBoolsCountForBordersOnDiskAlone) {
  stack.GetSlice(5)->GetPointsComponent().GetTypeInfo(0).SetFlag(e2DSliceVectorTypeFlag::IsRecoating, false);
  EXPECT_TRUE(HasAMX3DynamicTypeInfo(stack)) << "found on disk";
  stack.GetSlice(5)->GetBorderComponent().InvalidateDiskState();  // lost, so that it has no records
  MergeTypeInfo(stack, SupportOf(7), false, false);
  EXPECT_THAT(ElementsOf(*stack.GetSlice(0)), ElementsAre("BorderUp", "BorderUp7+", "BorderUp7+", "BorderUp7+"));
  EXPECT_THAT(ElementsOf(*stack.GetSlice(11)), Each("BorderUp7+"));
  MergeTypeInfo(*stack.GetSlice(1), SupportOf(8), true, false);
  EXPECT_EQ(ElementsOf(*stack.GetSlice(1))[0], "BorderUp8");
}

TEST_F(PagedTypes, TheRecordOfAnElementThatLeavesMemoryIsGood) {
  Info& info = stack.GetSlice(11)->GetVectorsUpdate()->GetFirst()->GetVectorTypeInfo();
  info = SupportOf(3);
  SetType(stack, info);
  for (unsigned long i = 0; i < 12; ++i) EXPECT_THAT(ElementsOf(*stack.GetSlice(i)), Each("BorderUp3+"));
}

TEST(DefaultTypeBackup, NestedScopesPutBackWhatTheyFoundOnAllFourLayers) {
  M2DSlice slice(0);
  long model = 0;
  M2DSlice::ForEachRow([&](auto row) { row.GetUpdate(slice)->SetDefaultVectorTypeInfo(SupportOf(++model)); });
  auto const before = DefaultsOf(slice);
  {
    Backup const outer(slice, e2DSliceVectorType::Hatching, false);
    {
      Backup const inner(slice, SupportOf(9, e2DSliceVectorType::General), true);
      FillAllComponents(slice);
      SetDefaultTypeInfo(slice, e2DSliceVectorType::BorderDown);
    }
    EXPECT_THAT(DefaultsOf(slice), Each("Hatching"));
  }
  EXPECT_EQ(DefaultsOf(slice), before);
  EXPECT_THAT(ElementsOf(slice), Each("Hatching9+")) << "made in the scope";
  {
    Backup const plain(slice);
    EXPECT_EQ(DefaultsOf(slice), before);
    SetDefaultTypeInfo(slice, e2DSliceVectorType::BorderDown);
  }
  EXPECT_EQ(DefaultsOf(slice), before);
}

TEST(DefaultTypeBackup, WhatAHookThrowsPasses) {
  class : public M2DSlice {
   public:
    mutable int accesses_left = 1000;

   private:
    void _OnAccessPoints() const override {
      if (accesses_left == 0) throw std::runtime_error("no");
      --accesses_left;
    }
  } slice;
  slice.accesses_left = 1;
  EXPECT_THROW(Backup(slice, SupportOf(1), true), std::runtime_error);
  slice.accesses_left = 1000;
  EXPECT_THAT(DefaultsOf(slice), Each("General")) << "a scope that did not begin leaves nothing";

  auto const leave_scope = [&] {
    Backup const backup(slice, SupportOf(1), false);
    slice.accesses_left = 0;
  };
  EXPECT_THROW(leave_scope(), std::runtime_error);
  slice.accesses_left = 1000;
  EXPECT_THAT(DefaultsOf(slice), ElementsAre("General", "General", "BorderUp1+", "BorderUp1+"));
  EXPECT_EQ(slice.GetPointsComponent().GetUpdateCount(), 0u);
}

}  // namespace
