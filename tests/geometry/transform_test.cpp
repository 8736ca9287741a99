#include <SliceData/geometry/Extents.h>
#include <SliceData/geometry/Transform.h>
#include <SliceData/geometry/Transformation.h>
#include <SliceData/slice_stack/M2DSliceStack.h>

#include <cmath>
#include <memory>
#include <stdexcept>
#include <vector>

#include "support/Slices.h"

namespace {

using namespace testing_support;
using namespace M2DSliceUtilities;
using ::testing::DoubleNear;
using ::testing::ElementsAre;
using ::testing::SizeIs;

TransformationMatrix Translation(double dx, double dy) {
  TransformationMatrix matrix;
  matrix.MakeTranslation(dx, dy);
  return matrix;
}

/// Lifts the middle of the x axis: y' = y + height * sin(pi x / 1000).
class Bump final : public iTransformation {
 public:
  explicit Bump(double height) : m_height(height) {}
  Bump* _Clone() const override { return new Bump(*this); }
  void _Transform(double& x, double& y) const override { y += m_height * std::sin(3.141592653589793 * x / 1000); }

 private:
  double m_height;
};

/// Throws once x goes beyond a limit.
class FailsBeyond final : public iTransformation {
 public:
  explicit FailsBeyond(double limit) : m_limit(limit) {}
  FailsBeyond* _Clone() const override { return new FailsBeyond(*this); }
  void _Transform(double& x, double&) const override {
    if (x > m_limit) throw std::runtime_error("outside the table");
  }

