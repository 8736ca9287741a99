#include <SliceData/platform/boolean/M2dBoolean.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <gmock/gmock.h>
#include <map>
#include <random>
#include <set>
#include <stdexcept>
#include <tuple>
#include <utility>
#include <vector>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

using XY = std::pair<long, long>;
using Polygon = std::vector<XY>;
using Layer = std::vector<Polygon>;
using Random = std::mt19937;
using Line = M2dGraph::Line;
__extension__ typedef __int128 Wide;

long Draw(Random& random, long first, long last) {
  return std::uniform_int_distribution<long>(first, last)(random);
}

/// A directed segment, as it went in or as it came out.
struct Segment {
  XY from;
  XY to;
};

Segment SegmentOf(Line const& line) {
  return {{line.GetFirst()->GetX(), line.GetFirst()->GetY()}, {line.GetSecond()->GetX(), line.GetSecond()->GetY()}};
}

/// An engine with the contours of a layer, and for every line the number of its contour.
struct Engine {
  M2dBoolean boolean;
  MDataMask<M2dGraphLine, std::size_t> origins;
  std::vector<Segment> input;

  explicit Engine(Layer const& layer, bool closed = true, bool connect = true) {
    boolean.SetConnectLines(connect);
    boolean.GetLines().RegisterMask(origins);
    for (std::size_t i = 0; i < layer.size(); ++i) Add(layer[i], i, closed);
  }

  void Add(Polygon const& polygon, std::size_t origin, bool closed) {
    for (std::size_t i = 0; i + (closed ? 0 : 1) < polygon.size(); ++i) {
      Segment const segment{polygon[i], polygon[(i + 1) % polygon.size()]};
      auto* const line = boolean.GetLines().AddLine(boolean.GetPoint(segment.from.first, segment.from.second),
                                                    boolean.GetPoint(segment.to.first, segment.to.second), false);
      if (line == nullptr) continue;
      origins[line->GetIndex()] = origin;
      if (closed) input.push_back(segment);
    }
    boolean.AddShell(0, 0);
  }

  std::vector<Segment> Lines(bool kept_only) const {
    std::vector<Segment> lines;
    for (Line const* line = boolean.GetLines().GetFirst(); line != nullptr; line = line->GetNext()) {
      if (!kept_only || line->GetClassification() == 0) lines.push_back(SegmentOf(*line));
    }
    return lines;
  }
};

double EnclosedArea(std::vector<Segment> const& lines) {
  double area = 0;
  for (auto const& [from, to] : lines) {
    area += (static_cast<double>(from.first) * static_cast<double>(to.second) -
             static_cast<double>(to.first) * static_cast<double>(from.second)) /
            2;
  }
  return area;
}

// The judge: crossings of a horizontal line that meets no grid point, and what they enclose.

struct Crossing {
  double x;
  int turn;         ///< change of the winding number from left to right
  double snapping;  ///< how far snapping to the grid may move it
  bool operator<(Crossing const& other) const { return x < other.x; }
};

std::vector<Crossing> CrossingsAt(double y, std::vector<Segment> const& segments) {
  std::vector<Crossing> crossings;
  for (auto const& [from, to] : segments) {
    auto const y1 = static_cast<double>(from.second);
    auto const y2 = static_cast<double>(to.second);
    if ((y1 < y) == (y2 < y)) continue;
    double const slope = static_cast<double>(to.first - from.first) / (y2 - y1);
    // A line that leads upwards has the left-hand side, which it encloses, at smaller x.
    crossings.push_back(
        {static_cast<double>(from.first) + slope * (y - y1), y1 < y2 ? -1 : 1, 2 * (1 + std::abs(slope))});
  }
  std::sort(crossings.begin(), crossings.end());
  return crossings;
}

