#include <SliceData/slice_model/M2DSliceContourLayer.h>
#include <SliceData/slice_model/M2DSlicePointLayer.h>
#include <SliceData/slice_model/M2DSliceVectorLayer.h>
#include <SliceData/slice_model/M2DSliceZArea.h>

#include "support/FailingAllocation.h"
#include "support/Slices.h"

namespace {

using namespace testing_support;
using ::testing::ElementsAre;

TEST(ContourLayer, AppendedPointsAreLastInRingOrderAndRemovalMovesTheFirst) {
  M2DSliceContourLayer layer;
  M2DSliceContour& contour = AddContour(layer, {{1, 1}});
  EXPECT_EQ(contour.GetFirstPoint()->next, contour.GetFirstPoint());
  contour.AddPoint(2, 2, 9, &layer);
  contour.AddPoint(3, 3);
  EXPECT_THAT(PointsOf(contour), ElementsAre(XY(1, 1), XY(2, 2), XY(3, 3)));
  contour.RemovePoint(contour.GetFirstPoint());
  EXPECT_THAT(PointsOf(contour), ElementsAre(XY(2, 2), XY(3, 3)));
  EXPECT_EQ(contour.GetFirstPoint()->z, 9);
  contour.RemovePoint(contour.GetFirstPoint()->next);
  contour.RemovePoint(contour.GetFirstPoint());
  EXPECT_EQ(contour.GetFirstPoint(), nullptr);
  EXPECT_EQ(contour.GetPool()->GetNumBlocks(), 0u);
}

TEST(ContourLayer, AssignmentTakesPointsFlagsAndRecordButNotThePlace) {
  M2DSliceContourLayer layer;
  M2DSliceContour& first = AddContour(layer, {{1, 1}, {2, 2}}, false);
  first.SetIsOuter(false);
  first.GetFirstPoint()->info = &layer;
  first.GetVectorTypeInfo().SetType(e2DSliceVectorType::BorderUp);
  M2DSliceContour& second = AddContour(layer, {{5, 5}});
  second = first;
  EXPECT_THAT(PointsOf(second), ElementsAre(XY(1, 1), XY(2, 2)));
  EXPECT_EQ(second.GetFirstPoint()->info, &layer);
  EXPECT_FALSE(second.GetIsClosed() || second.GetIsOuter());
  EXPECT_STREQ(second.GetVectorTypeInfo().GetTypeName(), "BorderUp");
  EXPECT_EQ(second.GetPrevious(), &first);
  second = *&second;
  EXPECT_EQ(second.GetNumPoints(), 2u);
}

TEST(ContourLayer, MovedContoursOutliveTheLayerThatMadeThem) {
  M2DSliceContourLayer target;
  AddContour(target, {{0, 0}});
  {
    M2DSliceContourLayer source;
    source.GetDefaultVectorTypeInfo().SetType(e2DSliceVectorType::BorderDown);
    AddContour(source, {{1, 2}, {3, 4}});
    AddContour(source, {{5, 6}});
    target.Add(source, true);
    EXPECT_TRUE(source.IsEmpty());
    EXPECT_EQ(source.GetFirst(), nullptr);
    AddContour(source, {{7, 8}});
  }
  ASSERT_EQ(target.GetCount(), 3u);
  EXPECT_EQ(target.GetLast()->GetFirstPoint()->x, 5);
  EXPECT_THAT(PointsOf(*target.GetLast()->GetPrevious()), ElementsAre(XY(1, 2), XY(3, 4)));
  EXPECT_STREQ(target.GetLast()->GetVectorTypeInfo().GetTypeName(), "BorderDown");

  target.Add(target, false);
  EXPECT_EQ(target.GetCount(), 6u) << "adding a layer to itself doubles it";
  target.Add(target, true);
  EXPECT_EQ(target.GetCount(), 6u);
}

TEST(ContourLayer, IsClosedWithoutContoursAndOpenWithOneOpenContour) {
  M2DSliceContourLayer layer;
  EXPECT_TRUE(layer.GetIsClosed());
  AddContour(layer, {{0, 0}});
  AddContour(layer, {{0, 0}}, false);
  EXPECT_FALSE(layer.GetIsClosed());
  auto const open = layer.Unlink(layer.GetLast());
  EXPECT_TRUE(layer.GetIsClosed());
  EXPECT_EQ(layer.GetLast(), layer.GetFirst());
}

TEST(ContourLayer, AFailedAllocationLeavesTheContourUsable) {
  M2DSliceContourLayer layer;
  M2DSliceContour& contour = AddContour(layer, {{0, 0}});
  int failures = 0;
  for (long i = 1; i < 2000; ++i) {
    bool added = false;
    {
      FailingAllocation const failing(0);
      try {
        contour.AddPoint(i, 0);
        added = true;
      } catch (std::bad_alloc const&) {
        ++failures;
      }
    }
    if (!added) contour.AddPoint(i, 0);
    ASSERT_EQ(contour.GetNumPoints(), static_cast<unsigned long>(i) + 1);
    ASSERT_EQ(contour.GetFirstPoint()->previous->x, i);
  }
  EXPECT_GT(failures, 3) << "the list of blocks grows now and then";
}

TEST(BlockLayers, AssignmentCopiesBlocksAndKeepsTheDefaultRecord) {
  M2DSliceVectorLayer source;
  source.GetDefaultVectorTypeInfo().SetType(e2DSliceVectorType::Hatching);
  AddVectors(source, {{1, 2, 3, 4}});
  M2DSliceVectorLayer target;
  target.GetDefaultVectorTypeInfo().SetType(e2DSliceVectorType::HatchingUp);
  AddVectors(target, {});
  target = source;
  ASSERT_EQ(target.GetCount(), 1u);
  EXPECT_THAT(*target.GetFirst(), ElementsAre(M2DSliceVector{1, 2, 3, 4}));
  EXPECT_STREQ(target.GetFirst()->GetVectorTypeInfo().GetTypeName(), "Hatching");
  EXPECT_STREQ(target.GetDefaultVectorTypeInfo().GetTypeName(), "HatchingUp");

  M2DSlicePointLayer points;
  AddPoints(points, {{1, 2}});
  M2DSlicePointLayer others;
  others.Add(points);
  others.Add(points, true);
  EXPECT_TRUE(points.IsEmpty());
  EXPECT_THAT(PointsOf(*others.GetLast()), ElementsAre(XY(1, 2)));
}

TEST(ZArea, HeightsFollowFromTheRecipe) {
  M2DSliceZArea area(10);
  area.SetTypeInfo({e2DSliceZAreaType::Symmetric, e2DSliceZAreaEffectiveType::Middle, 5});
  EXPECT_EQ(area.GetBottom(), 8);
  EXPECT_EQ(area.GetTop(), 13);
  EXPECT_EQ(area.GetEffectiveZ(), 10);
  area.SetTypeInfo({e2DSliceZAreaType::Below, e2DSliceZAreaEffectiveType::Top, 5});
  EXPECT_EQ(area.GetBottom(), 5);
  EXPECT_EQ(area.GetEffectiveZ(), 10);
  M2DSliceZArea const before = area++;
  EXPECT_EQ(before.GetZ(), 10);
  EXPECT_EQ(area.GetBottom(), 10);

  area.SetCustomRange(100, 130);
  EXPECT_EQ(area.GetZ(), 15);
  EXPECT_EQ(area.GetEffectiveZ(), 15);
  area.SetZ(20);
  EXPECT_EQ(area.GetBottom(), 20) << "a custom range loses its place relative to z";
  EXPECT_EQ(area.GetTop(), 50);
  EXPECT_EQ(area.GetEffectiveZ(), 35);
}

TEST(ZArea, TheSentinelMeansInvalid) {
  EXPECT_FALSE(M2DSliceZArea().IsValid());
  EXPECT_FALSE(M2DSliceZArea(4278124286).IsValid());
  M2DSliceZArea area(7);
  area.Invalidate();
  EXPECT_FALSE(area.IsValid());
  EXPECT_EQ(area.GetTop(), 7);
}

TEST(ZArea, AListCoversARangeWithBothEndsOnTheGrid) {
  std::vector<M2DSliceZArea> list;
  auto const bottoms = [&] {
    std::vector<long> result;
    for (auto const& area : list) result.push_back(area.GetBottom());
    return result;
  };
  Create2DSliceZAreaList(list, 20, 40, {e2DSliceZAreaType::Above, e2DSliceZAreaEffectiveType::Middle, 10});
  EXPECT_THAT(bottoms(), ElementsAre(10, 20, 30, 40));
  Create2DSliceZAreaList(list, 20, 40, {e2DSliceZAreaType::Below, e2DSliceZAreaEffectiveType::Middle, 10});
  EXPECT_THAT(bottoms(), ElementsAre(10, 20, 30, 40));
  Create2DSliceZAreaList(list, -25, -21, {e2DSliceZAreaType::Above, e2DSliceZAreaEffectiveType::Middle, 10});
  EXPECT_THAT(bottoms(), ElementsAre(-30));
  Create2DSliceZAreaList(list, 40, 20, {e2DSliceZAreaType::Above, e2DSliceZAreaEffectiveType::Middle, 10});
  EXPECT_TRUE(list.empty());
}

}  // namespace
