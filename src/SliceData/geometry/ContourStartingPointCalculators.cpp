#include <SliceData/geometry/ContourStartingPointCalculators.h>
#include <SliceData/geometry/NextPointFunctors.h>
#include <SliceData/geometry/PointDistance.h>
#include <SliceData/platform/math/CMathConst.h>
#include <SliceData/platform/math/MMPoint2d.h>
#include <SliceData/slice_model/M2DSliceContour.h>

#include <algorithm>
#include <cassert>
#include <cmath>
#include <limits>
#include <random>
#include <utility>
#include <vector>

namespace M2DSliceUtilities {

namespace {

using Point = M2DSliceContourPoint;

Point const* Advanced(Point const* point, unsigned long steps) {
  for (; steps != 0; --steps) point = point->next;
  return point;
}

MMPoint3dIntegerTypes<long> At(Point const& point, long z) {
  return {point.x, point.y, z};
}

/// Hops over random numbers of points of a contour that is not empty. The same contour, layer and index give the same
/// hops.
class RandomHops {
 public:
  static constexpr int kMaxTries = 10;

  RandomHops(M2DSliceContour const& contour, unsigned long index, long z)
      : m_generator(_GetSeed(*contour.GetFirstPoint(), index, z)),
        m_length(1, static_cast<int>(std::min<unsigned long>(contour.GetNumPoints(), kMaxInt))),
        m_cursor(contour.GetFirstPoint()) {}

  Point const* Next() {
    m_cursor = Advanced(m_cursor, static_cast<unsigned long>(m_length(m_generator)));
    return m_cursor;
  }

 private:
  static constexpr unsigned long kMaxInt = std::numeric_limits<int>::max();

  /// In unsigned arithmetic, which wraps around.
  static std::uint32_t _GetSeed(Point const& first, unsigned long index, long z) {
    unsigned long const sum = static_cast<unsigned long>(z) * index + static_cast<unsigned long>(first.x) +
                              static_cast<unsigned long>(first.y) + 1;
    return static_cast<std::uint32_t>(static_cast<long>(sum) < 0 ? -sum : sum);
  }