/// Where the winding number is positive, as intervals of some length.
std::vector<std::pair<double, double>> PositiveAt(double y, std::vector<Segment> const& segments, int most) {
  std::vector<std::pair<double, double>> intervals;
  int winding = 0;
  auto const crossings = CrossingsAt(y, segments);
  double const unit = 1e-7 * (crossings.empty() ? 1 : 1 + std::abs(crossings.back().x) + std::abs(crossings[0].x));
  for (std::size_t i = 0; i + 1 < crossings.size(); ++i) {
    winding += crossings[i].turn;
    if (crossings[i + 1].x - crossings[i].x < unit) continue;
    if (winding < 0 && most == 1) ADD_FAILURE() << "kept lines enclose to the wrong side, y = " << y;
    if (winding <= 0) continue;
    if (winding > most) ADD_FAILURE() << "kept lines enclose a place twice, y = " << y;
    if (!intervals.empty() && crossings[i].x - intervals.back().second < unit) {
      intervals.back().second = crossings[i + 1].x;
    } else {
      intervals.emplace_back(crossings[i].x, crossings[i + 1].x);
    }
  }
  return intervals;
}

/// The length that only one of the two has.
double Difference(std::vector<std::pair<double, double>> const& a, std::vector<std::pair<double, double>> const& b) {
  std::vector<std::pair<double, int>> ends;
  for (auto const& [begin, end] : a) ends.insert(ends.end(), {{begin, 1}, {end, -1}});
  for (auto const& [begin, end] : b) ends.insert(ends.end(), {{begin, -1}, {end, 1}});
  std::sort(ends.begin(), ends.end());
  double length = 0;
  int state = 0;
  for (std::size_t i = 0; i + 1 < ends.size(); ++i) {
    state += ends[i].second;
    if (state != 0) length += ends[i + 1].first - ends[i].first;
  }
  return length;
}

// Exact predicates, written anew.

int Orientation(XY const& a, XY const& b, XY const& c) {
  Wide const cross = static_cast<Wide>(b.first - a.first) * (c.second - a.second) -
                     static_cast<Wide>(b.second - a.second) * (c.first - a.first);
  return cross > 0 ? 1 : cross < 0 ? -1 : 0;
}

bool IsInside(XY const& point, Segment const& s) {
  return point != s.from && point != s.to && Orientation(s.from, s.to, point) == 0 && std::min(s.from, s.to) < point &&
         point < std::max(s.from, s.to);
}

bool MeetBetweenEnds(Segment const& s, Segment const& t) {
  if (IsInside(s.from, t) || IsInside(s.to, t) || IsInside(t.from, s) || IsInside(t.to, s)) return true;
  return Orientation(s.from, s.to, t.from) * Orientation(s.from, s.to, t.to) < 0 &&
         Orientation(t.from, t.to, s.from) * Orientation(t.from, t.to, s.to) < 0;
}

void ExpectOnlyEndsInCommon(std::vector<Segment> lines) {
  auto const key = [](Segment const& s) { return std::minmax(s.from, s.to); };
  std::sort(lines.begin(), lines.end(), [&](Segment const& a, Segment const& b) { return key(a) < key(b); });
  for (std::size_t i = 0; i < lines.size(); ++i) {
    for (std::size_t j = i + 1; j < lines.size() && key(lines[j]).first.first <= key(lines[i]).second.first; ++j) {
      ASSERT_FALSE(MeetBetweenEnds(lines[i], lines[j]))
          << lines[i].from.first << "," << lines[i].from.second << " " << lines[i].to.first << "," << lines[i].to.second
          << " and " << lines[j].from.first << "," << lines[j].from.second << " " << lines[j].to.first << ","
          << lines[j].to.second;
    }
  }
}

/// Splits and classifies, and compares with the judge on some lines.
void Judge(Layer const& layer, Random& random, bool check_meetings = true) {
  Engine engine(layer);
  engine.boolean.SplitAndClassify();
  auto const split = engine.Lines(false);
  auto const kept = engine.Lines(true);
  if (check_meetings) ExpectOnlyEndsInCommon(split);

  // The parts of a contour still form closed chains.
  std::map<std::pair<std::size_t, M2dGraphPoint const*>, int> balances;
  for (Line const* line = engine.boolean.GetLines().GetFirst(); line != nullptr; line = line->GetNext()) {
    ++balances[{engine.origins[line->GetIndex()], line->GetFirst()}];
    --balances[{engine.origins[line->GetIndex()], line->GetSecond()}];
  }
  for (auto const& [place, balance] : balances) ASSERT_EQ(balance, 0);

  if (engine.input.empty()) return;
  auto const [lowest, highest] =
      std::minmax_element(engine.input.begin(), engine.input.end(),
                          [](Segment const& a, Segment const& b) { return a.from.second < b.from.second; });
  for (int i = 0; i < 12; ++i) {
    double const y = static_cast<double>(Draw(random, lowest->from.second, highest->from.second)) + 0.3183098861;
    auto const result = PositiveAt(y, kept, 1);
    ASSERT_LT(Difference(PositiveAt(y, split, 1 << 20), result), 1e-4 * (1 + std::abs(y))) << "y = " << y;
    double snapping = 0;
    for (Crossing const& crossing : CrossingsAt(y, engine.input)) snapping += crossing.snapping;
    ASSERT_LE(Difference(PositiveAt(y, engine.input, 1 << 20), result), snapping) << "y = " << y;
  }
}

