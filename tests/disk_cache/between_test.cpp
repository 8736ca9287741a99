#include <SliceData/slice_stack/M2DSliceBasicContainer.h>
#include <SliceData/slice_stack/M2DSliceStack.h>

#include <boost/make_shared.hpp>
#include <system_error>

#include "support/Scratch.h"
#include "support/Slices.h"

// What happens to a record between two steps of somebody else.

namespace {

using namespace testing_support;
using ::testing::ElementsAre;

class Between : public ::testing::Test {
 protected:
  Scratch scratch;
};

TEST_F(Between, APushThatFailedIsRepeatedWithoutAShift) {
  M2DSliceStack stack(e2DSliceStackCachingType::MultipleTempFiles);
  M2DSliceStackSlice* const slice = stack.AddSlicePosition(1);
  auto& border = slice->GetBorderComponent();
  ASSERT_TRUE(border.PrepareForPushingData());
  border.PushContour();
  constexpr long kPoints = 100'000;  // more than the buffer of a file
  int failures = 0;
  for (long i = 0; i < kPoints; ++i) {
    bool pushed = false;
    if (failures == 0) {
      FullDisk const full(1);
      try {
        border.PushContourPoint(i, -i);
        pushed = true;
      } catch (std::system_error const&) {
        ++failures;
      }
    }
    if (!pushed) border.PushContourPoint(i, -i);
  }
  EXPECT_EQ(failures, 1);
  ASSERT_EQ(border.GetNumPoints(0), static_cast<unsigned long>(kPoints));
  long i = 0;
  for (M2DSliceContourPoint const& point : slice->GetBorder().GetFirst()->GetPoints()) {
    ASSERT_EQ(point.x, i);
    ASSERT_EQ(point.y, -i++);
  }
}

TEST_F(Between, AReadOfAnotherSliceBetweenTwoPushesHarmsNeither) {
  M2DSliceStack stack(e2DSliceStackCachingType::MultipleTempFiles);
  for (long z = 0; z < 20; ++z) AddContour(*stack.AddSlicePosition(z)->GetBorderUpdate(), {{z, 1}, {z, 2}, {z, 3}});
  auto& border = stack.AddSlicePosition(100)->GetBorderComponent();
  ASSERT_TRUE(border.PrepareForPushingData());
  border.PushContour();
  border.PushContourPoint(7, 7);
  long x = 0;
  long y = 0;
  std::as_const(*stack.GetSlice(1)).GetBorderComponent().GetContourPoint(0, 0, x, y);
  border.PushContourPoint(8, 8);
  EXPECT_THAT(PointsOf(*stack.GetSlice(1)->GetBorder().GetFirst()), ElementsAre(XY(1, 1), XY(1, 2), XY(1, 3)));
  EXPECT_THAT(PointsOf(*stack.GetSlice(20)->GetBorder().GetFirst()), ElementsAre(XY(7, 7), XY(8, 8)));
}

TEST_F(Between, ASliceThatWaitsForItsSourceShowsNothingOfAnOlderRecord) {
  M2DSliceStack stack(e2DSliceStackCachingType::MultipleTempFiles);
  for (long z = 0; z < 20; ++z) AddContour(*stack.AddSlicePosition(z)->GetBorderUpdate(), {{z, 1}});
  M2DSlice fresh(0);
  AddContour(*fresh.GetBorderUpdate(), {{5, 5}, {6, 6}});
  auto const source = boost::make_shared<M2DSliceBasicContainer>();
  source->AddSlice(&fresh);
  stack.InitFromSourceSlices(source);
  M2DSliceBaseInfo info;
  stack.GetSlice(0)->GetBaseInfo(info);
  EXPECT_TRUE(info.border.contours.empty());
  EXPECT_EQ(std::as_const(*stack.GetSlice(0)).GetBorderComponent().GetNumContours(), 0u);
  EXPECT_THAT(PointsOf(*stack.GetSlice(0)->GetBorder().GetFirst()), ElementsAre(XY(5, 5), XY(6, 6)));
}

TEST_F(Between, ASliceThatMovesUnderZRangeLeavesNoTrace) {
  M2DSliceStack stack(e2DSliceStackCachingType::ZRange);
  for (long z : {0, 10}) AddContour(*stack.AddSlicePosition(z)->GetBorderUpdate(), {{z, 1}});
  stack.GetSlice(0)->SetZArea(M2DSliceZArea(5));
  stack.GetSlice(0)->GetBorder();
  EXPECT_TRUE(stack.RemoveSlicePosition(0));
  AddContour(*stack.AddSlicePosition(500'000)->GetBorderUpdate(), {{9, 9}});
  EXPECT_FALSE(std::as_const(*stack.GetSlice(0)).GetBorderComponent().IsDataValid()) << "evicted";
  EXPECT_THAT(PointsOf(*stack.GetSlice(0)->GetBorder().GetFirst()), ElementsAre(XY(10, 1)));
}

}  // namespace
