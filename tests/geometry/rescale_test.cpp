#include <SliceData/geometry/M2DSliceZScale.h>
#include <SliceData/geometry/RescaleLookupTable.h>
#include <SliceData/geometry/TransformationRescale.h>

#include <cmath>
#include <cstddef>
#include <gmock/gmock.h>
#include <limits>
#include <memory>
#include <utility>

namespace {

using M2DSliceUtilities::M2DSliceZScale;
using M2DSliceUtilities::RescaleLookupTable;
using M2DSliceUtilities::TransformationRescale;
using ::testing::Pair;

using ByHeight = RescaleLookupTable<long, double>;
using ByDistance = RescaleLookupTable<double, double>;

// Platforms are often given as lists of four numbers.
using Platform = TransformationRescale::PlatformCoordinates;
static_assert(offsetof(Platform, left) == 0 && offsetof(Platform, top) == sizeof(double) &&
              offsetof(Platform, right) == 2 * sizeof(double) && offsetof(Platform, bottom) == 3 * sizeof(double));

std::pair<double, double> Map(TransformationRescale const& rescale, double x, double y) {
  rescale.Transform(x, y);
  return {x, y};
}

TEST(RescaleLookupTable, InterpolatesInsideAndIsConstantBeyond) {
  ByDistance table{{std::nan(""), 5.0}, {10, 2.0}, {20, 3.0}, {10, 9.0}};
  EXPECT_EQ(table.Lookup(10), 2) << "the first of a list stays";
  EXPECT_EQ(table.Lookup(12.5), 2.25);
  EXPECT_EQ(table.Lookup(-1e300), 2);
  EXPECT_EQ(table.Lookup(1e300), 3);
  EXPECT_EQ(table.Lookup(std::nan("")), 2);
  EXPECT_EQ((ByDistance{{0, 1.0}, {5, 1.3}}.Lookup(3)), 1.1800000000000002) << "the slope first, then the distance";
  table.Add(20, 4.0);
  EXPECT_EQ(table.Lookup(20), 4) << "the last that is added stays";
  table.Clear();
  table.Add(std::nan(""), 5.0);
  EXPECT_EQ(table.Lookup(20), 1) << "a key of NaN is none";
}

TEST(RescaleLookupTable, IntegerKeysAreSubtractedBeforeTheyBecomeDoubles) {
  constexpr long kLarge = 1L << 60;
  EXPECT_EQ((ByHeight{{kLarge, 1.0}, {kLarge + 4, 2.0}}.Lookup(kLarge + 1)), 1.25) << "doubles are 256 apart here";
  constexpr long kFirst = std::numeric_limits<long>::min();
  constexpr long kLast = std::numeric_limits<long>::max();
  EXPECT_EQ((ByHeight{{kFirst, 1.0}, {kLast, 3.0}}.Lookup(0)), 2) << "the whole range of heights";
}

TEST(TransformationRescale, ScalesAboutTheCenterByTheDistanceFromTheNearestEdge) {
  TransformationRescale rescale;
  rescale.SetLookupTable({{0.0, 2.0}, {100.0, 1.0}});
  EXPECT_THAT(Map(rescale, 5, 5), Pair(5, 5)) << "no platform yet";
  rescale.SetPlatformCoordinates({0, 300, 400, 100});
  // Nearest to the left, right, bottom and top edge: each gets the factor 1.75 about (200, 200).
  EXPECT_THAT(Map(rescale, 25, 180), Pair(200 - 175 * 1.75, 200 - 20 * 1.75));
  EXPECT_THAT(Map(rescale, 375, 180), Pair(200 + 175 * 1.75, 200 - 20 * 1.75));
  EXPECT_THAT(Map(rescale, 210, 125), Pair(200 + 10 * 1.75, 200 - 75 * 1.75));
  EXPECT_THAT(Map(rescale, 210, 275), Pair(200 + 10 * 1.75, 200 + 75 * 1.75));
  EXPECT_THAT(Map(rescale, 200, 200), Pair(200, 200));
  EXPECT_THAT(Map(rescale, 400, 300), Pair(600, 400)) << "edges belong to the platform";
  EXPECT_THAT(Map(rescale, 0, 190), Pair(-200, 180));
  EXPECT_THAT(Map(rescale, 190, 100), Pair(180, 0));
  EXPECT_THAT(Map(rescale, std::nextafter(400.0, 500.0), 200), Pair(std::nextafter(400.0, 500.0), 200));
  EXPECT_THAT(Map(rescale, 1, 301), Pair(1, 301));
  EXPECT_THAT(Map(rescale, 1, 99), Pair(1, 99));
  EXPECT_EQ(Map(rescale, std::nan(""), 210).second, 210);
  std::unique_ptr<TransformationRescale const> const clone(rescale._Clone());
  rescale.SetLookupTable({});
  rescale.SetPlatformCoordinates({});
  EXPECT_THAT(Map(*clone, 400, 300), Pair(600, 400));
}

TEST(TransformationRescale, RoundOffIsNoDistanceAndLongEdgesDoNotOverflow) {
  TransformationRescale rescale;
  rescale.SetLookupTable({{0.0, 1.0}, {1e-300, 2.0}});
  rescale.SetPlatformCoordinates({0, 10, 10, 0});
  // The squared distances are 3.14034e-16 and 3.13998e-16; the other coordinate is 0 from where the edge is measured.
  EXPECT_EQ(Map(rescale, 1.7721e-8, 1.7721e-8).first, (1.7721e-8 - 5) * 2 + 5);
  EXPECT_EQ(Map(rescale, 1.772e-8, 1.772e-8).first, (1.772e-8 - 5) + 5);
  // A long way along the edge the difference of the squares loses a small distance.
  rescale.SetPlatformCoordinates({0, 10, 1e9, 0});
  EXPECT_EQ(Map(rescale, 9e8, 1e-3).second, (1e-3 - 5) + 5);
  EXPECT_EQ(Map(rescale, 1, 10 - 1e-3).second, ((10 - 1e-3) - 5) + 5) << "the top is measured from the right";
  rescale.SetPlatformCoordinates({0, 1e9, 10, 0});
  EXPECT_EQ(Map(rescale, 10 - 1e-3, 1).first, ((10 - 1e-3) - 5) + 5) << "the right from the top";
  EXPECT_EQ(Map(rescale, 1e-3, 1e9 - 1).first, (1e-3 - 5) + 5) << "the left from the bottom";
  rescale.SetLookupTable({{3.0, 1.0}, {100.0, 2.0}});
  rescale.SetPlatformCoordinates({0, 1e200, 1e200, 0});
  EXPECT_EQ(Map(rescale, 3, 100).first, 0) << "the factor is 1, and the centre far away";
}

TEST(TransformationRescale, APlatformOfNoWidthAndTheCenterToTheLastBit) {
  TransformationRescale rescale;
  rescale.SetLookupTable({{-1.0, 9.0}, {0.0, 2.0}, {1.0, 3.0}});
  rescale.SetPlatformCoordinates({5, 10, 5, 0});
  EXPECT_THAT(Map(rescale, 5, 3), Pair(5, 1)) << "distance 0, and none that is no number";
  rescale.SetLookupTable({{0.0, 0.0}});
  rescale.SetPlatformCoordinates({0.1, 0.7, 0.7, 0.1});
  EXPECT_THAT(Map(rescale, 0.2, 0.3), Pair(0.39999999999999997, 0.39999999999999997)) << "half of the sum";
}

TEST(M2DSliceZScale, TruncatesTowardsZeroAndGoesBackByTheFactorAtTheScaledHeight) {
  M2DSliceZScale scale;
  EXPECT_EQ(scale.TransformZ(-123456789), -123456789);
  scale.SetLookupTable({{-3, 0.5}, {0, 0.5}, {1000, 1.5}});
  EXPECT_EQ(scale.TransformZ(-3), -1);
  EXPECT_EQ(scale.TransformZ(501), 501) << "501 * 1.001";
  EXPECT_EQ(scale.TransformZInverse(250), 333) << "250 / 0.75";
  EXPECT_EQ(scale.TransformZInverse(-3), -6);
  M2DSliceZScale const copy = scale;
  scale = M2DSliceZScale();
  EXPECT_EQ(scale.GetScalingFactor(2000), 1);
  EXPECT_EQ(copy.GetScalingFactor(2000), 1.5);

  using Limits = std::numeric_limits<long>;
  struct {
    double factor;
    long z, inverse;
  } const cases[] = {{49, 49, 1}, {1.1, 33, 29}, {0, 1, Limits::max()}, {0, -1, Limits::min()}, {0, 0, 0}};
  for (auto const& [factor, z, inverse] : cases) {
    scale.SetLookupTable({{0, factor}});
    EXPECT_EQ(scale.TransformZInverse(z), inverse) << z << " / " << factor;
  }
}

}  // namespace