Layer RandomLayer(Random& random, long contours, long first, long last, long reach) {
  Layer layer;
  for (; contours > 0; --contours) {
    if (!layer.empty() && Draw(random, 0, 9) == 0) {  // once more, or the other way round
      layer.push_back(layer[static_cast<std::size_t>(Draw(random, 0, static_cast<long>(layer.size()) - 1))]);
      if (Draw(random, 0, 1) == 0) std::reverse(layer.back().begin(), layer.back().end());
      continue;
    }
    Polygon& polygon = layer.emplace_back();
    XY const centre{Draw(random, first, last), Draw(random, first, last)};
    auto const near = [&](long middle) {
      return std::clamp(Draw(random, middle - reach, middle + reach), first, last);
    };
    for (long points = Draw(random, 1, 8); points > 0; --points)
      polygon.emplace_back(near(centre.first), near(centre.second));
    if (Draw(random, 0, 3) == 0) polygon.push_back(polygon.back());
    if (Draw(random, 0, 3) == 0) polygon.emplace_back(polygon.back().first, near(centre.second));
  }
  return layer;
}

TEST(PlanarEngine, RandomLayersKeepTheBoundaryOfThePositiveArea) {
  struct Kind {
    long contours, first, last, reach, count;
  };
  long const far = 2147483647;
  for (Kind const& kind :
       {Kind{4, 0, 4, 4, 600}, Kind{60, 0, 8, 8, 150}, Kind{30, 0, 30, 8, 300}, Kind{20, -1000, 1000, 300, 500},
        Kind{12, 0, 1000000, 1000000, 500}, Kind{10, -far - 1, far, far, 500}, Kind{20, far - 500, far, 200, 200},
        Kind{75, 0, 60, 60, 30}, Kind{1500, 0, 50000, 1500, 2}}) {
    for (long i = 0; i < kind.count; ++i) {
      Random random(static_cast<unsigned>(i));
      SCOPED_TRACE(testing::Message() << "contours " << kind.contours << " up to " << kind.last << " seed " << i);
      Judge(RandomLayer(random, kind.contours, kind.first, kind.last, kind.reach), random);
      if (HasFatalFailure()) return;
    }
  }
}

TEST(PlanarEngine, ThinSliversOverEachOtherSettle) {
  // Nearly parallel, so that rounding makes new crossings.
  for (unsigned seed = 0; seed < 5; ++seed) {
    Random random(seed);
    Layer layer;
    for (int i = 0; i < 30; ++i) {
      layer.push_back({{Draw(random, 0, 20), Draw(random, 0, 20)},
                       {Draw(random, 3000, 3020), Draw(random, 1000, 1010)},
                       {Draw(random, 0, 20), Draw(random, 0, 20)}});
    }
    Judge(layer, random);
    if (HasFatalFailure()) return;
  }
}

Polygon Square(long x, long y, long size) {
  return {{x, y}, {x + size, y}, {x + size, y + size}, {x, y + size}};
}
Polygon Reversed(Polygon polygon) {
  std::reverse(polygon.begin(), polygon.end());
  return polygon;
}

