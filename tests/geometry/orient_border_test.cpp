#include <SliceData/geometry/M2DSliceRegion.h>
#include <SliceData/geometry/OrientBorder.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/RandomSlices.h"
#include "support/Slices.h"

namespace {

using namespace testing_support;
using M2DSliceUtilities::OrientBorder;
using ::testing::ElementsAre;

/// Twice the area; positive if the ring is counter-clockwise.
long AreaOf(std::vector<XY> const& ring) {
  long area = 0;
  for (std::size_t i = 0; i < ring.size(); ++i) {
    XY const& a = ring[i];
    XY const& b = ring[(i + 1) % ring.size()];
    area += a.first * b.second - a.second * b.first;
  }
  return area;
}

void AddRing(M2DSliceContourLayer& layer, std::vector<XY> const& points) {
  M2DSliceContour& contour = layer.AddContour();
  for (auto const& [x, y] : points) contour.AddPoint(x, y);
}

std::vector<XY> Square(long left, long bottom, long side) {
  return {{left, bottom}, {left + side, bottom}, {left + side, bottom + side}, {left, bottom + side}};
}

/// The outer flags. Contours whose direction does not fit their flag fail the test.
std::vector<bool> OrientedFlags(M2DSliceContourLayer& layer) {
  OrientBorder(layer);
  std::vector<bool> flags;
  for (M2DSliceContour const& contour : layer) {
    flags.push_back(contour.GetIsOuter());
    EXPECT_EQ(AreaOf(PointsOf(contour)) > 0, contour.GetIsOuter()) << GeometryOf(contour);
  }
  return flags;
}

TEST(OrientBorder, TurnsContoursByDepthAndKeepsTheirFirstPoints) {
  M2DSliceContourLayer layer;
  AddContour(layer, {{4, 4}, {4, 6}, {6, 6}, {6, 4}});
  AddContour(layer, {{0, 0}, {0, 10}, {10, 10}, {10, 0}}).SetIsOuter(false);
  AddContour(layer, {{3, 3}, {7, 3}, {7, 7}, {3, 7}});
  AddContour(layer, {{1, 1}, {2, 2}, {3, 1}}, false);   // open
  AddContour(layer, {{5, 5}, {5, 5}});                  // one place
  AddContour(layer, {{5, 5}, {9, 5}, {5, 5}, {1, 5}});  // on one line
  AddContour(layer, {{1, 8}, {2, 9}, {2, 8}, {1, 9}});  // lobes that cancel
  layer.AddContour();
  OrientBorder(layer);
  std::vector<std::string> texts;
  for (M2DSliceContour const& contour : layer) texts.push_back(GeometryOf(contour));
  EXPECT_THAT(texts, ElementsAre("closed outer 4,4 6,4 6,6 4,6", "closed outer 0,0 10,0 10,10 0,10",
                                 "closed inner 3,3 3,7 7,7 7,3", "open outer 1,1 2,2 3,1", "closed outer 5,5 5,5",
                                 "closed outer 5,5 9,5 5,5 1,5", "closed outer 1,8 2,9 2,8 1,9", "closed outer"));
}

struct Rectangle {
  XY low;
  XY high;
  bool is_outer;
};

/// Cuts a rectangle into rectangles, some of which become rings: their nesting is known, and they share edges and
/// corners.
void Cut(Random& random, XY low, XY high, bool is_outer, int level, std::vector<Rectangle>& rings) {
  if (Draw(random, 0, 2) == 0) {
    rings.push_back({low, high, is_outer});
    is_outer = !is_outer;
    (Draw(random, 0, 1) ? low.first : low.second) += 1;  // so that no two rings coincide
  }
  if (level == 9 || low.first >= high.first - 1 || low.second >= high.second - 1) return;
  bool const upright = Draw(random, 0, 1);
  long const x = Draw(random, low.first + 1, high.first - 1);
  long const y = Draw(random, low.second + 1, high.second - 1);
  Cut(random, low, upright ? XY(x, high.second) : XY(high.first, y), is_outer, level + 1, rings);
  Cut(random, upright ? XY(x, low.second) : XY(low.first, y), high, is_outer, level + 1, rings);
}

TEST(OrientBorder, RingsThatTouchAreNestedByWhatTheyEnclose) {
  auto const seed = std::random_device()();
  SCOPED_TRACE(seed);
  Random random(seed);
  for (int round = 0; round < 300; ++round) {
    std::vector<Rectangle> rings;
    Cut(random, {0, 0}, {64, 64}, true, 0, rings);
    std::shuffle(rings.begin(), rings.end(), random);
    long const skew = Draw(random, -5, 5);
    long const lean = Draw(random, -5, 5);
    M2DSliceContourLayer layer;
    std::vector<bool> expected;
    for (auto const& [low, high, is_outer] : rings) {
      std::vector<XY> points = {low, {high.first, low.second}, high, {low.first, high.second}};
      for (auto& [x, y] : points) y += lean * (x += skew * y);
      std::rotate(points.begin(), points.begin() + Draw(random, 0, 3), points.end());
      if (Draw(random, 0, 1)) std::reverse(points.begin(), points.end());
      AddRing(layer, points);
      expected.push_back(is_outer);
    }
    ASSERT_EQ(OrientedFlags(layer), expected);
  }
}

TEST(OrientBorder, RingsThatCrossAreJudgedJustInsideTheirLeftmostCorner) {
  constexpr long kScale = 1l << 20;
  auto const seed = std::random_device()();
  SCOPED_TRACE(seed);
  Random random(seed);
  long judged = 0;
  for (int round = 0; round < 3000; ++round) {
    M2DSliceContourLayer layer;
    std::vector<std::vector<XY>> rings;
    for (long remaining = Draw(random, 2, 12); remaining > 0; --remaining) {
      std::vector<XY>& ring = rings.emplace_back();
      long const reach = Draw(random, 1, 8);
      XY const at(Draw(random, 0, 8 - reach), Draw(random, 0, 8 - reach));
      for (long points = Draw(random, 3, 6); points > 0; --points) {
        ring.emplace_back(kScale * (at.first + Draw(random, 0, reach)), kScale * (at.second + Draw(random, 0, reach)));
      }
      if (AreaOf(ring) == 0) rings.pop_back();
    }
    for (auto const& ring : rings) AddRing(layer, ring);
    std::vector<bool> const flags = OrientedFlags(layer);

    for (std::size_t i = 0; i < rings.size(); ++i) {
      // The lowest edge at the leftmost corner, and a place close to it on each side.
      XY const corner = *std::min_element(rings[i].begin(), rings[i].end());
      XY lowest(0, 1);
      for (std::size_t j = 0; j < rings[i].size(); ++j) {
        for (std::size_t const k : {j + 1, j + rings[i].size() - 1}) {
          XY const end = rings[i][k % rings[i].size()];
          XY const way((end.first - corner.first) / kScale, (end.second - corner.second) / kScale);
          if (rings[i][j] == corner && way.first * lowest.second - way.second * lowest.first > 0) lowest = way;
        }
      }
      double const x = static_cast<double>(corner.first + 64 * lowest.first);
      double const y = static_cast<double>(corner.second + 64 * lowest.second);
      double const dx = lowest.first == 0 ? -1 : 0;
      double const dy = lowest.first == 0 ? 0 : 1;
      bool is_outer = true;
      bool is_shared = false;  // another ring runs along the edge
      std::size_t j = 0;
      for (M2DSliceContour const& contour : layer) {
        if (j++ == i) continue;
        M2DSliceRegion const region(&contour);
        auto const position = region.GetPosition(x + dx, y + dy);
        is_shared |= region.GetPosition(x, y) == M2DSliceRegion::RegionPositionOnBorder;
        is_outer ^= position == M2DSliceRegion::RegionPositionInside;
      }
      if (is_shared) continue;
      ++judged;
      ASSERT_EQ(flags[i], is_outer) << "contour " << i << " of " << ::testing::PrintToString(TextsOf(layer));
    }
  }
  EXPECT_GT(judged, 5000);
}

TEST(OrientBorder, ContoursThatCoincideLieInEachOtherInTheirOrder) {
  M2DSliceContourLayer layer;
  for (int i = 0; i < 5; ++i) AddRing(layer, Square(0, 0, 10));
  AddRing(layer, {{0, 0}, {5, 0}, {0, 5}});
  EXPECT_THAT(OrientedFlags(layer), ElementsAre(true, false, true, false, true, false));
}

TEST(OrientBorder, ABridgeOfAnotherContourIsNoBoundary) {
  M2DSliceContourLayer layer;
  AddRing(layer, Square(10, 0, 20));
  AddRing(layer, {{0, 0}, {5, 0}, {40, 0}, {45, 0}, {40, 5}, {40, 0}, {5, 0}, {0, 5}});
  EXPECT_THAT(OrientedFlags(layer), ElementsAre(true, true));
}

TEST(OrientBorder, DeepAndWideLayers) {
  M2DSliceContourLayer layer;
  std::vector<bool> expected;
  for (long i = 0; i < 2000; ++i) {
    AddRing(layer, Square(i, i, 100'000 - 2 * i));
    expected.push_back(i % 2 == 0);
  }
  EXPECT_EQ(OrientedFlags(layer), expected);

  layer.Clear();
  AddRing(layer, {{-10, -10}, {5000, -10}, {5000, 5000}, {4990, 4980}, {5000, 4980}, {4990, 5000}, {-10, 5000}});
  expected.assign(1, true);  // a frame that crosses itself in a corner
  for (long i = 0; i < 50'000; ++i) {
    AddRing(layer, Square(i % 250 * 10, i / 250 * 10, i % 3 == 0 ? 10 : 7));
    expected.push_back(false);
  }
  EXPECT_EQ(OrientedFlags(layer), expected);
}

TEST(OrientBorder, CoordinatesBeyondTheRangeAreRefused) {
  constexpr long kLimit = 1l << 46;
  M2DSliceContourLayer layer;
  AddContour(layer, {{1 - kLimit, 1 - kLimit}, {1 - kLimit, kLimit - 1}, {kLimit - 1, kLimit - 1}, {kLimit - 1, 1}});
  OrientBorder(layer);
  EXPECT_EQ(layer.GetFirst()->GetFirstPoint()->next->x, kLimit - 1);
  AddContour(layer, {{5, 5}, {5, 6}, {6, 5}});
  AddContour(layer, {{0, 0}, {0, kLimit}, {1, 1}});
  auto const before = TextsOf(layer);
  EXPECT_THROW(OrientBorder(layer), std::out_of_range);
  EXPECT_EQ(TextsOf(layer), before);
}

}  // namespace
