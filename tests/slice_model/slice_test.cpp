#include <SliceData/slice_model/M2DSlice.h>

#include <string>
#include <utility>

#include "support/Slices.h"

namespace {

using namespace testing_support;
using ::testing::Each;
using ::testing::ElementsAre;

/// Notes the hooks that run, as letters: b, v, p, a for an access, capitals for a change.
class SliceWithLog : public M2DSlice {
 public:
  using M2DSlice::M2DSlice;
  void _OnAccessBorder() const override { log += 'b'; }
  void _OnAccessVectors() const override { log += 'v'; }
  void _OnAccessPoints() const override { log += 'p'; }
  void _OnAccessAreas() const override { log += 'a'; }
  void _OnChangedBorder() override {
    _Changed('B', [&] { M2DSlice::_OnChangedBorder(); });
  }
  void _OnChangedVectors() override {
    _Changed('V', [&] { M2DSlice::_OnChangedVectors(); });
  }
  void _OnChangedPoints() override {
    _Changed('P', [&] { M2DSlice::_OnChangedPoints(); });
  }
  void _OnChangedAreas() override {
    _Changed('A', [&] { M2DSlice::_OnChangedAreas(); });
  }
  void _OnClear() override { log += '<'; }
  void _OnCleared() override { log += '>'; }

  std::string TakeLog() { return std::move(log); }

 private:
  template <class Base>
  void _Changed(char letter, Base base) {
    log += letter;
    base();
  }