TEST(PlanarEngine, DegenerateInputHasADefinedAnswer) {
  struct Case {
    char const* name;
    Layer layer;
    double area;
    std::size_t kept;
    std::size_t all;
  };
  Polygon const square = Square(0, 0, 10);
  for (Case const& c : {
           Case{"clockwise encloses nothing", {Reversed(square)}, 0, 0, 4},
           Case{"coincident contours count once", {square, square, square}, 100, 4, 12},
           Case{"opposite contours cancel", {square, Reversed(square)}, 0, 0, 8},
           Case{"one of three is left", {square, Reversed(square), square}, 100, 4, 12},
           Case{"a hole of the same size as one of two", {square, square, Reversed(square)}, 100, 4, 12},
           Case{"common edge vanishes", {square, Square(10, 0, 10)}, 200, 6, 8},
           Case{"common part of an edge vanishes", {square, Square(10, 5, 10)}, 200, 8, 10},
           Case{"a corner touches an edge", {square, {{10, 5}, {20, 0}, {20, 10}}}, 150, 8, 8},
           Case{"a hole touches from inside", {square, {{0, 5}, {5, 8}, {5, 2}}}, 85, 8, 8},
           Case{"a bow tie keeps its positive half", {{{0, 0}, {10, 10}, {10, 0}, {0, 10}}}, 25, 3, 6},
           Case{"a spike vanishes", {{{0, 0}, {10, 0}, {10, 10}, {10, 20}, {10, 10}, {0, 10}}}, 100, 4, 6},
           Case{"a spike inwards vanishes", {{{0, 0}, {10, 0}, {10, 10}, {5, 5}, {10, 10}, {0, 10}}}, 100, 4, 6},
           Case{"a line there and back", {{{0, 0}, {10, 3}}}, 0, 0, 2},
           Case{"one point many times", {{{3, 3}, {3, 3}, {3, 3}}, {{4, 4}}}, 0, 0, 0},
           Case{"points along an edge", {{{0, 0}, {3, 0}, {7, 0}, {10, 0}, {10, 10}, {0, 10}}}, 100, 6, 6},
           Case{"back and forth along an edge", {{{0, 0}, {7, 0}, {3, 0}, {10, 0}, {10, 10}, {0, 10}}}, 100, 6, 8},
           Case{"a contour inside counts twice", {square, Square(2, 2, 6)}, 100, 4, 8},
           Case{"a hole is cut out once", {square, Reversed(Square(2, 2, 6)), Reversed(Square(2, 2, 6))}, 64, 8, 12},
           Case{"a double loop", {{{0, 0}, {10, 0}, {10, 10}, {0, 10}, {0, 0}, {10, 0}, {10, 10}, {0, 10}}}, 100, 4, 8},
       }) {
    SCOPED_TRACE(c.name);
    // Turned by a right angle what was horizontal is vertical.
    for (bool const turned : {false, true}) {
      Layer layer = c.layer;
      for (Polygon& polygon : layer) {
        for (auto& [x, y] : polygon) {
          if (turned) std::tie(x, y) = std::make_pair(-y, x);
        }
      }
      Engine engine(layer);
      engine.boolean.SplitAndClassify();
      EXPECT_EQ(EnclosedArea(engine.Lines(true)), c.area);
      EXPECT_THAT(engine.Lines(true), SizeIs(c.kept));
      EXPECT_THAT(engine.Lines(false), SizeIs(c.all));
    }
  }
}

TEST(PlanarEngine, OpenContoursAreSplitButEncloseNothing) {
  Engine engine({Square(0, 0, 10)});
  engine.Add({{-5, 5}, {15, 5}, {15, 20}}, 1, false);
  engine.Add(Square(20, 0, 10), 2, false);
  // An open path that returns to its start is a ring all the same.
  engine.Add({{40, 0}, {50, 0}, {50, 10}, {40, 0}}, 3, false);
  engine.boolean.SplitAndClassify();
  EXPECT_EQ(EnclosedArea(engine.Lines(true)), 150);
  EXPECT_THAT(engine.Lines(true), SizeIs(6 + 3));
  EXPECT_THAT(engine.Lines(false), SizeIs(6 + 4 + 3 + 3));
}

