#include <SliceData/geometry/ContourStartingPointCalculators.h>
#include <SliceData/geometry/ContourStartingPoints.h>
#include <SliceData/geometry/NextPointFunctors.h>

#include <algorithm>
#include <boost/make_shared.hpp>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <random>
#include <vector>

#include "support/RandomSlices.h"

namespace {

using namespace testing_support;
using namespace M2DSliceUtilities;
using ::testing::ElementsAre;
using ::testing::SizeIs;

using Place = MMPoint3dIntegerTypes<long>;
using Repeat = ContourStartingPointCalculatorRepeatAfter;
using Metal = ContourStartingPointCalculatorMetal;
using RandomPoint = ContourStartingPointCalculatorRandom;
using RandomMinDistance = ContourStartingPointCalculatorRandomMinDistance;
using Closest = ContourStartingPointCalculatorClosestNeighbor;
using Clockwise = ContourStartingPointCalculatorClockwise;
using Specific = ContourStartingPointCalculatorSpecific;

constexpr long kNoHeight = std::numeric_limits<long>::min();

/// How many steps after the first a point of the ring is; -1 if it is none of it.
long IndexOf(M2DSliceContour const& contour, M2DSliceContourPoint const* chosen) {
  long index = 0;
  for (M2DSliceContourPoint const& point : contour.GetPoints()) {
    if (&point == chosen) return index;
    ++index;
  }
  return -1;
}

template <class Calculator>
long Chosen(M2DSliceContour const& contour, Calculator&& calculator) {
  return IndexOf(contour, calculator.FindOptimalStartingPoint(contour));
}

/// Points (i, 7) for i from 1 to `count` - 1 after a first one.
M2DSliceContour& AddLine(M2DSliceContourLayer& layer, long count, bool closed = true, XY const& first = {0, 7}) {
  M2DSliceContour& contour = AddContour(layer, {first}, closed);
  for (long i = 1; i < count; ++i) contour.AddPoint(i, 7);
  return contour;
}

/// The points of the first ten draws with a seed.
std::vector<long> Drawn(M2DSliceContour const& contour, std::uint32_t seed) {
  std::mt19937 generator(seed);
  long const num_points = static_cast<long>(contour.GetNumPoints());
  std::uniform_int_distribution<int> hop(1, static_cast<int>(num_points));
  std::vector<long> indices;
  for (long at = 0; indices.size() < 10;) indices.push_back(at = (at + hop(generator)) % num_points);
  return indices;
}

/// Accepts the test of a given number, and keeps what it is told.
struct Accepts : IStartPointData {
  explicit Accepts(std::size_t number) : accepted(number) {}
  bool IsPointValid(Place const& point) override {
    tested.push_back(point);
    return tested.size() == accepted;
  }
  void AddPointToList(Place const& point) override { recorded.push_back(point); }
  std::size_t accepted;
  std::vector<Place> tested, recorded;
};

struct PerSlice : StartPointDataPerSlice {
  explicit PerSlice(long distance) : StartPointDataPerSlice(std::make_shared<FixedDistanceProvider>(distance)) {}
  void AddPointToList(Place const& point) override {
    recorded.push_back(point);
    StartPointDataPerSlice::AddPointToList(point);
  }
  std::vector<Place> recorded;
};

/// Calls the data back, and demands more around (3, 4) than elsewhere.
struct Inquisitive : IMinimalDistanceProvider {
  long GetDistance(Place const& point) const override {
    data->AddPointToList({0, 0, 99});
    return point.x == 3 ? 6 : 5;
  }
  StartPointDataPerSlice* data = nullptr;
};

TEST(SharpestAngle, TakesTheFirstOfTheSharpestButNoFullReversal) {
  constexpr long kFar = 1'000'000'000;
  M2DSliceContourLayer layer;
  struct {
    std::initializer_list<XY> points;
    long chosen;
  } const cases[] = {
      {{{0, 0}, {9, 0}, {9, 9}, {0, 9}}, 0},
      {{{0, 0}, {9, 0}, {20, 30}, {0, 9}}, 2},
      {{{7, 7}, {7, 7}, {7, 7}}, 0},
      {{{0, 0}, {9, 0}, {20, 30}, {20, 30}, {0, 9}}, 0},  // a corner of two points is not seen
      {{{50, 0}, {50, 50}, {0, 0}, {100, 0}}, 1},         // (100, 0) is a full reversal
      {{{0, 0}, {kFar, 0}, {0, 1}}, 1},                   // by rounding, to the left
      {{{0, 0}, {kFar, 0}, {0, -1}}, 2},                  // and to the right
      {{{0, 0}, {2, 3}, {0, 0}, {40, 0}, {40, -40}}, 1},  // the cosine is a bit less than -1
      {{{0, 0}, {1, 1}, {0, 0}, {40, 0}, {40, -40}}, 1},  // and a bit more
  };
  for (auto const& [points, chosen] : cases) {
    M2DSliceContour const& contour = AddContour(layer, points);
    EXPECT_EQ(Chosen(contour, ContourStartingPointCalculatorSharpestAngle()), chosen) << GeometryOf(contour);
  }
}

TEST(RepeatAfter, StepsEvenlyAndRepeats) {
  M2DSliceContourLayer layer;
  M2DSliceContour const& contour = AddLine(layer, 10, false);
  std::vector<long> chosen;
  for (unsigned long index = 0; index < 6; ++index) chosen.push_back(Chosen(contour, Repeat(index, 4)));
  EXPECT_THAT(chosen, ElementsAre(0, 2, 4, 6, 0, 2)) << "10 / 4 is 2";
  EXPECT_EQ(Chosen(contour, Repeat(5, 11)), 0);
  Repeat negative(5, -3);
  EXPECT_EQ(Chosen(contour, negative), 0);
  EXPECT_EQ(negative.GetRepeatCount(), -3);
  Repeat never(5, 0);
  EXPECT_EQ(Chosen(contour, never), 0);
  EXPECT_EQ(never.GetRepeatCount(), 1);
  EXPECT_EQ(Repeat(1, 2)._GetOffset((1UL << 33) + 6), 3) << "cut to 32 bits";
  EXPECT_LT(Repeat(1, 2)._GetOffset(1UL << 32), 0) << "and signed";
}

TEST(MetalStartingPoints, GroupsBeginApartAndOddTurnsPassTheirFirstSegmentTwice) {
  M2DSliceContourLayer layer;
  M2DSliceContour& hops = AddContour(layer, {{0, 0}, {10, 0}, {30, 0}, {60, 0}, {100, 0}});  // and 100 back
  M2DSliceContour& diagonal = AddContour(layer, {{0, 0}, {1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 5}, {6, 6}, {7, 7}});
  M2DSliceContour& returning = AddContour(layer, {{0, 0}, {9, 0}, {9, 9}, {0, 0}});
  constexpr unsigned long kRounded = std::numeric_limits<long>::max();
  struct {
    M2DSliceContour& contour;
    unsigned long index;
    long repeat_count, border, step, chosen;
    char const* why;
  } const cases[] = {
      {hops, 0, 3, 0, 10, 3, "group 0 begins at 3"},
      {hops, 6, 3, 0, 10, 0, "group 2 goes round"},
      {hops, 2, 3, -1, 30, 0, "60 for turn 2 and no border: 40 + 100"},
      {hops, 6, 3, 5, -10, 0, "nothing to walk"},
      {hops, 0, 3, 2, 20, 4, "40, exactly the first hop"},
      {hops, 2, 1, 5, 70, 1, "350 = 40 + 100 + 10 and a round of 200"},
      {hops, 1, 3, 0, 40, 4, "odd: 40 forward"},
      {hops, 1, 3, 0, 50, 3, "and back over the same 40"},
      {hops, 1, 3, 0, 100, 2, "then on backward"},
      {hops, 7, 0, 0, 1000, 3, "0 repeats are 1: 1 + 7 steps, turn 0"},
      {hops, 0, -2, 0, 0, 0, "a negative period has no groups"},
      {hops, 12, 7, -3, 70, 0, "turn 5 and a border of -3: 40 + 100"},
      {returning, 0, 4, 1, 30, 3, "30 is a round, and the last hop of it has no length"},
      {diagonal, kRounded, 1L << 62, 0, 0, 0, "nor has a quotient that was rounded up"},
      {diagonal, 0, 1, 5, 1, 6, "hops of 1.4 count 1"},
  };
  for (auto const& [contour, index, repeat_count, border, step, chosen, why] : cases) {
    contour.GetVectorTypeInfo().SetIndex(e2DSliceVectorTypeIndex::IndexBorder, border);
    Metal metal(index, repeat_count, step);
    EXPECT_EQ(Chosen(contour, metal), chosen) << why;
    EXPECT_EQ(metal.GetRepeatCount(), repeat_count == 0 ? 1 : repeat_count);
  }
}

TEST(RandomStartingPoints, AreSeededByLayerIndexAndFirstPoint) {
  M2DSliceContourLayer layer;
  struct {
    unsigned long index;
    long z, x, y;
    std::uint32_t seed;
  } const cases[] = {{2, 100, 3, 4, 208},      {2, -100, 3, 4, 192},    {2, 1L << 31, 3, 4, 8},
                     {1, kNoHeight, 0, -1, 0}, {1UL << 63, 2, 1, 1, 3}, {0, 0, -(kNoHeight + 1), 0, 0},
                     {~0UL, 300, 0, 0, 299}};
  for (auto const& [index, z, x, y, seed] : cases) {
    M2DSliceContour const& contour = AddLine(layer, 1000, true, {x, y});
    EXPECT_EQ(Chosen(contour, RandomPoint(index, z, nullptr)), Drawn(contour, seed)[0]) << seed;
    EXPECT_EQ(Chosen(contour, RandomMinDistance(index, z, nullptr)), Drawn(contour, seed)[0]) << seed;
  }
}

TEST(RandomStartingPoints, TenTriesThenTheLastIsRecordedValidOrNot) {
  M2DSliceContourLayer layer;
  M2DSliceContour const& contour = AddLine(layer, 1000);
  for (std::size_t const accepted : {3u, 10u, 99u}) {
    std::size_t const tries = std::min<std::size_t>(accepted, 10);
    auto const data = std::make_shared<Accepts>(accepted);
    EXPECT_EQ(Chosen(contour, RandomPoint(2, 5, data)), Drawn(contour, 18)[tries - 1]);
    EXPECT_THAT(data->tested, SizeIs(tries));
    EXPECT_THAT(data->recorded, ElementsAre(data->tested.back()));
    EXPECT_EQ(data->recorded[0].z, 5);
  }
  auto const data = std::make_shared<Accepts>(99);
  EXPECT_EQ(Chosen(contour, RandomPoint(0, kNoHeight, data)), Drawn(contour, 8)[0]);
  EXPECT_EQ(Chosen(AddLine(layer, 1000, false), RandomPoint(2, 5, data)), 0);
  EXPECT_THAT(data->tested, SizeIs(0));
  EXPECT_THAT(data->recorded, SizeIs(1)) << "an open contour records nothing";
}

TEST(RandomMinDistance, FallsBackToTheFarthestRejectedPoint) {
  M2DSliceContourLayer layer;
  M2DSliceContour const& contour = AddLine(layer, 1000, false);
  auto const drawn = Drawn(contour, 18);
  auto const data = boost::make_shared<PerSlice>(1'000'000);
  data->SetCurrentRegionForZ(5, 8);
  for (Place const& stored : {Place{0, 7, 5}, Place{1, 7, 5}, Place{1000, 7, 4}}) data->AddPointToList(stored);
  long const farthest = *std::max_element(drawn.begin(), drawn.end());
  EXPECT_EQ(Chosen(contour, RandomMinDistance(2, 5, data)), farthest);
  EXPECT_EQ(data->recorded.back(), (Place{farthest, 7, 5}));
  data->SetCurrentRegionForZ(5, 9);
  EXPECT_EQ(Chosen(contour, RandomMinDistance(2, 5, data)), drawn[0]) << "a new region has no points";
  for (int i = 0; i < 2; ++i) EXPECT_EQ(Chosen(contour, RandomMinDistance(0, kNoHeight, data)), Drawn(contour, 8)[0]);
  EXPECT_EQ(data->recorded.back().z, kNoHeight) << "recorded without a test";

  M2DSliceContour& pile = AddLine(layer, 1000);
  for (M2DSliceContourPoint& point : pile.GetPoints()) point.x = 0;
  auto const same_place = boost::make_shared<PerSlice>(1);
  same_place->AddPointToList({0, 7, 5});
  EXPECT_EQ(Chosen(pile, RandomMinDistance(2, 5, same_place)), 0) << "no sum above 0";
  EXPECT_THAT(same_place->recorded, SizeIs(2));

  auto const of_another_kind = boost::make_shared<Accepts>(99);
  EXPECT_EQ(Chosen(contour, RandomMinDistance(2, 5, of_another_kind)), drawn[0]);
  EXPECT_TRUE(of_another_kind->tested.empty() && of_another_kind->recorded.empty());
}

TEST(ClosestAndClockwise, FirstOfEqualsAndStepsBetweenPlaces) {
  M2DSliceContourLayer layer;
  M2DSliceContour& contour = AddContour(layer, {{0, 0}, {0, 0}, {9, 0}, {9, 0}, {9, 8}, {0, 9}});
  EXPECT_EQ(Chosen(contour, Closest(AddContour(layer, {{12, 5}}).GetFirstPoint())), 4);
  EXPECT_EQ(Chosen(contour, Closest(AddContour(layer, {{12, 4}}).GetFirstPoint())), 2) << "as close as 3 and 4";
  EXPECT_EQ(Chosen(contour, Closest(nullptr)), 0);
  EXPECT_EQ(Chosen(AddContour(layer, {{5, 1}, {3, 4}}), Closest(contour.GetFirstPoint())), 1) << "5 is less than 5.1";

  EXPECT_EQ(Chosen(contour, Clockwise(0, true)), 0);
  EXPECT_EQ(Chosen(contour, Clockwise(2, true)), 4);
  EXPECT_EQ(Chosen(contour, Clockwise(3, false)), 3) << "the first of the two that the walk meets";
  contour.SetIsOuter(false);
  EXPECT_EQ(Chosen(contour, Clockwise(5, false)), 2) << "round and on";
  EXPECT_EQ(Chosen(AddContour(layer, {{0, 0}, {9, 0}, {9, 9}, {0, 0}}), Clockwise(3, true)), 3) << "a round, no more";

  NextPointFunctorClock const functor(false);
  M2DSliceContourPoint const* const first = contour.GetFirstPoint();
  EXPECT_EQ(functor.GetNextPoint(first), first->previous) << "before any contour";
  EXPECT_EQ(functor.CorrectStartPointOpenContour(first, false), first);
  EXPECT_EQ(functor.CorrectStartPointOpenContour(first, true), first->previous);
}

TEST(SpecificStartingPoint, PrefersASideThenItsEndAndAsksInThisOrder) {
  M2DSliceContourLayer layer;
  M2DSliceContour const& contour = AddContour(layer, {{0, 0}, {50, 9}, {100, 40}, {70, 100}, {-60, 95}});
  std::pair<double, long> const cases[] = {{0, 1},    // lowest y; 9 is as low as 0, so the larger x
                                           {90, 2},   // largest x
                                           {180, 4},  // largest y, then the smaller x
                                           {270, 4},  // smallest x
                                           {std::nan(""), 0},
                                           {std::numeric_limits<double>::infinity(), 0}};
  for (auto const& [angle, chosen] : cases) EXPECT_EQ(Chosen(contour, Specific(1, angle, 0, nullptr)), chosen) << angle;
  EXPECT_EQ(Chosen(AddContour(layer, {{0, 0}, {1, 10}}), Specific(1, 0, 0, nullptr)), 0) << "10 is not within 10";

  for (std::size_t const accepted : {1u, 3u, 99u}) {
    auto const data = std::make_shared<Accepts>(accepted);
    EXPECT_EQ(Chosen(contour, Specific(1, 0, 6, data)), accepted == 3 ? 2 : 1);
    EXPECT_THAT(data->tested, SizeIs(std::min<std::size_t>(accepted, 5)));
    EXPECT_THAT(data->recorded, ElementsAre(data->tested[accepted == 3 ? 2 : 0]));
    EXPECT_EQ(data->recorded[0].z, 6);
  }
}

TEST(StartPointData, ComparesWithinARegionOfAHeight) {
  PerSlice data(5);
  data.AddPointToList({0, 0, 1});
  EXPECT_TRUE(data.IsPointValid({3, 4, 1})) << "exactly 5 apart";
  EXPECT_TRUE(data.IsPointValid({4, 4, 1})) << "5.7 counts 5";
  EXPECT_FALSE(data.IsPointValid({4, 2, 1})) << "4.5 counts 4";
  EXPECT_TRUE(data.IsPointValid({0, 0, 2}));
  data.SetCurrentRegionForZ(1, 7);
  EXPECT_TRUE(data.IsPointValid({0, 0, 1}));
  data.SetCurrentRegionForZ(1, 0);
  EXPECT_FALSE(data.IsPointValid({0, 0, 1}));
  constexpr long kFar = std::numeric_limits<long>::max();
  EXPECT_TRUE(data.IsPointValid({kFar, kFar, 1})) << "farther than a long";
  EXPECT_EQ(data.GetSumOfDistances({-kFar, kFar, 1}), kFar);
}

TEST(StartPointData, AsksTheProviderForTheTestedPointAndOutsideTheLock) {
  auto const provider = std::make_shared<Inquisitive>();
  StartPointDataPerSlice data(provider);
  provider->data = &data;
  for (long const x : {0, 3}) data.AddPointToList({x, 0, x});
  EXPECT_FALSE(data.IsPointValid({3, 4, 0})) << "6 around this one";
  EXPECT_TRUE(data.IsPointValid({0, 5, 3})) << "and 5 here";
  StartPointDataPerSlice without(nullptr);
  without.AddPointToList({0, 0, 1});
  EXPECT_TRUE(without.IsPointValid({0, 0, 1}));
}

TEST(SetContourOptimalStartingPoint, TurnsTheRingAndLeavesOpenContoursOfALayer) {
  M2DSliceContourLayer layer;
  M2DSliceContour& closed = AddLine(layer, 3);
  M2DSliceContour& open = AddLine(layer, 3, false);
  M2DSliceContour& empty = AddContour(layer, {});
  auto const second = boost::make_shared<Repeat>(1, 3);
  SetContourOptimalStartingPoints(layer, second);
  EXPECT_THAT(PointsOf(closed), ElementsAre(XY(1, 7), XY(2, 7), XY(0, 7)));
  EXPECT_THAT(PointsOf(open), ElementsAre(XY(0, 7), XY(1, 7), XY(2, 7)));
  SetContourOptimalStartingPoint(open, second);
  EXPECT_THAT(PointsOf(open), ElementsAre(XY(1, 7), XY(2, 7), XY(0, 7)));
  EXPECT_FALSE(open.GetIsClosed());
  SetContourOptimalStartingPoint(closed, nullptr);
  SetContourOptimalStartingPoint(empty, second);
  EXPECT_EQ(empty.GetNumPoints(), 0u);
}

TEST(StartingPoints, EveryStrategyGivesAPointOfTheContourAndNoneOfAnEmptyOne) {
  auto const seed = std::random_device()();
  SCOPED_TRACE(seed);
  Random random(seed);
  M2DSliceContourLayer layer;
  M2DSliceContour const& empty = AddContour(layer, {});
  auto const data = std::make_shared<PerSlice>(20);
  auto const shared = boost::make_shared<PerSlice>(20);
  for (int round = 0; round < 200; ++round) {
    M2DSliceContour& contour = AddContour(layer, {{-100, 0}, {0, 0}}, Draw(random, 0, 1) == 1);
    long const range = Draw(random, 0, 1) ? 30 : 100'000;  // many or few within the tolerance of a sort
    for (long i = Draw(random, 0, 300); i > 0; --i) contour.AddPoint(Draw(random, 0, range), Draw(random, 0, range));
    auto const index = static_cast<unsigned long>(Draw(random, 0, 99));
    long const z = Draw(random, -3, 3);
    std::shared_ptr<IContourStartingPointCalculator> const calculators[] = {
        std::make_shared<ContourStartingPointCalculatorSharpestAngle>(),
        std::make_shared<Repeat>(index, Draw(random, -9, 9)),
        std::make_shared<Metal>(index, Draw(random, -9, 9), Draw(random, -90, 90)),
        std::make_shared<RandomPoint>(index, z, data),
        std::make_shared<RandomMinDistance>(index, z, shared),
        std::make_shared<Closest>(layer.GetLast()->GetFirstPoint()),
        std::make_shared<Clockwise>(index, z > 0),
        std::make_shared<Specific>(1, static_cast<double>(index) * 7, z, data)};
    for (auto const& calculator : calculators) {
      ASSERT_GE(Chosen(contour, *calculator), 0) << typeid(*calculator).name();
      ASSERT_EQ(calculator->FindOptimalStartingPoint(empty), nullptr) << typeid(*calculator).name();
    }
  }
}

TEST(StartingPointWalks, LongOnesEndWhereCountingHopByHopDoes) {
  Random random(17);
  M2DSliceContourLayer layer;
  for (int round = 0; round < 300; ++round) {
    M2DSliceContour& contour = layer.AddContour();
    for (long remaining = Draw(random, 2, 6); remaining > 0; --remaining) {
      contour.AddPoint(Draw(random, 0, 3), Draw(random, 0, 3));  // some hops have no length
    }
    contour.AddPoint(9, 9);
    auto const index = static_cast<unsigned long>(Draw(random, 1, 60));
    auto const hop = [](auto const& a, auto const& b) {
      return static_cast<long>(std::hypot(static_cast<double>(a.x - b.x), static_cast<double>(a.y - b.y)));
    };
    // With a period of 100 the walk begins 100 points on and is `index` steps of 7 long.
    M2DSliceContourPoint const* point = contour.GetFirstPoint();
    for (int i = 0; i < 100; ++i) point = point->next;
    long walked = 0;
    for (auto const* next = point->next; walked < 7 * static_cast<long>(index);
         next = index % 2 == 0 ? point->next : point->previous) {
      walked += hop(*point, *next);
      point = next;
    }
    EXPECT_EQ(Chosen(contour, Metal(index, 100, 7)), IndexOf(contour, point)) << index;

    point = contour.GetFirstPoint();
    for (unsigned long steps = 0; steps < index; point = point->next) {
      steps += point->x != point->next->x || point->y != point->next->y ? 1 : 0;
    }
    EXPECT_EQ(Chosen(contour, Clockwise(index, true)), IndexOf(contour, point)) << index;
  }
  EXPECT_GE(Chosen(*layer.GetFirst(), Metal(3, 4, 1'000'000'000'000)), 0);
  EXPECT_GE(Chosen(*layer.GetFirst(), Clockwise(~0ul, false)), 0);
}

}  // namespace