 private:
  double m_limit;
};

constexpr TransformOptions kPlain{};
constexpr TransformOptions kRefine{true, 5};

TEST(Transformation, RotationsTurnClockwiseAndQuarterTurnsAreExact) {
  TransformationMatrix matrix;
  double x = 1;
  double y = 0;
  matrix.MakeRotation(30);
  matrix.Transform(x, y);
  EXPECT_THAT(y, DoubleNear(-0.5, 1e-15));
  for (auto const make : {&TransformationMatrix::MakeRotation90, &TransformationMatrix::MakeRotation180,
                          &TransformationMatrix::MakeRotation270}) {
    matrix.tx = 17;
    (matrix.*make)();
    x = 1;
    y = 0;
    matrix.Transform(x, y);
    matrix.Transform(x, y);
    EXPECT_EQ(x, make == &TransformationMatrix::MakeRotation180 ? 1 : -1);
    EXPECT_EQ(y, 0);
  }
  x = 1;
  y = 0;
  matrix.MakeRotation90();
  matrix.Transform(x, y);
  EXPECT_EQ(y, -1);
}

TEST(Transformation, IsTranslationHasNoTolerance) {
  double dx = 7;
  double dy = 7;
  TransformationMatrix matrix = Translation(3, 4);
  matrix.a = 1.0000000001;
  EXPECT_FALSE(matrix.IsTranslation(dx, dy));
  matrix.a = std::nan("");
  EXPECT_FALSE(matrix.IsTranslation(dx, dy));
  EXPECT_EQ(dx, 7);
  EXPECT_TRUE(Translation(3, 4).IsTranslation(dx, dy));
  EXPECT_EQ(dy, 4);
}

TEST(Transformation, AChainAppliesInOrderAndClonesDeeply) {
  TransformationVector chain;
  TransformationMatrix turn;
  turn.MakeRotation90();
  std::shared_ptr<iTransformation const> const shared_turn(turn._Clone());
  chain.AddTransformation(Translation(10, 0));
  auto to_share = shared_turn;
  chain.AddTransformation(to_share);
  EXPECT_EQ(chain.GetVector()[1], shared_turn);
  std::unique_ptr<TransformationVector> const clone(chain._Clone());
  EXPECT_NE(clone->GetVector()[1], shared_turn);
  chain.Reset();
  double x = 1;
  double y = 2;
  chain.Transform(x, y);
  EXPECT_EQ(x, 1);
  clone->Transform(x, y);
  EXPECT_EQ(x, 2);
  EXPECT_EQ(y, -11);
}

TEST(Transformation, AMatrixOfSpaceIsTakenIfItsPlaneStandsAlone) {
  MMTransformMatrix space;
  space.MakeTranslation(5, 6, 0);
  space.SetElement(2, 2, 9);
  space.SetElement(3, 0, 1);
  TransformationMatrix matrix;
  EXPECT_TRUE(ConvertTransformMatrix(space, matrix));
  EXPECT_EQ(matrix.ty, 6);
  space.SetElement(0, 0, 2);
  space.SetElement(2, 3, 1);
  EXPECT_FALSE(ConvertTransformMatrix(space, matrix)) << "a height offset counts";
  EXPECT_EQ(matrix.a, 1);
}

TEST(Transform, CoordinatesAreTruncatedTowardsZero) {
  M2DSlice slice(0);
  FillAllComponents(slice);
  M2DSliceContourLayer layer;
  M2DSliceContour& contour = AddContour(layer, {{0, 0}, {-5, 5}});
  contour.GetFirstPoint()->z = 3;
  Transform(layer, Translation(-0.9, 0.9), kPlain);
  EXPECT_THAT(PointsOf(contour), ElementsAre(XY(0, 0), XY(-5, 5)));
  EXPECT_EQ(contour.GetFirstPoint()->z, 3);
  Transform(layer, Translation(0.9, -0.9), {true, 0});
  EXPECT_THAT(PointsOf(contour), ElementsAre(XY(0, 0), XY(-4, 4))) << "no deviation, no refinement";
  EXPECT_EQ(contour.GetFirstPoint()->z, 3);
}

TEST(Transform, APointLayerIsMappedOnceForEachPointOfABlock) {
  M2DSlicePointLayer layer;
  AddPoints(layer, {{0, 0}, {1, 1}, {2, 2}});
  AddPoints(layer, {{0, 0}});
  Transform(layer, Translation(10, 0), kPlain);
  EXPECT_THAT(PointsOf(*layer.GetFirst()), ElementsAre(XY(30, 0), XY(31, 1), XY(32, 2)));
  EXPECT_THAT(PointsOf(*layer.GetLast()), ElementsAre(XY(10, 0)));
  Transform(*layer.GetFirst(), Translation(10, 0), kPlain);
  EXPECT_EQ((*layer.GetFirst())[0].x, 40) << "a block on its own is mapped once";
}

TEST(Transform, ASliceMovesAllFourComponentsOnBothPaths) {
  for (TransformOptions const& options : {kPlain, kRefine}) {
    M2DSlice slice(0);
    FillAllComponents(slice);
    slice.GetXYArea();
    Transform(slice, Translation(1000, 0), options);
    EXPECT_THAT(Starts(slice), ElementsAre(1000, 1100, 2200, 1300)) << "two points, so twice";
    EXPECT_FALSE(slice.IsXYAreaValid());
    EXPECT_EQ(slice.GetBorder().GetFirst()->GetNumPoints(), 3u);
  }
}

TEST(Transform, RefinementFollowsTheMappingAndKeepsThePathsOrder) {
  M2DSliceContourLayer layer;
  M2DSliceContour& open = AddContour(layer, {{0, 0}, {1000, 0}}, false);
  open.GetFirstPoint()->z = 3;
  open.GetVectorTypeInfo().SetType(e2DSliceVectorType::BorderUp);
  Bump const bump(400);
  Transform(layer, bump, kRefine);
  auto const points = PointsOf(open);
  EXPECT_GT(points.size(), 8u);
  EXPECT_LT(points.size(), 100u);
  EXPECT_EQ(points.front(), XY(0, 0));
  EXPECT_EQ(points.back(), XY(1000, 0));
  EXPECT_EQ(open.GetFirstPoint()->z, 0);
  EXPECT_FALSE(open.GetIsClosed());
  EXPECT_STREQ(open.GetVectorTypeInfo().GetTypeName(), "BorderUp");
  for (std::size_t i = 0; i + 1 < points.size(); ++i) {
    ASSERT_LT(points[i].first, points[i + 1].first);
    double x = static_cast<double>(points[i].first + points[i + 1].first) / 2;
    double y = 0;
    bump.Transform(x, y);
    EXPECT_NEAR(y, static_cast<double>(points[i].second + points[i + 1].second) / 2, 7) << "at x " << x;
  }

  M2DSliceVectorLayer vectors;
  M2DSliceVectorBlock& block = AddVectors(vectors, {{0, 1000, 0, 0}, {1000, 0, 50, 50}});
  Transform(vectors, bump, kRefine);
  EXPECT_THAT(block, SizeIs(2 * (points.size() - 1)));
  for (std::size_t i = 0; i + 1 < block.size() / 2; ++i) {
    EXPECT_EQ(block[i].x2, block[i + 1].x1);
    EXPECT_EQ(block[i].y2, block[i + 1].y1);
  }
}

TEST(Transform, RefinementAddsNothingUnderALinearMappingAndHandlesShortContours) {
  TransformationMatrix turn;
  turn.MakeRotation(33);
  M2DSliceContourLayer layer;
  AddContour(layer, {{0, 0}, {100000, 0}, {100000, 100000}});
  AddContour(layer, {{7, 7}});
  AddContour(layer, {});
  AddContour(layer, {}, false);
  AddContour(layer, {{7, 7}}, false);
  Transform(layer, turn, {true, 1});
  std::vector<unsigned long> counts;
  for (auto const& contour : layer) counts.push_back(contour.GetNumPoints());
  EXPECT_THAT(counts, ElementsAre(3, 1, 0, 0, 1));
}

TEST(Transform, AMappingThatThrowsLeavesTheContourAsItWas) {
  M2DSliceContourLayer layer;
  M2DSliceContour& contour = AddContour(layer, {{0, 0}, {1000, 0}, {0, 1000}});
  EXPECT_THROW(Transform(contour, FailsBeyond(500), kRefine), std::runtime_error);
  EXPECT_THAT(PointsOf(contour), ElementsAre(XY(0, 0), XY(1000, 0), XY(0, 1000)));
}

TEST(Transform, AStackIsMappedSliceBySlice) {
  M2DSliceStack stack;
  for (long z : {1, 2}) FillAllComponents(*stack.AddSlicePosition(z));
  Transform(stack, Translation(1000, 0), kPlain);
  EXPECT_EQ(stack.GetXYArea().minX, 1000);
  EXPECT_EQ(Starts(*stack.GetSlice(1))[0], 1000);
}

TEST(Translate, ShiftsContoursAndVectorsButPlacesPointsAndLeavesAreas) {
  M2DSlice slice(0);
  FillAllComponents(slice);
  Translate(slice, 5, 7);
  EXPECT_THAT(Starts(slice), ElementsAre(5, 105, 5, 300));
  EXPECT_THAT(PointsOf(*slice.GetPoints().GetFirst()), ElementsAre(XY(5, 7), XY(5, 7)));
  EXPECT_THAT(*slice.GetVectors().GetFirst(), ElementsAre(M2DSliceVector{105, 115, 7, 17}));
  M2DSliceContourLayer far;
  AddContour(far, {{(1L << 60) + 1, 0}});
  Translate(far, 1, 0);
  EXPECT_EQ(far.GetFirst()->GetFirstPoint()->x, (1L << 60) + 2) << "no trip through doubles";
}

TEST(Extremes, StartAtThe32BitLimits) {
  long box[4];
  M2DSliceContourLayer layer;
  GetExtremes(layer, box[0], box[1], box[2], box[3]);
  EXPECT_THAT(box, ElementsAre(2147483647, 2147483647, -2147483648, -2147483648));
  AddContour(layer, {{3000000000, -3000000000}});
  M2DSliceXYArea area;
  GetExtremes(layer, area);
  EXPECT_EQ(area, (M2DSliceXYArea{2147483647, 3000000000, -3000000000, -2147483648}));
}

TEST(Extremes, ASliceCountsEverythingButAreasAndMapsEverythingButPoints) {
  M2DSlice slice(0);
  FillAllComponents(slice);
  M2DSliceXYArea area;
  GetExtremes(slice, area);
  EXPECT_EQ(area, (M2DSliceXYArea{0, 210, 0, 10}));
  long box[4];
  GetExtremes(slice, box[0], box[1], box[2], box[3], Translation(1000.9, 0));
  EXPECT_THAT(box, ElementsAre(200, 0, 1110, 10));
  GetExtremes(slice.GetPoints(), box[0], box[1], box[2], box[3], Translation(1000, 0));
  EXPECT_THAT(box, ElementsAre(200, 0, 210, 10));
}

}  // namespace
