#include <SliceData/geometry/M2DSliceRegions.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <vector>

#include "support/RandomSlices.h"
#include "support/Slices.h"

namespace {

using namespace testing_support;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr auto kOnBorder = M2DSliceRegion::RegionPositionOnBorder;
constexpr auto kInside = M2DSliceRegion::RegionPositionInside;
constexpr auto kOutside = M2DSliceRegion::RegionPositionOutside;

constexpr long kMin = std::numeric_limits<long>::min();
constexpr long kMax = std::numeric_limits<long>::max();

M2DSliceContour& AddSquare(M2DSliceContourLayer& layer, long from, long to) {
  return AddContour(layer, {{from, from}, {to, from}, {to, to}, {from, to}});
}

TEST(Region, TellsBorderInsideAndOutside) {
  EXPECT_EQ(kOnBorder, 0u);
  EXPECT_EQ(kInside, 1u);
  EXPECT_EQ(kOutside, 2u);
  M2DSliceContourLayer layer;
  AddSquare(layer, 0, 100);
  AddContour(layer, {{50, 20}, {80, 50}, {50, 80}, {20, 50}}, false);  // a hole, and open contours are rings too
  M2DSliceRegion const region(&layer);
  EXPECT_EQ(region.GetPosition(10, 50), kInside);  // passes corners of the hole at their height
  EXPECT_EQ(region.GetPosition(10, 80), kInside);
  EXPECT_EQ(region.GetPosition(90, 20), kInside);
  EXPECT_EQ(region.GetPosition(50, 50), kOutside);
  EXPECT_EQ(region.GetPosition(-1, 50), kOutside);
  EXPECT_EQ(region.GetPosition(100, 100), kOnBorder);
  EXPECT_EQ(region.GetPosition(33.25, 100), kOnBorder);
  EXPECT_EQ(region.GetPosition(35.5, 34.5), kOnBorder);
  EXPECT_EQ(region.GetPosition(35.5, 34.4), kInside);
  EXPECT_EQ(region.GetPosition(35.5, 34.6), kOutside);
  EXPECT_EQ(region.GetPosition(99.5, 99.5), kInside);
  EXPECT_EQ(region.GetPosition(50, 20.5), kOutside);  // just above a corner
  M2DSliceRegion const below(&AddSquare(layer, -3, 0));
  EXPECT_EQ(below.GetPosition(-0.5, -0.5), kInside);
  double const nan = std::nan("");
  double const infinity = std::numeric_limits<double>::infinity();
  for (double const bad : {nan, infinity, -infinity, 1e300}) {
    EXPECT_EQ(region.GetPosition(bad, 50), kOutside);
    EXPECT_EQ(region.GetPosition(50, bad), kOutside);
  }
  EXPECT_EQ(M2DSliceRegion().GetPosition(0, 0), kOutside);
}

TEST(Region, ComparesLargeCoordinatesWithoutRoundingThem) {
  constexpr long kEven = 1l << 53;  // kEven + 1 is no double
  M2DSliceContourLayer layer;
  AddContour(layer, {{0, 0}, {kEven + 1, 0}, {kEven + 1, kEven + 1}, {0, kEven + 1}});
  M2DSliceRegion const region(&layer);
  EXPECT_EQ(region.GetPosition(5, 0x1p53), kInside);
  EXPECT_EQ(region.GetPosition(5, 0x1p53 + 2), kOutside);
  M2DSliceRegion const roof(&AddContour(layer, {{0, 0}, {kEven + 2, 0}, {kEven + 1, 100}}));
  EXPECT_EQ(roof.GetPosition(0x1p53, 100), kOutside);
  layer.Clear();
  AddContour(layer, {{kMin, kMin}, {kMax, kMin}, {kMax, kMax}, {kMin, kMax}});
  M2DSliceRegion const all(&layer);
  EXPECT_EQ(all.GetPosition(0, 0), kInside);
  EXPECT_EQ(all.GetPosition(-0x1p63, -0x1p63), kOnBorder);
  EXPECT_EQ(all.GetPosition(0x1p63, 0), kOnBorder);  // where an edge passes, is rounded
  EXPECT_EQ(all.GetPosition(0, 0x1p63), kOutside);
}

TEST(Region, OnlyAddContourListsOuterContours) {
  M2DSliceContourLayer layer;
  M2DSliceContour& hole = AddSquare(layer, 10, 20);
  hole.SetIsOuter(false);
  M2DSliceContour const& outer = AddSquare(layer, 0, 100);
  std::vector<M2DSliceContour const*> contours = {&hole, &outer};
  EXPECT_THAT(M2DSliceRegion(&layer).outerContours, ElementsAre(&outer));
  EXPECT_THAT(M2DSliceRegion(contours).outerContours, IsEmpty());
  EXPECT_EQ(M2DSliceRegion(contours).GetContoursConst(), M2DSliceRegion(&layer).GetContoursConst());

  M2DSliceRegion region(&hole);
  EXPECT_EQ(region.GetPosition(5, 5), kOutside);
  region.AddContour(&outer);  // forgets the extremes
  EXPECT_EQ(region.GetPosition(5, 5), kInside);
}

TEST(Region, ElementsAreJudgedByTheirFirstPointOffTheBorder) {
  M2DSliceContourLayer layer;
  M2DSliceRegion const region(&AddSquare(layer, 0, 100));
  EXPECT_EQ(region.GetPosition(region), kOnBorder);
  EXPECT_EQ(region.GetPosition(M2DSliceRegion()), kOnBorder);
  EXPECT_EQ(region.GetPosition(M2DSliceRegion(&AddContour(layer, {{0, 5}, {5, 5}, {500, 5}}))), kInside);
  EXPECT_EQ(region.GetPosition(M2DSliceRegion(&AddContour(layer, {{0, 5}, {500, 5}, {5, 5}}))), kOutside);
  M2DSliceVectorLayer vectors;
  EXPECT_EQ(region.GetPosition(&AddVectors(vectors, {{0, 500, 0, 500}, {5, 500, 5, 500}})), kInside);
  EXPECT_EQ(region.GetPosition(&AddVectors(vectors, {{0, 5, 0, 5}})), kOnBorder);
}

/// Without a division: an edge and the point in 128 bits.
M2DSliceRegion::RegionPosition ExactPosition(std::vector<XY> const& ring, XY probe) {
  __extension__ typedef __int128 Int128;
  bool inside = false;
  for (std::size_t i = 0; i < ring.size(); ++i) {
    auto const [x1, y1] = ring[i];
    auto const [x2, y2] = ring[(i + 1) % ring.size()];
    auto const [x, y] = probe;
    Int128 const turn = static_cast<Int128>(x2 - x1) * (y - y1) - static_cast<Int128>(y2 - y1) * (x - x1);
    bool const in_box =
        std::min(x1, x2) <= x && x <= std::max(x1, x2) && std::min(y1, y2) <= y && y <= std::max(y1, y2);
    if (turn == 0 && in_box) return kOnBorder;
    if ((y1 > y) != (y2 > y) && (y2 > y1 ? turn < 0 : turn > 0)) inside = !inside;
  }
  return inside ? kInside : kOutside;
}

TEST(Region, PositionAgreesWithExactArithmetic) {
  constexpr long kHalf = 1l << 25;
  auto const seed = std::random_device()();
  SCOPED_TRACE(seed);
  Random random(seed);
  for (int round = 0; round < 3000; ++round) {
    // Coarse grids give corners at equal heights and long edges with whole points on them.
    long const step = 1l << Draw(random, 0, 26);
    auto const draw = [&] { return step * Draw(random, -(kHalf / step), kHalf / step); };
    XY const origin(kHalf * Draw(random, -1, 1), kHalf * Draw(random, -1, 1));
    M2DSliceContourLayer layer;
    M2DSliceContour& contour = layer.AddContour();
    M2DSliceContour& other = layer.AddContour();
    for (long remaining = Draw(random, 1, 12); remaining > 0; --remaining) {
      contour.AddPoint(origin.first + draw(), origin.second + draw());
      if (round % 3 == 0) other.AddPoint(0, 0);  // points that do not lie side by side
    }
    if (round % 3 == 1) contour.SetFirstPoint(contour.GetFirstPoint()->previous);
    std::vector<XY> const ring = PointsOf(contour);
    M2DSliceRegion const region(&contour);
    for (std::size_t i = 0; i < ring.size(); ++i) {
      auto const [x1, y1] = ring[i];
      auto const [x2, y2] = ring[(i + 1) % ring.size()];
      long const parts = std::max(1l, std::gcd(x2 - x1, y2 - y1));
      long const part = Draw(random, 0, parts);
      XY const on_edge(x1 + (x2 - x1) / parts * part, y1 + (y2 - y1) / parts * part);
      std::vector<XY> const probes = {ring[i],
                                      on_edge,
                                      {on_edge.first - 1, on_edge.second},
                                      {on_edge.first, on_edge.second + 1},
                                      {origin.first + draw(), y1},
                                      {origin.first + draw(), origin.second + draw()}};
      for (XY const& probe : probes) {
        ASSERT_EQ(region.GetPosition(static_cast<double>(probe.first), static_cast<double>(probe.second)),
                  ExactPosition(ring, probe))
            << GeometryOf(contour) << " at " << probe.first << ',' << probe.second;
      }
    }
  }
}

TEST(Regions, TheInnermostRegionSuitsWhicheverComesFirst) {
  M2DSliceContourLayer layer;
  M2DSliceVectorLayer vectors;
  M2DSliceContour const& square = AddSquare(layer, 0, 100);
  M2DSliceContour const& within = AddContour(layer, {{0, 0}, {50, 0}, {50, 50}, {0, 50}, {10, 10}});
  for (bool const turned : {false, true}) {
    M2DSliceRegions regions;
    EXPECT_EQ(regions.GetSuitedRegion(1, 1), std::numeric_limits<unsigned long>::max());
    regions.regions = {M2DSliceRegion(turned ? &within : &square), M2DSliceRegion(turned ? &square : &within),
                       M2DSliceRegion(&AddSquare(layer, 200, 300))};
    unsigned long const inner = turned ? 0 : 1;
    regions.AddDummyRegion();
    EXPECT_EQ(regions.GetSuitedRegion(40, 40), inner);
    EXPECT_EQ(regions.GetSuitedRegion(90, 90), 1 - inner);
    EXPECT_EQ(regions.GetSuitedRegion(150, 150), 3u);
    EXPECT_EQ(regions.GetSuitedRegion(&AddVectors(vectors, {{0, 250, 0, 250}, {40, 250, 30, 250}})), inner);
    EXPECT_EQ(regions.GetSuitedRegion(&AddSquare(layer, 250, 400)), 2u);
    EXPECT_EQ(regions.GetSuitedRegion(&AddVectors(vectors, {})), inner);  // an empty block is at home everywhere
  }
}

TEST(Regions, OnePointDecidesOnNesting) {
  M2DSliceContourLayer layer;
  M2DSliceRegions regions;
  regions.regions = {M2DSliceRegion(&AddSquare(layer, 0, 100)),
                     M2DSliceRegion(&AddContour(layer, {{100, 100}, {90, 90}, {500, -500}, {20, 20}}))};
  EXPECT_EQ(regions.GetSuitedRegion(90, 90), 1u);  // mostly outside the square, but (90, 90) comes first
}

std::vector<long> MinimaOf(M2DSliceRegions const& regions) {
  std::vector<long> minima;
  for (M2DSliceRegion const& region : regions.regions) minima.push_back(region.minX);
  return minima;
}

TEST(Regions, SortMakesColumnsWithDivisionTowardsZero) {
  M2DSliceContourLayer layer;
  M2DSliceRegions regions;
  auto const add = [&](long x, long y) {
    regions.regions.emplace_back(&AddContour(layer, {{x, y}, {x + 10, y}, {x, y + 10}}));
  };
  regions.AddDummyRegion();
  add(1000, 0);
  add(900, 2000);
  add(-900, 1500);
  add(100, 3000);
  add(101, -999);
  add(-1000, 5000);
  regions.Sort(1000);
  EXPECT_THAT(MinimaOf(regions), ElementsAre(-1000, 101, -900, 900, 100, 1000, kMax));
  EXPECT_EQ(regions.dummyRegionIndex, 0u);

  add(kMin, 0);
  regions.Sort(-1);
  EXPECT_THAT(MinimaOf(regions), ElementsAre(kMax, 1000, 900, 101, 100, -900, -1000, kMin));
  EXPECT_DEBUG_DEATH(
      {
        regions.Sort(0);
        EXPECT_EQ(regions.regions.front().minX, kMax);
      },
      "gridSize");
}

}  // namespace
