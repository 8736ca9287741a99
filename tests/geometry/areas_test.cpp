#include <SliceData/geometry/M2DSliceOperatorDetermineAreas.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/Slices.h"

namespace {

using namespace testing_support;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

using Areas = M2DSliceOperatorDetermineAreas;

M2DSliceContour& AddSquare(M2DSliceContourLayer& layer, long x, long y, long size, bool outer = true) {
  M2DSliceContour& contour = AddContour(layer, {{x, y}, {x + size, y}, {x + size, y + size}, {x, y + size}});
  contour.SetIsOuter(outer);
  return contour;
}
M2DSliceContour& AddHole(M2DSliceContourLayer& layer, long x, long y, long size, bool outer = false) {
  M2DSliceContour& contour = AddSquare(layer, x, y, size, outer);
  contour.ReverseDirection();
  return contour;
}

/// The contours of each area by their number over both layers, outer ones first as the set has them; then the layers.
std::vector<std::string> Text(Areas const& areas, M2DSliceContourLayer const& first,
                              M2DSliceContourLayer const* second = nullptr) {
  auto const number = [&](M2DSliceContour const* contour) {
    int count = 0;
    for (auto const* layer : {&first, second}) {
      for (auto& other : *layer) {
        if (&other == contour) return std::to_string(count);
        ++count;
      }
    }
    return std::string("?");
  };
  std::vector<std::string> texts;
  for (auto const& area : areas.GetAreas()) {
    std::vector<std::string> outer;
    std::vector<std::string> inner;
    for (auto const& pair : area.contours) {
      EXPECT_TRUE(inner.empty() || !pair.contour->GetIsOuter()) << "outer contours come first";
      EXPECT_EQ(area.layers.count(pair.layer), 1u);
      (pair.contour->GetIsOuter() ? outer : inner).push_back(number(pair.contour));
    }
    std::string text;
    for (auto* const numbers : {&outer, &inner}) {
      std::sort(numbers->begin(), numbers->end());
      for (auto const& n : *numbers) text += n + (numbers == &outer ? "o" : "i");
    }
    texts.push_back(text + "/" + std::to_string(area.layers.size()));
  }
  return texts;
}

std::vector<std::string> AreasOf(M2DSliceContourLayer const& layer) {
  Areas areas;
  EXPECT_TRUE(areas.DetermineAreas(&layer));
  return Text(areas, layer);
}
std::vector<std::string> AreasOf(M2DSliceContourLayer const& first, M2DSliceContourLayer const& second) {
  Areas areas;
  EXPECT_TRUE(areas.DetermineAreasSubtraction(&first, &second));
  return Text(areas, first, &second);
}

TEST(DetermineAreas, PartsThatShareNoPointAreAreasOfTheirOwn) {
  M2DSliceContourLayer layer;
  EXPECT_THAT(AreasOf(layer), IsEmpty());
  AddContour(layer, {});
  AddContour(layer, {{1, 1}, {1, 1}});
  AddContour(layer, {{0, 0}, {5, 9}}, false);
  EXPECT_THAT(AreasOf(layer), IsEmpty());
  AddSquare(layer, 0, 0, 100);                  // 3
  AddHole(layer, 10, 10, 10);                   // 4, inside
  AddHole(layer, 40, 40, 60);                   // 5, meets the corner of 3
  AddSquare(layer, 200, 0, 10);                 // 6
  AddHole(layer, 300, 0, 10);                   // nothing
  AddSquare(layer, 20, 25, 5);                  // covered
  AddContour(layer, {{10, 5}, {90, 5}}, false)  // crosses nothing, encloses nothing
      .SetIsOuter(true);
  EXPECT_THAT(AreasOf(layer), ElementsAre("3o5i/1", "4i/1", "6o/1"));
}

TEST(DetermineAreas, AnOpenContourEnclosesNothingEvenIfItComesBack) {
  M2DSliceContourLayer layer;
  AddContour(layer, {{0, 0}, {10, 0}, {10, 10}, {0, 10}, {0, 0}}, false);
  AddSquare(layer, 5, 5, 20);
  Areas areas;
  areas.DetermineAreas(&layer);
  EXPECT_THAT(Text(areas, layer), ElementsAre("1o/1"));
}

TEST(DetermineAreas, TheFirstOuterContourClaimsItsPart) {
  M2DSliceContourLayer touching;
  AddSquare(touching, 0, 0, 10);
  AddSquare(touching, 10, 10, 10);
  AddSquare(touching, 20, 20, 10, false);
  AddSquare(touching, 30, 30, 10);
  // The inner one belongs to the outer contour that reaches it first; the third outer one is put back and comes later.
  EXPECT_THAT(AreasOf(touching), ElementsAre("0o/1", "1o2i/1", "3o/1"));

  // Two overlapping outer contours: what is left of each is an area, in whose middle the other goes on.
  M2DSliceContourLayer cross;
  AddContour(cross, {{0, 10}, {30, 10}, {30, 20}, {0, 20}});
  AddContour(cross, {{10, 0}, {20, 0}, {20, 30}, {10, 30}});
  // Both ends of the first bar are areas, but a contour is listed once, and an area without contours is none.
  EXPECT_THAT(AreasOf(cross), ElementsAre("0o/1", "1o/1"));
}

TEST(DetermineAreas, AnInnerSeedTakesTheOuterContourThatItMeets) {
  M2DSliceContourLayer layer;
  AddHole(layer, 40, 40, 60);
  AddSquare(layer, 0, 0, 100);
  EXPECT_THAT(AreasOf(layer), ElementsAre("1o0i/1"));
}

TEST(DetermineAreasSubtraction, WhatIsLeftListsBothLayersAndRepeatsContours) {
  M2DSliceContourLayer plate;
  AddSquare(plate, 0, 0, 100);
  M2DSliceContourLayer cuts;
  AddContour(cuts, {{40, -10}, {60, -10}, {60, 110}, {40, 110}}).SetIsOuter(false);
  EXPECT_THAT(AreasOf(plate, cuts), ElementsAre("0o1i/2", "0o1i/2"));
  EXPECT_THAT(AreasOf(cuts, plate), ElementsAre("1o0i/2", "1o0i/2")) << "the ends of the bar";

  // With the flag of an outer contour the cut's edges are areas apart.
  cuts.GetFirst()->SetIsOuter(true);
  EXPECT_THAT(AreasOf(plate, cuts), ElementsAre("0o/1", "0o/1", "1o/1", "1o/1"));
  EXPECT_THAT(AreasOf(plate, plate), IsEmpty());
  M2DSliceContourLayer const nothing;
  EXPECT_THAT(AreasOf(nothing, plate), IsEmpty());
  EXPECT_THAT(AreasOf(plate, nothing), ElementsAre("0o/1"));

  // A hole of the subtrahend is left standing.
  M2DSliceContourLayer ring;
  AddSquare(ring, 10, 10, 80);
  AddHole(ring, 20, 20, 60);
  EXPECT_THAT(AreasOf(plate, ring), ElementsAre("0o/1", "1o/1", "2i/1"));
}

TEST(DetermineAreas, ASecondCallAddsToTheFirst) {
  M2DSliceContourLayer left;
  AddSquare(left, 0, 0, 10);
  M2DSliceContourLayer right;
  AddSquare(right, 5, 0, 10);
  Areas areas;
  areas.DetermineAreas(&left);
  areas.DetermineAreas(&right);
  // The second time the lines of the first are there as well.
  EXPECT_THAT(Text(areas, left, &right), ElementsAre("0o/1", "0o/1", "1o/1"));
}

TEST(DetermineAreas, CoordinatesBeyond32BitsAreRefusedBeforeAnythingChanges) {
  M2DSliceContourLayer far;
  AddSquare(far, 0, 0, 10);
  AddSquare(far, 0, 0, 2147483648);
  M2DSliceContourLayer near;
  AddSquare(near, 20, 0, 10);
  Areas areas;
  EXPECT_THROW(areas.DetermineAreas(&far), std::out_of_range);
  EXPECT_THROW(areas.DetermineAreasSubtraction(&near, &far), std::out_of_range);
  areas.DetermineAreas(&near);
  EXPECT_THAT(Text(areas, near), ElementsAre("0o/1"));
}

TEST(DetermineAreas, ALatticeLayerOfFiftyThousandContours) {
  M2DSliceContourLayer layer;
  for (long row = 0; row < 250; ++row) {
    for (long column = 0; column < 200; ++column) {
      M2DSliceContour& contour = layer.AddContour();
      // Every tenth one is cut out of nothing; the others are struts of twelve corners.
      bool const hole = column % 10 == 9;
      for (int corner = 0; corner < 12; ++corner) {
        double const angle = (hole ? -corner : corner) * 3.14159265358979 / 6;
        contour.AddPoint(column * 1000 + std::lround(400 * std::cos(angle)),
                         row * 1000 + std::lround(400 * std::sin(angle)));
      }
    }
  }
  Areas areas;
  areas.DetermineAreas(&layer);
  ASSERT_THAT(areas.GetAreas(), SizeIs(45000));
  EXPECT_EQ(areas.GetAreas().front().contours.begin()->contour, layer.GetFirst());
}

}  // namespace
