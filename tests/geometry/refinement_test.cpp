#include <SliceData/geometry/Transform.h>
#include <SliceData/geometry/Transformation.h>
#include <SliceData/geometry/TransformationDistortion.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "support/RandomSlices.h"

namespace {

using namespace M2DSliceUtilities;
using namespace testing_support;

/// Bends lines into parabolas.
class Bend final : public iTransformation {
 public:
  explicit Bend(double strength) : m_strength(strength) {}
  Bend* _Clone() const override { return new Bend(*this); }
  void _Transform(double& x, double& y) const override { y += m_strength * x * x; }

 private:
  double m_strength;
};

M2DSliceContour& AddPolygon(M2DSliceContourLayer& layer, Random& random) {
  M2DSliceContour& contour = layer.AddContour();
  for (long remaining = Draw(random, 2, 7); remaining > 0; --remaining) {
    contour.AddPoint(Draw(random, -500'000, 500'000), Draw(random, -500'000, 500'000));
  }
  return contour;
}

double DistanceFromSegment(double x, double y, M2DSliceContourPoint const& a, M2DSliceContourPoint const& b) {
  auto const ax = static_cast<double>(a.x);
  auto const ay = static_cast<double>(a.y);
  double const dx = static_cast<double>(b.x) - ax;
  double const dy = static_cast<double>(b.y) - ay;
  double const length = dx * dx + dy * dy;
  double const t = length > 0 ? std::clamp(((x - ax) * dx + (y - ay) * dy) / length, 0.0, 1.0) : 0;
  return std::hypot(x - ax - t * dx, y - ay - t * dy);
}

TEST(Refinement, AddsNothingWhereLinesStayStraight) {
  Random random(5);
  for (int round = 0; round < 200; ++round) {
    M2DSliceContourLayer layer;
    auto const num_points = AddPolygon(layer, random).GetNumPoints();
    TransformationMatrix matrix;
    matrix.MakeRotation(static_cast<double>(Draw(random, 0, 359)));
    matrix.a *= static_cast<double>(Draw(random, 1, 9)) / 3;
    matrix.tx = static_cast<double>(Draw(random, -100'000, 100'000)) / 7;
    Transform(layer, matrix, {true, 1});
    EXPECT_EQ(layer.GetFirst()->GetNumPoints(), num_points);
  }
}

/// The middle of a piece of a parabola is where it is farthest from the straight line.
TEST(Refinement, StaysWithinTheDeviationOfACurve) {
  Random random(6);
  for (int round = 0; round < 60; ++round) {
    M2DSliceContourLayer layer;
    M2DSliceContour& contour = AddPolygon(layer, random);
    M2DSliceContourLayer before;
    before.Add(layer);
    long const max_deviation = Draw(random, 5, 500);
    Bend const bend(static_cast<double>(Draw(random, 1, 40)) * 1e-8);
    Transform(contour, bend, {true, max_deviation});

    M2DSliceContourPoint const* piece = contour.GetFirstPoint();
    for (M2DSliceContourPoint const& point : before.GetFirst()->GetPoints()) {
      for (int step = 0; step < 2000; ++step) {
        double const t = step / 2000.0;
        double x = static_cast<double>(point.x) * (1 - t) + static_cast<double>(point.next->x) * t;
        double y = static_cast<double>(point.y) * (1 - t) + static_cast<double>(point.next->y) * t;
        bend.Transform(x, y);
        // The curve runs along the pieces, so the right one is this or one of the next.
        double const limit = static_cast<double>(max_deviation) + 2;  // coordinates are truncated
        int skipped = 0;
        while (DistanceFromSegment(x, y, *piece, *piece->next) > limit && skipped < 50) {
          piece = piece->next;
          ++skipped;
        }
        ASSERT_LT(skipped, 50) << "round " << round << ", t " << t;
      }
    }
  }
}

/// Splitting ends at pieces shorter than the deviation, whatever a table makes of them.
TEST(Refinement, EndsUnderHostileTables) {
  double const infinity = std::numeric_limits<double>::infinity();
  double const nan = std::numeric_limits<double>::quiet_NaN();
  for (double const value : {1e300, -1e18, infinity, -infinity, nan}) {
    DistortionTable<double> table;
    for (double const x : {0.0, 300.0, 301.0, 900.0}) {
      for (double const y : {-infinity, 0.0, 500.0, infinity}) table.Add(x, y, x == 300.0 ? value : x, y);
    }
    table.Add(nan, 0, 0, 0);
    TransformationDistortion distortion;
    distortion.SetLookupTable(table);
    M2DSliceContourLayer layer;
    AddContour(layer, {{0, 0}, {1000, 0}, {1000, 400}});
    AddContour(layer, {{300, 0}, {300, 0}});
    Transform(layer, distortion, {true, 5});
    EXPECT_GE(layer.GetFirst()->GetNumPoints(), 3u);
    EXPECT_LE(layer.GetFirst()->GetNumPoints(), 3u * 512) << "halves of 1000 shorter than 5, and once more";
    Transform(layer, distortion);
  }
}

}  // namespace
