#include <SliceFormats/lattice/LatticeSource.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "SliceFiles.h"

namespace {

using SliceFormats::LatticeOptions;
using SliceFormats::LatticeSource;

struct Point {
  long x;
  long y;
};
using Polygon = std::vector<Point>;

Polygon GetPolygon(M2DSliceContour const& contour) {
  Polygon polygon;
  for (M2DSliceContourPoint const& point : contour.GetPoints()) polygon.push_back({point.x, point.y});
  return polygon;
}

/// Positive if `c` lies to the left of the way from `a` to `b`.
long Turn(Point a, Point b, Point c) {
  return (b.x - a.x) * (c.y - a.y) - (c.x - a.x) * (b.y - a.y);
}

double GetArea(Polygon const& polygon) {
  long twice = 0;
  for (std::size_t i = 0; i < polygon.size(); ++i) {
    Point const& next = polygon[(i + 1) % polygon.size()];
    twice += polygon[i].x * next.y - next.x * polygon[i].y;
  }
  return static_cast<double>(twice) / 2;
}

bool Contains(Polygon const& polygon, Point p) {
  bool inside = false;
  for (std::size_t i = 0; i < polygon.size(); ++i) {
    Point const& a = polygon[i];
    Point const& b = polygon[(i + 1) % polygon.size()];
    if ((a.y > p.y) != (b.y > p.y) && (Turn(a, b, p) > 0) == (b.y > a.y)) inside = !inside;
  }
  return inside;
}

bool IsOn(Point p, Point a, Point b) {
  return Turn(a, b, p) == 0 && p.x >= std::min(a.x, b.x) && p.x <= std::max(a.x, b.x) && p.y >= std::min(a.y, b.y) &&
         p.y <= std::max(a.y, b.y);
}

bool Touch(Point a, Point b, Point c, Point d) {
  auto const sign = [](long value) { return (value > 0) - (value < 0); };
  if (sign(Turn(a, b, c)) * sign(Turn(a, b, d)) < 0 && sign(Turn(c, d, a)) * sign(Turn(c, d, b)) < 0) return true;
  return IsOn(a, c, d) || IsOn(b, c, d) || IsOn(c, a, b) || IsOn(d, a, b);
}

/// All pairs of edges of a layer that meet anywhere but at the point they share.
int CountTouchingEdges(std::vector<Polygon> const& polygons) {
  struct Edge {
    std::size_t polygon;
    std::size_t position;
    Point from;
    Point to;
  };
  std::vector<Edge> edges;
  for (std::size_t k = 0; k < polygons.size(); ++k) {
    for (std::size_t i = 0; i < polygons[k].size(); ++i) {
      edges.push_back({k, i, polygons[k][i], polygons[k][(i + 1) % polygons[k].size()]});
    }
  }
  int count = 0;
  for (std::size_t i = 0; i < edges.size(); ++i) {
    for (std::size_t j = i + 1; j < edges.size(); ++j) {
      Edge const& a = edges[i];
      Edge const& b = edges[j];
      std::size_t const size = polygons[a.polygon].size();
      bool const follows =
          a.polygon == b.polygon && ((a.position + 1) % size == b.position || (b.position + 1) % size == a.position);
      if (follows) {
        Point const& far_end = (a.position + 1) % size == b.position ? b.to : b.from;
        count += IsOn(far_end, a.from, a.to);
      } else {
        count += Touch(a.from, a.to, b.from, b.to);
      }
    }
  }
  return count;
}

TEST(LatticeSource, GivesSimpleNestedContoursWithTheSolidOnTheLeft) {
  // The last ones: a node grid that is no multiple of the size, a cube smaller than a cell, crowded nodes.
  for (LatticeOptions const& options :
       {LatticeOptions{8, 4, 0.61}, LatticeOptions{5.0003, 3.3, 1.7}, LatticeOptions{3, 10, 0.9},
        LatticeOptions{0.02, 0.01, 0.0011}, LatticeOptions{0.01, 0.01, 0.0001}}) {
    LatticeSource const source(options);
    long const size = std::lround(options.size_mm * 10000);
    bool has_hole = false;
    double volume = 0;
    unsigned long const num_slices = source.StartGettingSlices();
    for (unsigned long i = 0; i < num_slices; ++i) {
      auto const slice = source.GetSlice(i);
      std::vector<Polygon> polygons;
      for (M2DSliceContour const& contour : slice->GetBorder()) {
        polygons.push_back(GetPolygon(contour));
        EXPECT_TRUE(contour.GetIsClosed());
        EXPECT_EQ(contour.GetIsOuter(), GetArea(polygons.back()) > 0);
        ASSERT_NE(GetArea(polygons.back()), 0);
        EXPECT_EQ(testing_support::TextOf(contour.GetVectorTypeInfo()), "Border IndexModel=0");
        volume += GetArea(polygons.back()) / static_cast<double>(size) / static_cast<double>(size) /
                  static_cast<double>(num_slices);
        has_hole = has_hole || !contour.GetIsOuter();
      }
      EXPECT_FALSE(polygons.empty());
      EXPECT_EQ(CountTouchingEdges(polygons), 0) << "layer " << i << " of size " << options.size_mm;
      for (std::size_t k = 0; k < polygons.size(); ++k) {
        std::size_t depth = 0;
        for (std::size_t other = 0; other < polygons.size(); ++other) {
          depth += other != k && Contains(polygons[other], polygons[k].front());
        }
        EXPECT_EQ(depth % 2 == 0, GetArea(polygons[k]) > 0);
      }
      M2DSliceXYArea const& area = slice->GetXYArea();
      EXPECT_TRUE(area.minX >= 0 && area.minY >= 0 && area.maxX <= size && area.maxY <= size);
    }
    if (options.size_mm > 2 * options.cell_mm - 1e-9) {
      EXPECT_TRUE(has_hole);
      EXPECT_GT(volume, 0.2);
      EXPECT_LT(volume, 0.3);
    }
  }
}

TEST(LatticeSource, HasLayersFromOneThicknessToTheSizeThatNeverChange) {
  LatticeSource const source({2, 1, 0.3});
  ASSERT_EQ(source.GetNumSlices(), 6u);
  EXPECT_EQ(source.GetSliceZPosition(0), 3000);
  EXPECT_EQ(source.GetSliceZPosition(5), 18000);
  EXPECT_EQ(source.GetSliceThickness(), 3000);
  EXPECT_EQ(source.GetXYArea(), (M2DSliceXYArea{0, 20000, 0, 20000}));
  std::string const fourth = Describe(*source.GetSlice(4));
  EXPECT_EQ(Describe(*source.GetSlice(4)), fourth);
  EXPECT_EQ(Describe(LatticeSource({2, 1, 0.3})), Describe(source));
  EXPECT_EQ(LatticeSource({1, 5, 1}).GetNumSlices(), 1u);
}

TEST(LatticeSource, RefusesMeasuresThatMakeNoLattice) {
  double const nan = std::nan("");
  for (LatticeOptions const& options : {LatticeOptions{0, 1, 1},
                                        {-1, 1, 1},
                                        {nan, 1, 1},
                                        {INFINITY, 1, 1},
                                        {1, 0, 1},
                                        {1, nan, 1},
                                        {1, 1, 0},
                                        {1, 1, 0.00001},
                                        {1, 1, 2},
                                        {10000, 1, 1},
                                        {1, 1e-9, 0.1},
                                        {0.001, 1, 0.001},
                                        {1, 0.005, 0.1},
                                        {1e9, 1e9, 1}}) {
    EXPECT_THROW(LatticeSource{options}, std::invalid_argument)
        << options.size_mm << ' ' << options.cell_mm << ' ' << options.thickness_mm;
  }
}

}  // namespace
