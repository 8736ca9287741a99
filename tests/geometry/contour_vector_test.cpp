#include <SliceData/geometry/ContourStartingPointCalculators.h>
#include <SliceData/geometry/ContourVectorConversion.h>
#include <SliceData/geometry/NextPointFunctors.h>
#include <SliceData/geometry/RemoveEqualPoints.h>

#include <algorithm>
#include <boost/make_shared.hpp>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/RandomSlices.h"

namespace {

using namespace testing_support;
using namespace M2DSliceUtilities;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr auto kUp = e2DSliceVectorType::BorderUp;
constexpr auto kDown = e2DSliceVectorType::BorderDown;

/// Fails on the third step.
struct Tired final : NextPointFunctor {
  M2DSliceContourPoint const* GetNextPoint(M2DSliceContourPoint const* point) const override {
    if (++steps == 3) throw std::runtime_error("no further");
    return point->next;
  }
  mutable int steps = 0;
};

std::vector<std::string> Converted(M2DSliceContourLayer const& contours, ContextContoursToVectors& context) {
  M2DSliceVectorLayer vectors;
  AddContoursToVectorLayer(contours, vectors, context);
  return TextsOf(vectors);
}

M2DSliceContour& AddTyped(M2DSliceContourLayer& layer, e2DSliceVectorType type, std::initializer_list<XY> points,
                          bool closed = true, bool outer = true) {
  M2DSliceContour& contour = AddContour(layer, points, closed);
  contour.SetVectorTypeInfo(type);
  contour.SetIsOuter(outer);
  return contour;
}

TEST(ContourToVectors, RunsFromPointToPointAndAppends) {
  M2DSliceContourLayer layer;
  auto& closed = AddTyped(layer, kUp, {{1, 2}, {3, 4}, {5, 6}});
  auto& open = AddTyped(layer, kDown, {{1, 2}, {3, 4}, {5, 6}}, false);
  M2DSliceVectorBlock block;
  ConvertContourToVectors(closed, block);
  EXPECT_EQ(TextOf(block), "BorderUp |  1,2>3,4 3,4>5,6 5,6>1,2");
  ConvertContourToVectors(open, block);
  EXPECT_EQ(TextOf(block), "BorderDown |  1,2>3,4 3,4>5,6 5,6>1,2 1,2>3,4 3,4>5,6");
  ConvertContourToVectors(AddTyped(layer, e2DSliceVectorType::Border, {}, false), block);
  EXPECT_EQ(block.size(), 5u);
  EXPECT_STREQ(block.GetVectorTypeInfo().GetTypeName(), "BorderDown");

  ContextContoursToVectors context;
  context.nextPointFunctor = boost::make_shared<NextPointFunctorClock>(false);
  context.startPoint = closed.GetFirstPoint()->next;
  M2DSliceVectorBlock turned;
  ConvertContourToVectors(closed, turned, context);
  EXPECT_EQ(GeometryOf(turned), " 3,4>1,2 1,2>5,6 5,6>3,4");
  context.startPoint = open.GetFirstPoint()->next;
  context.options.overlap = 1;
  ConvertContourToVectors(open, turned, context);
  EXPECT_EQ(GeometryOf(turned), " 3,4>1,2 1,2>5,6 5,6>3,4 3,4>5,6 5,6>1,2") << "in stored order, round the ring";

  context.nextPointFunctor = boost::make_shared<Tired>();
  EXPECT_THROW(ConvertContourToVectors(closed, turned, context), std::runtime_error);
  EXPECT_EQ(turned.size(), 5u) << "no vectors from nowhere";
}

TEST(ContourOverlap, LengthensOrShortensWithinOneLap) {
  constexpr long kMost = std::numeric_limits<long>::max();
  M2DSliceContourLayer layer;
  M2DSliceContour const& triangle = AddContour(layer, {{0, 0}, {0, 8}, {-6, 0}});  // 8, 10 and 6 long
  M2DSliceContour const& begins = AddContour(layer, {{0, 0}, {1, 1}, {2, 2}, {12, 2}});
  M2DSliceContour const& ends = AddContour(layer, {{0, 0}, {-7, 3}, {3, 3}, {2, 2}, {1, 1}});
  M2DSliceContour const& line = AddContour(layer, {{0, 0}, {22, 0}});
  M2DSliceContour const& large = AddContour(layer, {{0, 0}, {0, 8000}, {-6000, 0}});
  struct {
    M2DSliceContour const& contour;
    long overlap;
    char const* vectors;
  } const cases[] = {
      {triangle, 0, " 0,0>0,8 0,8>-6,0 -6,0>0,0"},
      {triangle, 8, " 0,0>0,8 0,8>-6,0 -6,0>0,0 0,0>0,8"},
      {triangle, 9, " 0,0>0,8 0,8>-6,0 -6,0>0,0 0,0>0,8 0,8>0,8"},  // 0.6 and 0.8 truncated
      {triangle, 11, " 0,0>0,8 0,8>-6,0 -6,0>0,0 0,0>0,8 0,8>-1,6"},
      {triangle, kMost, " 0,0>0,8 0,8>-6,0 -6,0>0,0 0,0>0,8 0,8>-6,0 -6,0>0,0"},
      {triangle, -1, " 0,0>0,8 0,8>-6,0 -6,0>-1,0"},
      {triangle, -6, " 0,0>0,8 0,8>-6,0 -6,0>-6,0"},
      {triangle, -9, " 0,0>0,8 0,8>-4,3"},  // 4.2 and 5.6 truncated
      {triangle, -24, " 0,0>0,0"},
      {triangle, -kMost - 1, ""},
      {begins, 5, " 0,0>1,1 1,1>2,2 2,2>12,2 12,2>0,0 0,0>1,1 1,1>2,2 2,2>4,2"},  // 5 - 2.8
      {ends, -6, " 0,0>-7,3 -7,3>1,3"},                                           // 10 - (6 - 4.2)
      {line, 15, " 0,0>22,0 22,0>0,0 0,0>15,0"},                                  // 15 / 22 is rounded down
      {line, -7, " 0,0>22,0 22,0>7,0"},
      {large, 20001, " 0,0>0,8000 0,8000>-6000,0 -6000,0>0,0 0,0>0,8000 0,8000>-6000,0 -6000,0>-4000,0"},
      {large, -20001, " 0,0>0,4000"},
  };
  for (auto const& [contour, overlap, vectors] : cases) {
    M2DSliceVectorBlock block;
    block.push_back({7, 7, 7, 7});
    ContextContoursToVectors context;
    context.options.overlap = overlap;
    ConvertContourToVectors(contour, block, context);
    EXPECT_EQ(GeometryOf(block), std::string(" 7,7>7,7") + vectors) << overlap;
    AdjustVectorsForContourOverlap(contour, block, block.size() + 1, -5);
    AdjustVectorsForContourOverlap(AddContour(layer, {}, false), block, 0, -5);
    EXPECT_EQ(GeometryOf(block), std::string(" 7,7>7,7") + vectors) << "neither beyond the end nor of an open contour";
  }
}

TEST(ContoursToVectorLayer, ConsecutiveContoursOfEqualTypeShareABlock) {
  M2DSliceContourLayer layer;
  AddTyped(layer, kUp, {{0, 0}, {1, 1}});
  AddTyped(layer, kUp, {{2, 2}, {3, 3}}, false, false);
  AddTyped(layer, kDown, {{4, 4}, {5, 5}}, false);
  AddTyped(layer, kUp, {{6, 6}, {7, 7}}, false);
  ContextContoursToVectors context;
  context.startPointCalculator = boost::make_shared<ContourStartingPointCalculatorRepeatAfter>(1, 2);
  EXPECT_THAT(Converted(layer, context),
              ElementsAre("BorderUp |  1,1>0,0 0,0>1,1 2,2>3,3", "BorderDown |  4,4>5,5", "BorderUp |  6,6>7,7"));
  EXPECT_EQ(context.startPoint, layer.GetLast()->GetFirstPoint()) << "open contours keep their first point";
  context.options.markInnerContours = true;
  EXPECT_THAT(Converted(layer, context),
              ElementsAre("BorderUp |  1,1>0,0 0,0>1,1", "BorderUp IsInnerContour=1 |  2,2>3,3",
                          "BorderDown |  4,4>5,5", "BorderUp |  6,6>7,7"));
  context.options = {};
  context.options.mergeEqualTypes = false;
  EXPECT_THAT(Converted(layer, context), ::testing::SizeIs(4));
}

TEST(ContoursToVectorLayer, AnEmptyBlockLeavesTheLayerButStaysAtHand) {
  for (bool const single_point : {false, true}) {
    M2DSliceContourLayer layer;
    M2DSliceContour& empty = AddTyped(layer, kUp, {}, !single_point);
    if (single_point) empty.AddPoint(9, 9);
    AddTyped(layer, kUp, {});
    AddTyped(layer, kUp, {{0, 0}, {1, 1}}, false);  // lost with the block
    AddTyped(layer, kUp, {});
    AddTyped(layer, kDown, {{2, 2}, {3, 3}}, false);
    AddTyped(layer, kDown, {});  // in a block that is not empty
    AddTyped(layer, kUp, {{4, 4}, {5, 5}}, false);
    ContextContoursToVectors context;
    EXPECT_THAT(Converted(layer, context), ElementsAre("BorderDown |  2,2>3,3", "BorderUp |  4,4>5,5"));
    context.options.mergeEqualTypes = false;
    EXPECT_THAT(Converted(layer, context),
                ElementsAre("BorderUp |  0,0>1,1", "BorderDown |  2,2>3,3", "BorderUp |  4,4>5,5"));
  }

  // A block that never took vectors has no mark yet: what is lost after it is an outer contour, and not an inner one.
  M2DSliceContourLayer inner;
  AddTyped(inner, kUp, {}, true, false);
  AddTyped(inner, kUp, {{0, 0}, {1, 1}}, false, false);
  ContextContoursToVectors context;
  context.options.markInnerContours = true;
  EXPECT_THAT(Converted(inner, context), ElementsAre("BorderUp IsInnerContour=1 |  0,0>1,1"));
  inner.GetLast()->SetIsOuter(true);
  EXPECT_THAT(Converted(inner, context), IsEmpty());

  M2DSliceContourLayer shortened;
  AddTyped(shortened, kUp, {{0, 0}, {1, 1}});
  AddTyped(shortened, kUp, {{2, 2}, {999, 2}});
  context.options.overlap = -100;
  EXPECT_THAT(Converted(shortened, context), IsEmpty());
}

TEST(VectorsToContours, ChainsBecomeContours) {
  struct {
    std::initializer_list<M2DSliceVector> vectors;
    std::vector<std::string> contours;
  } const cases[] = {
      {{}, {}},
      {{{0, 9, 0, 0}, {9, 9, 0, 9}, {9, 0, 9, 9}, {0, 0, 9, 0}}, {"closed outer 0,0 9,0 9,9 0,9"}},
      {{{0, 9, 0, 0}, {9, 9, 0, 9}, {9, 0, 8, 9}, {0, 0, 9, 0}}, {"open outer 0,0 9,0 9,9", "open outer 9,8 0,9 0,0"}},
      {{{5, 5, 6, 6}, {7, 8, 6, 6}}, {"closed outer 5,6", "open outer 7,6 8,6"}},
      {{{0, 1, 0, 0}, {1, 0, 0, 0}, {0, 2, 0, 0}}, {"open outer 0,0 1,0 0,0 2,0"}},
  };
  M2DSliceVectorLayer layer;
  M2DSliceContourLayer result;
  std::vector<std::string> expected;
  for (auto const& [vectors, contours] : cases) {
    AddVectors(layer, vectors).SetVectorTypeInfo(kUp);
    for (std::string const& contour : contours) expected.push_back("BorderUp | " + contour);
  }
  AddVectors(layer, {{2, 0, 0, 0}}).SetVectorTypeInfo(kDown);  // touches the chain of the block before
  expected.emplace_back("BorderDown | open outer 2,0 0,0");
  ConvertVectorsToContours(layer, result);
  EXPECT_EQ(TextsOf(result), expected);
}

TEST(RemoveEqualPoints, LooksAsOftenAsThereArePoints) {
  struct {
    std::initializer_list<XY> before;
    std::vector<XY> after;
  } const cases[] = {
      {{}, {}},
      {{{5, 5}}, {}},
      {{{5, 5}, {5, 5}, {5, 5}}, {}},
      {{{0, 0}, {1, 0}, {1, 1}, {0, 0}}, {{0, 0}, {1, 0}, {1, 1}}},
      {{{0, 0}, {0, 0}, {1, 0}}, {{0, 0}, {1, 0}}},
      // After the look that removes comes one more at the same place, so that none is left for the last point.
      {{{0, 0}, {1, 0}, {1, 0}, {2, 0}, {2, 0}}, {{0, 0}, {1, 0}, {2, 0}, {2, 0}}},
  };
  M2DSliceContourLayer layer;
  for (auto const& [before, after] : cases) AddContour(layer, before, false);
  RemoveEqualPoints(layer);
  ASSERT_EQ(layer.GetCount(), std::size(cases));
  auto contour = layer.begin();
  for (auto const& [before, after] : cases) EXPECT_EQ(PointsOf(*contour++), after);

  M2DSliceContour& kept = AddContour(layer, {{1, 1}, {1, 1}, {2, 2}});
  kept.GetFirstPoint()->next->z = 6;
  RemoveEqualPoints(kept);
  EXPECT_EQ(kept.GetFirstPoint()->z, 6) << "of two equal points the second stays, whatever its z";
}

TEST(ContourVectorConversion, AContourComesBackUpToStartAndDirection) {
  auto const seed = std::random_device()();
  SCOPED_TRACE(seed);
  Random random(seed);
  for (int round = 0; round < 500; ++round) {
    M2DSliceContourLayer layer;
    M2DSliceContour& contour = layer.AddContour();
    for (long i = Draw(random, 1, 60); i > 0; --i) contour.AddPoint(Draw(random, 0, 2), Draw(random, 0, 2));
    for (unsigned long before = 0; before != contour.GetNumPoints();) {
      before = contour.GetNumPoints();
      RemoveEqualPoints(contour);
      auto const points = PointsOf(contour);
      // Equal neighbours are left only among as many last points as went.
      std::size_t const sure = points.size() - std::min(points.size(), before - points.size());
      auto const end = points.begin() + static_cast<std::ptrdiff_t>(sure);
      ASSERT_EQ(std::adjacent_find(points.begin(), end), end);
    }
    if (contour.GetNumPoints() == 0) continue;
    long const start = Draw(random, 0, static_cast<long>(contour.GetNumPoints()) - 1);
    bool const forward = Draw(random, 0, 1) == 1;
    ContextContoursToVectors context;
    context.nextPointFunctor = boost::make_shared<NextPointFunctorClock>(forward);
    context.startPoint = contour.GetFirstPoint();
    for (long i = start; i > 0; --i) context.startPoint = context.startPoint->next;
    auto expected = PointsOf(contour);
    std::rotate(expected.begin(), expected.begin() + start, expected.end());
    if (!forward) std::reverse(expected.begin() + 1, expected.end());

    M2DSliceVectorBlock block;
    ConvertContourToVectors(contour, block, context);
    M2DSliceContourLayer back;
    ConvertVectorsToContours(block, back);
    ASSERT_EQ(back.GetCount(), 1u);
    EXPECT_TRUE(back.GetFirst()->GetIsClosed());
    EXPECT_EQ(PointsOf(*back.GetFirst()), expected);
  }
}

}  // namespace