  std::mt19937 m_generator;
  std::uniform_int_distribution<int> m_length;  ///< of a hop, in points
  Point const* m_cursor;
};

/// This height stands for none: points are not tested at it.
constexpr long kNoHeight = std::numeric_limits<long>::min();

using Vector = MMPoint2d<double>;

double Length(Vector const& v) {
  return std::sqrt(v.x * v.x + v.y * v.y);
}

Vector DirectionAt(double degrees) {
  double const radians = degrees * CMathConst::kPi / 180;
  Vector direction{std::cos(radians), std::sin(radians)};
  double const length = Length(direction);
  if (length > 0) direction = {direction.x / length, direction.y / length};
  return direction;
}

double Projected(Point const& point, Vector const& direction) {
  return static_cast<double>(point.x) * direction.x + static_cast<double>(point.y) * direction.y;
}

}  // namespace

IContourStartingPointCalculator::~IContourStartingPointCalculator() = default;

Point const* ContourStartingPointCalculatorSharpestAngle::FindOptimalStartingPoint(M2DSliceContour const& contour) {
  Point const* sharpest = contour.GetFirstPoint();
  double best_score = 0;
  for (Point const& point : contour.GetPoints()) {
    Vector const u{Difference(point.x, point.previous->x), Difference(point.y, point.previous->y)};
    Vector const w{Difference(point.next->x, point.x), Difference(point.next->y, point.y)};
    double const u_length = Length(u);
    double const w_length = Length(w);
    if (u_length == 0 || w_length == 0) continue;
    double const cosine = (u.x * w.x + u.y * w.y) / (u_length * w_length);
    // From 0 to 4, where 2 is straight on.
    double const turn = u.x * w.y - u.y * w.x > 0 ? 3 - cosine : cosine + 1;
    if (turn == 0) continue;
    double const score = std::abs(turn - 2);
    if (score > best_score) {
      best_score = score;
      sharpest = &point;
    }
  }
  return sharpest;
}

ContourStartingPointCalculatorRepeatAfter::ContourStartingPointCalculatorRepeatAfter(unsigned long index,
                                                                                     long repeatCount)
    : m_index(index), m_repeat_count(repeatCount) {}

Point const* ContourStartingPointCalculatorRepeatAfter::FindOptimalStartingPoint(M2DSliceContour const& contour) {
  std::int32_t const offset = _GetOffset(contour.GetNumPoints());
  return Advanced(contour.GetFirstPoint(), offset < 1 ? 0 : static_cast<unsigned long>(offset));
}

std::int32_t ContourStartingPointCalculatorRepeatAfter::_GetOffset(unsigned long num_points) {
  if (m_repeat_count == 0) m_repeat_count = 1;
  auto const period = static_cast<unsigned long>(m_repeat_count);
  return static_cast<std::int32_t>(m_index % period * (num_points / period));
}

ContourStartingPointCalculatorMetal::ContourStartingPointCalculatorMetal(unsigned long index, long repeatCount,
                                                                         long stepLength)
    : m_index(index), m_repeat_count(repeatCount), m_step_length(stepLength) {}

Point const* ContourStartingPointCalculatorMetal::FindOptimalStartingPoint(M2DSliceContour const& contour) {
  if (m_repeat_count == 0) m_repeat_count = 1;
  if (contour.GetFirstPoint() == nullptr) return nullptr;

  // Whole rounds lead back to where they began.
  Point const* const start = Advanced(contour.GetFirstPoint(), _GetStartOffset() % contour.GetNumPoints());
  long const distance = _GetDistance(contour);
  if (distance < 1) return start;

  auto const hop = [](Point const& from, Point const& to) { return Truncated(Distance(from, to)); };
  long round = 0;
  for (Point const& point : contour.GetPoints()) round = BoundedSum(round, hop(point, *point.next));
  assert(round != 0);
  if (round == 0) return start;

  bool const backward = m_index % 2 != 0;
  long remaining = distance;
  Point const* reached = start;
  if (backward) {
    reached = start->next;
    remaining -= hop(*start, *reached);
    if (remaining < 1) return reached;
  }
  // Whole rounds lead back to where they began.
  for (remaining = (remaining - 1) % round + 1; remaining > 0;) {
    Point const* const next = backward ? reached->previous : reached->next;
    remaining -= hop(*reached, *next);
    reached = next;
  }
  return reached;
}

unsigned long ContourStartingPointCalculatorMetal::_GetStartOffset() const {
  if (m_repeat_count < 0) return 0;
  auto const period = static_cast<unsigned long>(m_repeat_count);
  double const quotient = std::floor(static_cast<double>(m_index) / static_cast<double>(period));
  if (quotient >= 0x1p64) return 0;
  auto const group = static_cast<unsigned long>(quotient);
  // Large quotients are rounded, perhaps into another group.
  unsigned long base = 0;
  if (__builtin_mul_overflow(group, period, &base) || m_index < base || m_index - base >= period) return 0;
  return period + group;
}

/// In unsigned arithmetic, which wraps around.
long ContourStartingPointCalculatorMetal::_GetDistance(M2DSliceContour const& contour) const {
  long const border = contour.GetVectorTypeInfo().GetIndex(e2DSliceVectorTypeIndex::IndexBorder);
  unsigned long const turn = m_index % static_cast<unsigned long>(m_repeat_count);
  unsigned long const num_steps = turn + static_cast<unsigned long>(border == -1 ? 0 : border);
  return static_cast<long>(num_steps * static_cast<unsigned long>(m_step_length));
}

ContourStartingPointCalculatorRandom::ContourStartingPointCalculatorRandom(unsigned long index, long z,
                                                                           std::shared_ptr<IStartPointData> data)
    : m_index(index), m_z(z), m_data(std::move(data)) {}

ContourStartingPointCalculatorRandom::~ContourStartingPointCalculatorRandom() = default;

Point const* ContourStartingPointCalculatorRandom::FindOptimalStartingPoint(M2DSliceContour const& contour) {
  Point const* cursor = contour.GetFirstPoint();
  if (!contour.GetIsClosed() || cursor == nullptr) return cursor;
  RandomHops hops(contour, m_index, m_z);
  for (int i = 0; i < RandomHops::kMaxTries; ++i) {
    cursor = hops.Next();
    if (m_data == nullptr || m_z == kNoHeight || m_data->IsPointValid(At(*cursor, m_z))) break;
  }
  if (m_data != nullptr) m_data->AddPointToList(At(*cursor, m_z));
  return cursor;
}

ContourStartingPointCalculatorRandomMinDistance::ContourStartingPointCalculatorRandomMinDistance(
    unsigned long index, long z, boost::shared_ptr<IStartPointData> data)
    : m_index(index), m_z(z), m_data(std::move(data)) {}

ContourStartingPointCalculatorRandomMinDistance::~ContourStartingPointCalculatorRandomMinDistance() = default;

Point const* ContourStartingPointCalculatorRandomMinDistance::FindOptimalStartingPoint(M2DSliceContour const& contour) {
  Point const* const first = contour.GetFirstPoint();
  if (first == nullptr) return nullptr;
  auto* const data = dynamic_cast<StartPointDataPerSlice*>(m_data.get());
  RandomHops hops(contour, m_index, m_z);
  if (data == nullptr) return hops.Next();

  Point const* chosen = first;
  long best_score = 0;
  for (int i = 0; i < RandomHops::kMaxTries; ++i) {
    Point const* const candidate = hops.Next();
    if (m_z == kNoHeight || data->IsPointValid(At(*candidate, m_z))) {
      chosen = candidate;
      break;
    }
    long const score = data->GetSumOfDistances(At(*candidate, m_z));
    if (score > best_score) {
      best_score = score;
      chosen = candidate;
    }
  }
  data->AddPointToList(At(*chosen, m_z));
  return chosen;
}

ContourStartingPointCalculatorClosestNeighbor::ContourStartingPointCalculatorClosestNeighbor(
    M2DSliceContourPoint const* reference)
    : m_reference(reference) {}

Point const* ContourStartingPointCalculatorClosestNeighbor::FindOptimalStartingPoint(M2DSliceContour const& contour) {
  Point const* closest = contour.GetFirstPoint();
  if (closest == nullptr || m_reference == nullptr) return closest;
  double smallest = Distance(*closest, *m_reference);
  for (Point const& point : contour.GetPoints()) {
    double const distance = Distance(point, *m_reference);
    if (distance < smallest) {
      smallest = distance;
      closest = &point;
    }
  }
  return closest;
}

ContourStartingPointCalculatorClockwise::ContourStartingPointCalculatorClockwise(unsigned long steps, bool clockwise)
    : m_steps(steps), m_clockwise(clockwise) {}

Point const* ContourStartingPointCalculatorClockwise::FindOptimalStartingPoint(M2DSliceContour const& contour) {
  Point const* point = contour.GetFirstPoint();
  if (m_steps == 0 || point == nullptr) return point;

  unsigned long round = 0;
  for (Point const& other : contour.GetPoints()) round += IsSamePlace(other, *other.next) ? 0 : 1;
  assert(round != 0);
  if (round == 0) return point;

  NextPointFunctorClock functor(m_clockwise);
  functor.OnNewContour(&contour);
  // Whole rounds lead back to where they began.
  for (unsigned long remaining = (m_steps - 1) % round + 1; remaining != 0;) {
    Point const* const next = functor.GetNextPoint(point);
    if (!IsSamePlace(*next, *point)) --remaining;
    point = next;
  }
  return point;
}

ContourStartingPointCalculatorSpecific::ContourStartingPointCalculatorSpecific(long id, double angle, long z,
                                                                               std::shared_ptr<IStartPointData> data)
    : m_id(id), m_angle(angle), m_z(z), m_data(std::move(data)) {}

ContourStartingPointCalculatorSpecific::~ContourStartingPointCalculatorSpecific() = default;

Point const* ContourStartingPointCalculatorSpecific::FindOptimalStartingPoint(M2DSliceContour const& contour) {
  if (contour.GetFirstPoint() == nullptr) return nullptr;
  struct Candidate {
    double along;
    double across;
    Point const* point;
  };
  Vector const along = DirectionAt(m_angle + 90);
  Vector const across = DirectionAt(m_angle + 180);
  std::vector<Candidate> candidates;
  candidates.reserve(contour.GetNumPoints());
  for (Point const& point : contour.GetPoints()) {
    candidates.push_back({Projected(point, along), Projected(point, across), &point});
  }
  // Near the tolerance this comparison is no strict weak order, and std::sort could run out of bounds on it. The merge
  // sort behind std::stable_sort stays inside with any comparison that gives the same answer every time.
  std::stable_sort(candidates.begin(), candidates.end(), [this](Candidate const& a, Candidate const& b) {
    return m_tolerance > std::abs(a.along - b.along) ? a.across < b.across : a.along < b.along;
  });

  Point const* const first = candidates.front().point;
  if (m_data == nullptr) return first;
  auto const valid = std::find_if(candidates.begin(), candidates.end(), [this](Candidate const& candidate) {
    return m_data->IsPointValid(At(*candidate.point, m_z));
  });
  Point const* const chosen = valid != candidates.end() ? valid->point : first;
  m_data->AddPointToList(At(*chosen, m_z));
  return chosen;
}

}  // namespace M2DSliceUtilities