TEST(PlanarEngine, CountsAreWindingNumbersOnTheRightAndSaturate) {
  Engine nested({Square(0, 0, 100), Square(10, 10, 80), Reversed(Square(20, 20, 10)), Reversed(Square(-50, 0, 10))});
  nested.boolean.SplitAndClassify();
  std::map<std::size_t, std::set<int>> counts;
  for (Line const* line = nested.boolean.GetLines().GetFirst(); line != nullptr; line = line->GetNext())
    counts[nested.origins[line->GetIndex()]].insert(line->GetClassification());
  EXPECT_THAT(counts, ElementsAre(std::pair(0u, std::set<int>{0}), std::pair(1u, std::set<int>{1}),
                                  std::pair(2u, std::set<int>{1}), std::pair(3u, std::set<int>{-1})));

  Engine deep(Layer(40000, Square(0, 0, 10)), true, false);
  deep.boolean.SplitAndClassify();
  EXPECT_EQ(deep.boolean.GetLines().GetLast()->GetClassification(), 32767);
  EXPECT_THAT(deep.Lines(true), SizeIs(4));
}

TEST(PlanarEngine, AStarOfAThousandArmsMeetsInOnePoint) {
  Layer arms;
  Random random(1);
  for (int i = 0; i < 500; ++i) {
    auto const angle = i * 3.14159265358979 / 500;
    auto const x = std::lround(1e6 * std::cos(angle));
    auto const y = std::lround(1e6 * std::sin(angle));
    arms.push_back({{x, y}, {-x, -y}, {x - y / 1000, y + x / 1000}});
  }
  Judge(arms, random, false);
  // Through a place between grid points, so that all crossings fall into one unit.
  arms.resize(100);
  for (auto& arm : arms) arm[1] = {arm[1].first + 1, arm[1].second};
  Judge(arms, random, false);
}

TEST(PlanarEngine, LongFamiliesTakeNoQuadraticTime) {
  long const count = 100000;
  Layer bars;
  for (long i = 0; i < count; ++i)
    bars.push_back({{10 * i, 0}, {10 * i + 5, 0}, {10 * i + 1000005, 700000}, {10 * i + 1000000, 700000}});
  Engine diagonal(bars);
  diagonal.boolean.SplitAndClassify();
  EXPECT_THAT(diagonal.Lines(false), SizeIs(4 * count));
  EXPECT_EQ(EnclosedArea(diagonal.Lines(true)), 5.0 * 700000 * count);

  // One bar across all of them.
  bars.push_back({{0, 350000}, {1, 349990}, {2000000, 349990}, {2000000, 350000}});
  Engine crossed(bars);
  crossed.boolean.SplitAndClassify();
  EXPECT_NEAR(EnclosedArea(crossed.Lines(true)), 5.0 * 700000 * count + 10.0 * 2000000 - 5.0 * 10 * count, 1e7);
  EXPECT_THAT(crossed.Lines(false), SizeIs(4 * count + 4 + 4 * 2 * count));

  // Nearly along one line, one behind the other, and from one point.
  Layer slivers;
  for (long i = 0; i < count; ++i)
    slivers.push_back(
        {{20000 * i - 1000000000, 3 * i}, {20000 * i - 999990000, 3 * i + 1}, {20000 * i - 999990000, 3 * i + 2}});
  Layer fan;
  for (long i = 0; i < 30000; ++i) fan.push_back({{0, 0}, {2000000000, 4 * i}, {2000000000, 4 * i + 2}});
  for (Layer const& layer : {slivers, fan}) {
    Engine engine(layer);
    engine.boolean.SplitAndClassify();
    EXPECT_THAT(engine.Lines(true), SizeIs(3 * layer.size()));
    EXPECT_EQ(EnclosedArea(engine.Lines(true)), EnclosedArea(engine.input));
  }
}

TEST(PlanarEngine, LimitsAreToldBeforeAnythingChanges) {
  M2dBoolean boolean;
  boolean.SetConnectLines(true);
  EXPECT_THROW(boolean.GetPoint(2147483648, 0), std::out_of_range);
  EXPECT_THROW(boolean.GetPoint(0, -2147483649), std::out_of_range);
  M2dGraphPoint* const hub = boolean.GetPoint(-2147483648, 2147483647);
  EXPECT_EQ(hub, boolean.GetPoint(-2147483648, 2147483647));
  for (long i = 0; i < 65535; ++i) boolean.GetLines().AddLine(hub, boolean.GetPoint(i, 0), false);
  EXPECT_THROW(boolean.GetLines().AddLine(hub, boolean.GetPoint(0, 1), false), std::length_error);
  EXPECT_EQ(boolean.GetLines().GetCount(), 65535u);
  EXPECT_EQ(boolean.GetPoint(0, 1)->GetNumLines(), 0);
}