  mutable std::string log;
};

TEST(Slice, AssignmentReplacesGeometryAndTakesZOnlyWhereThereIsNone) {
  M2DSlice source(100);
  FillAllComponents(source, 1000);
  source.SetIsComplete(false);
  M2DSlice target(50);
  FillAllComponents(target);
  FillAllComponents(target);
  target = source;
  EXPECT_THAT(Counts(target), Each(1u));
  EXPECT_THAT(Starts(target), ElementsAre(1000, 1100, 1200, 1300));
  EXPECT_EQ(target.GetZArea().GetZ(), 50);
  EXPECT_TRUE(target.IsComplete()) << "not copied";
  EXPECT_THAT(Counts(source), Each(1u));

  M2DSlice without_z;
  without_z = source;
  EXPECT_EQ(without_z.GetZArea().GetZ(), 100);
  without_z = *&without_z;
  EXPECT_THAT(Counts(without_z), Each(1u));
}

TEST(Slice, CopyFromRunsTheSourcesChangeHooksEvenWhenItOnlyCopies) {
  SliceWithLog source(1);
  FillAllComponents(source);
  SliceWithLog target(2);
  source.TakeLog();
  target.CopyFrom(source, false);
  EXPECT_EQ(source.TakeLog(), "bBvVpPaA");
  EXPECT_EQ(target.TakeLog(), "bBvVpPaA");
  EXPECT_THAT(Counts(source), Each(1u));
  source.TakeLog();
  target.CopyFrom(source, true);
  EXPECT_THAT(Counts(source), Each(0u));
  EXPECT_THAT(Counts(target), Each(1u));

  target.TakeLog();
  target.Add(static_cast<M2DSlice const&>(source));
  EXPECT_EQ(target.TakeLog(), "bBvVpPaA");
}

TEST(Slice, SwapExchangesGeometryAndLeavesValidHeightsInPlace) {
  M2DSlice low(10);
  FillAllComponents(low);
  M2DSlice high(20);
  FillAllComponents(high, 5);
  low.Swap(high);
  EXPECT_THAT(Starts(low), ElementsAre(5, 105, 205, 305));
  EXPECT_THAT(Starts(high), ElementsAre(0, 100, 200, 300));
  EXPECT_EQ(low.GetZArea().GetZ(), 10);

  M2DSlice nowhere;
  nowhere.Swap(high);
  EXPECT_EQ(nowhere.GetZArea().GetZ(), 20);
  EXPECT_THAT(Starts(nowhere), ElementsAre(0, 100, 200, 300));
}

TEST(Slice, ClearRunsTheHooksInOrderAndInvalidatesZ) {
  SliceWithLog logged(1);
  FillAllComponents(logged);
  logged.TakeLog();
  logged.Clear();
  EXPECT_EQ(logged.TakeLog(), "<BVPA>");

  M2DSlice slice(7);
  FillAllComponents(slice);
  slice.Clear();
  EXPECT_FALSE(slice.GetZArea().IsValid());
  EXPECT_FALSE(slice.IsXYAreaValid());
  EXPECT_TRUE(slice.GetXYArea().IsEmpty());
}

TEST(Slice, CopyToALayerCountsAsAChangeOnlyWhenItMoves) {
  SliceWithLog slice(1);
  FillAllComponents(slice);
  M2DSliceContourLayer contours;
  AddContour(contours, {{9, 9}});
  slice.TakeLog();
  slice.CopyBorderTo(contours, false);
  EXPECT_EQ(slice.TakeLog(), "b");
  EXPECT_EQ(contours.GetCount(), 1u);
  EXPECT_EQ(contours.GetFirst()->GetNumPoints(), 3u);
  slice.CopyBorderTo(contours, true);
  EXPECT_EQ(slice.TakeLog(), "bB");
  EXPECT_TRUE(slice.GetBorder().IsEmpty());
  slice.CopyAreasFrom(contours, true);
  EXPECT_EQ(slice.TakeLog(), "baA");
  EXPECT_EQ(slice.GetAreas().GetCount(), 1u);
  M2DSliceVectorLayer vectors;
  slice.CopyVectorsTo(vectors, false);
  slice.CopyVectorsFrom(vectors, false);
  EXPECT_EQ(slice.GetVectors().GetCount(), 1u);
}

TEST(Slice, IsEmptyLooksAtPointsAndVectorsNotAtElements) {
  M2DSlice slice(0);
  slice.GetBorderUpdate()->AddContour();
  slice.GetPointsUpdate()->AddPointBlock();
  EXPECT_TRUE(slice.IsEmpty());
  AddContour(*slice.GetAreasUpdate(), {{0, 0}});
  EXPECT_FALSE(slice.IsEmpty());
}

TEST(Slice, TheXYAreaCoversAllComponentsAndFollowsChanges) {
  M2DSlice slice(0);
  EXPECT_TRUE(slice.IsXYAreaValid());
  FillAllComponents(slice);
  EXPECT_EQ(slice.GetXYArea(), (M2DSliceXYArea{0, 310, 0, 10}));
  EXPECT_TRUE(slice.IsXYAreaValid());
  slice.GetVectorsUpdate()->GetFirst()->front().y2 = -40;
  EXPECT_EQ(slice.GetXYArea().minY, -40);
  slice.GetBorderComponent();
  EXPECT_FALSE(slice.IsXYAreaValid()) << "whoever asks for a writable component may change it";
}

TEST(Slice, TheSummaryTellsFlagsCountsRecordsAndExtents) {
  M2DSlice slice(0);
  M2DSliceContour& contour = AddContour(*slice.GetBorderUpdate(), {{4, 5}, {-3, 9}}, false);
  contour.SetIsOuter(false);
  contour.GetVectorTypeInfo().SetType(e2DSliceVectorType::BorderUp);
  AddPoints(*slice.GetPointsUpdate(), {{100, 200}});
  M2DSliceBaseInfo info;
  slice.GetBaseInfo(info);
  ASSERT_EQ(info.border.contours.size(), 1u);
  M2DSliceBaseInfoContour const& entry = info.border.contours[0];
  EXPECT_FALSE(entry.closed || entry.outer);
  EXPECT_EQ(entry.numPoints, 2u);
  EXPECT_STREQ(entry.typeInfo.GetTypeName(), "BorderUp");
  EXPECT_EQ(entry.xyArea, (M2DSliceXYArea{-3, 4, 5, 9}));
  EXPECT_TRUE(info.vectors.xyArea.IsEmpty());
  EXPECT_EQ(info.xyArea, (M2DSliceXYArea{-3, 100, 5, 200}));
  slice.GetBaseInfo(info);
  EXPECT_EQ(info.border.contours.size(), 2u) << "a record that is used again is added to";

  // A block of points in memory has no box by `GetBoundingBox`; the summary measures it.
  M2DSliceXYArea area;
  std::as_const(slice).GetPointsComponent().GetBoundingBox(0, area);
  EXPECT_TRUE(area.IsEmpty());
  M2DSliceBaseInfoPointBlock block;
  std::as_const(slice).GetPointsComponent().GetBaseInfo(0, block);
  EXPECT_EQ(block.xyArea, (M2DSliceXYArea{100, 100, 200, 200}));
}

TEST(Slice, InvertTurnsContoursAndLeavesAreas) {
  M2DSlice slice(0);
  AddContour(*slice.GetBorderUpdate(), {{1, 0}, {2, 0}, {3, 0}}, true);
  AddContour(*slice.GetBorderUpdate(), {{1, 0}, {2, 0}, {3, 0}}, false);
  slice.GetBorderUpdate()->AddContour();
  AddContour(*slice.GetAreasUpdate(), {{1, 0}, {2, 0}, {3, 0}}, false);
  slice.InvertContourData();
  EXPECT_THAT(PointsOf(*slice.GetBorder().GetFirst()), ElementsAre(XY(1, 0), XY(3, 0), XY(2, 0)));
  EXPECT_THAT(PointsOf(*slice.GetBorder().GetFirst()->GetNext()), ElementsAre(XY(3, 0), XY(2, 0), XY(1, 0)));
  EXPECT_THAT(PointsOf(*slice.GetAreas().GetFirst()), ElementsAre(XY(1, 0), XY(2, 0), XY(3, 0)));
}

TEST(Component, TheIndexFollowsEveryWayOfReplacingTheLayer) {
  M2DSlice slice(0);
  auto const& component = std::as_const(slice).GetBorderComponent();
  AddContour(*slice.GetBorderUpdate(), {{1, 1}});
  EXPECT_EQ(component.GetNumPoints(0), 1u);
  AddContour(*slice.GetBorderUpdate(), {{1, 1}, {2, 2}});
  EXPECT_EQ(component.GetNumPoints(1), 2u);

  M2DSliceContourLayer other;
  AddContour(other, {{1, 1}, {2, 2}, {3, 3}});
  AddContour(other, {});
  slice.CopyBorderFrom(other, false);
  EXPECT_EQ(component.GetNumPoints(0), 3u);
  AddContour(other, {{1, 1}, {2, 2}, {3, 3}, {4, 4}});
  other.Unlink(other.GetFirst());
  slice.GetBorderComponent().ValidateData(other, true);
  EXPECT_EQ(component.GetNumPoints(1), 4u);
}

TEST(Component, StatesAndHandles) {
  M2DSlice slice(0);
  FillAllComponents(slice);
  auto& border = slice.GetBorderComponent();
  EXPECT_FALSE(border.ValidateData()) << "already in memory";
  EXPECT_EQ(border.GetFilePosition(), 0xFFFFFFFF);
  {
    auto const first = slice.GetBorderUpdate();
    auto second = first;
    second = slice.GetBorderUpdate();
    EXPECT_EQ(border.GetUpdateCount(), 2u);
  }
  EXPECT_EQ(border.GetUpdateCount(), 0u);
  border.InvalidateData();
  EXPECT_FALSE(border.IsDataValid());
  EXPECT_TRUE(border.IsDataEmpty());
  border.Clear();
  EXPECT_TRUE(border.IsDataValid());
}

}  // namespace