TEST(PlanarGraph, LinesComeAndGoAndPartsInheritWhatTheLineHad) {
  M2dBoolean boolean;
  boolean.SetConnectLines(true);
  auto& lines = boolean.GetLines();
  MDataMask<M2dGraphLine, int> early;
  lines.RegisterMask(early);
  M2dGraphPoint* const a = boolean.GetPoint(0, 0);
  M2dGraphPoint* const b = boolean.GetPoint(10, 0);
  EXPECT_EQ(lines.AddLine(a, a, false), nullptr);
  std::vector<M2dGraphLine*> added;
  for (long i = 1; i <= 5; ++i) added.push_back(lines.AddLine(i == 3 ? b : boolean.GetPoint(0, i), a, i == 3));
  EXPECT_THAT(std::vector<M2dGraphLine*>(a->begin(), a->end()), testing::ElementsAreArray(added));
  added[2]->SetInfo(77);
  early[added[2]->GetIndex()] = 5;
  MDataMask<M2dGraphLine, int> late;
  lines.RegisterMask(late);
  EXPECT_TRUE(late.GetIsActive());
  late[added[2]->GetIndex()] = 6;

  // The second line goes: the others move up, and its index is not given again.
  boolean.RemoveLine(lines.GetFirst()->GetNext());
  boolean.RemoveLine(nullptr);
  EXPECT_THAT(std::vector<M2dGraphLine*>(a->begin(), a->end()), ElementsAre(added[0], added[2], added[3], added[4]));
  Line* const whole = lines.GetFirst()->GetNext();
  boolean.SplitLine(whole, {boolean.GetPoint(5, 0)});
  Line* const rest = whole->GetNext();
  EXPECT_EQ(rest->GetIndex(), 5u);
  EXPECT_EQ(rest->GetNext(), added[3]);
  EXPECT_EQ(rest->GetInfo(), 77);
  EXPECT_TRUE(rest->GetFlag());
  EXPECT_EQ(early[rest->GetIndex()], 5);
  EXPECT_EQ(late[rest->GetIndex()], 6);
  EXPECT_EQ(SegmentOf(*whole).from, XY(10, 0));
  EXPECT_EQ(SegmentOf(*whole).to, XY(5, 0));
  EXPECT_THAT(std::vector<M2dGraphLine*>(b->begin(), b->end()), ElementsAre(whole));
  EXPECT_EQ(boolean.GetPoint(5, 0)->GetNumLines(), 2);
  EXPECT_THAT(std::vector<M2dGraphLine*>(a->begin(), a->end()), ElementsAre(added[0], added[3], added[4], rest));

  // Enough lines for a second block of the masks.
  for (long i = 0; i < 3000; ++i) lines.AddLine(boolean.GetPoint(i, 50), boolean.GetPoint(i, 51), false);
  EXPECT_EQ(early[rest->GetIndex()], 5);
  EXPECT_EQ(early[lines.GetLast()->GetIndex()], 0);

  // A mask that copies a shorter one keeps an entry for every line.
  MDataMask<M2dGraphLine, int> shorter;
  shorter._SetSize(2);
  shorter[1] = 9;
  shorter.SwapInfo(0, 1);
  late.CopyFrom(shorter);
  EXPECT_EQ(late[0], 9);
  EXPECT_EQ(late[lines.GetLast()->GetIndex()], 0);
  EXPECT_EQ(late.GetSize(), early.GetSize());
  late._SetDefault(0);
  EXPECT_EQ(late[0], 0);
  while (!lines.IsEmpty()) boolean.RemoveLine(lines.GetLast());
  EXPECT_EQ(lines.GetFirst(), nullptr);
  EXPECT_EQ(a->GetNumLines(), 0);
}

}  // namespace
