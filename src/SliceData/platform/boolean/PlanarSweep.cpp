#include <SliceData/platform/boolean/PlanarOrder.h>
#include <SliceData/platform/boolean/PlanarSweep.h>

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdlib>
#include <iterator>
#include <optional>
#include <utility>

namespace {

struct Quotient {
  PlanarWide floor;
  PlanarWide rest;
};

/// The quotient rounded down, for a positive divisor.
Quotient Divide(PlanarWide dividend, PlanarWide divisor) {
  PlanarWide floor = 0;
  PlanarWide rest = 0;
  if (dividend == static_cast<std::int64_t>(dividend) && divisor == static_cast<std::int64_t>(divisor)) {
    floor = static_cast<std::int64_t>(dividend) / static_cast<std::int64_t>(divisor);
    rest = static_cast<std::int64_t>(dividend) % static_cast<std::int64_t>(divisor);
  } else {
    floor = dividend / divisor;
    rest = dividend - floor * divisor;
  }
  if (rest < 0) {
    --floor;
    rest += divisor;
  }
  return {floor, rest};
}

std::int32_t Plus(std::int32_t base, PlanarWide offset) {
  return static_cast<std::int32_t>(base + static_cast<std::int64_t>(offset));
}

/// `base` + `dividend` / `divisor`, rounded to nearest, halves up.
std::int32_t Rounded(std::int32_t base, Quotient quotient, PlanarWide divisor) {
  return Plus(base, quotient.floor + (2 * quotient.rest >= divisor ? 1 : 0));
}

}  // namespace

bool PlanarSweep::Below::operator()(Entry a, Entry b) const {
  PlanarSegment const& first = segments[a.segment];
  PlanarSegment const& second = segments[b.segment];
  int side = 0;
  if (first.low < second.low) {
    side = PlanarSide(first, second.low);
  } else if (second.low < first.low) {
    side = -PlanarSide(second, first.low);
  }
  if (side == 0) side = PlanarTurn(first, second);
  return side != 0 ? side > 0 : a.segment < b.segment;
}

PlanarSweep::PlanarSweep(std::vector<PlanarSegment> const& segments)
    : m_segments(segments), m_status(Below{segments.data()}) {
  m_places.resize(segments.size(), m_status.end());
  m_windings.resize(segments.size());
  std::vector<PlanarKey> ends(segments.size());
  for (std::size_t i = 0; i < segments.size(); ++i)
    ends[i] = {PlanarKeyOf(segments[i].high), static_cast<std::uint32_t>(i)};
  SortByKey(ends);
  m_by_end.reserve(segments.size());
  for (PlanarKey const& end : ends) m_by_end.push_back(end.index);
}

void PlanarSweep::Run() {
  auto const count = static_cast<std::uint32_t>(m_segments.size());
  Range ends{0, 0};
  Range starts{0, 0};
  std::int32_t column = 0;
  while (ends.begin < count) {
    PlanarPoint point = m_segments[m_by_end[ends.begin]].high;
    if (starts.begin < count) point = std::min(point, m_segments[starts.begin].low);
    if (point.x != column) {
      m_verticals.clear();
      column = point.x;
      _SwapUpTo(column);
    }
    while (ends.end < count && m_segments[m_by_end[ends.end]].high == point) ++ends.end;
    while (starts.end < count && m_segments[starts.end].low == point) ++starts.end;
    _HandlePoint(point, ends, starts);
    ends.begin = ends.end;
    starts.begin = starts.end;
  }
}

void PlanarSweep::_SwapUpTo(std::int32_t x) {
  std::optional<PlanarPoint> last_meeting;
  while (!m_swaps.empty() && m_swaps.top().x <= x) {
    Swap const swap = m_swaps.top();
    m_swaps.pop();
    Place const lower = m_places[swap.lower];
    if (lower == m_status.end()) continue;
    Place const upper = std::next(lower);
    if (upper == m_status.end() || upper->segment != swap.upper) continue;  // no longer neighbours
    std::swap(lower->segment, upper->segment);
    std::swap(m_places[swap.lower], m_places[swap.upper]);
    // Where many cross in one unit once is enough.
    if (!last_meeting || *last_meeting != swap.meeting) _Snap(swap.meeting, lower, std::next(upper), m_splits);
    last_meeting = swap.meeting;
    if (lower != m_status.begin()) _Check(std::prev(lower), lower);
    _Check(upper, std::next(upper));
  }
}

void PlanarSweep::_HandlePoint(PlanarPoint point, Range ends, Range starts) {
  std::uint32_t num_ending = 0;
  for (std::uint32_t i = ends.begin; i != ends.end; ++i) {
    if (!m_segments[m_by_end[i]].IsVertical()) std::swap(m_by_end[i], m_by_end[ends.begin + num_ending++]);
  }
  Range const ending{ends.begin, ends.begin + num_ending};
  Range starting = starts;  // verticals come last
  while (starting.end != starting.begin && m_segments[starting.end - 1].IsVertical()) --starting.end;

  if (ending.end != ends.end) {
    m_verticals.erase(std::remove_if(m_verticals.begin(), m_verticals.end(),
                                     [&](std::uint32_t segment) { return m_segments[segment].high == point; }),
                      m_verticals.end());
  }
  for (std::uint32_t const vertical : m_verticals) _AddSplit(vertical, point);

  Place above = m_status.end();
  bool is_above = _Replace(point, ending, starting, above);
  if (!is_above) {
    _RemoveAndInsert(point, ending, starting);
    above = m_status.upper_bound(point);
  }
  Place below = above;
  while (below != m_status.begin() && m_segments[std::prev(below)->segment].low == point) --below;
  _Snap(point, below, above, m_snaps);
  if (starting.end == starts.end) return;
  _BeginVerticals(point, {starting.end, starts.end}, above);
}

/// Puts what begins at the point into the place of what ends there: the usual case, where no other segment comes near.
/// Otherwise returns false and does nothing. Sets `above` to the place above the point.
bool PlanarSweep::_Replace(PlanarPoint point, Range ending, Range starting, Place& above) {
  if (ending.begin == ending.end) return false;
  auto const ends_here = [&](Place place) { return m_segments[place->segment].high == point; };
  Place lowest = m_places[m_by_end[ending.begin]];
  while (lowest != m_status.begin() && ends_here(std::prev(lowest))) --lowest;
  std::uint32_t num_adjacent = 0;
  for (above = lowest; above != m_status.end() && ends_here(above); ++above) ++num_adjacent;
  if (num_adjacent != ending.end - ending.begin) return false;
  if (above != m_status.end() && PlanarSide(m_segments[above->segment], point) >= 0) return false;
  if (lowest != m_status.begin() && PlanarSide(m_segments[std::prev(lowest)->segment], point) <= 0) return false;

  std::int32_t winding = _WindingBelow(lowest);
  Place place = lowest;
  for (std::uint32_t segment = starting.begin; segment != starting.end; ++segment) {
    if (place == above) {
      place = m_status.emplace_hint(above, Entry{segment});
    } else {
      m_places[place->segment] = m_status.end();
      place->segment = segment;
    }
    m_places[segment] = place;
    m_windings[segment] = winding;
    winding += m_segments[segment].change;
    if (place != m_status.begin()) _Check(std::prev(place), place);
    ++place;
  }
  while (place != above) {
    m_places[place->segment] = m_status.end();
    place = m_status.erase(place);
  }
  if (above != m_status.begin()) _Check(std::prev(above), above);
  return true;
}

void PlanarSweep::_RemoveAndInsert(PlanarPoint point, Range ending, Range starting) {
  for (std::uint32_t i = ending.begin; i != ending.end; ++i) {
    std::uint32_t const segment = m_by_end[i];
    Place const above = m_status.erase(m_places[segment]);
    m_places[segment] = m_status.end();
    // Others that end here are on their way out; those that stay become neighbours.
    if (above != m_status.end() && above != m_status.begin() && m_segments[above->segment].high != point)
      _Check(std::prev(above), above);
  }
  auto const [first, last] = m_status.equal_range(point);
  if (first != last) _SortPassing(point, first, last);
  for (std::uint32_t segment = starting.begin; segment != starting.end; ++segment) {
    Place const place = segment == starting.begin
                            ? m_status.emplace_hint(last, Entry{segment})
                            : m_status.emplace_hint(std::next(m_places[segment - 1]), Entry{segment});
    m_places[segment] = place;
    m_windings[segment] = _WindingBelow(place);
    if (place != m_status.begin()) _Check(std::prev(place), place);
    Place const above = std::next(place);
    bool const is_last = segment + 1 == starting.end;
    // Otherwise the next one that begins here goes between, unless another one passes through the point.
    if (above != m_status.end() && (is_last || PlanarSide(m_segments[above->segment], point) == 0))
      _Check(place, above);
  }
}

/// Brings what goes on through the point into the order behind it. Some may have been kept apart by others that end
/// here.
void PlanarSweep::_SortPassing(PlanarPoint point, Place first, Place last) {
  std::vector<std::uint32_t> passing;
  for (Place place = first; place != last; ++place) passing.push_back(place->segment);
  std::sort(passing.begin(), passing.end(), [&](std::uint32_t a, std::uint32_t b) {
    int const turn = PlanarTurn(m_segments[a], m_segments[b]);
    return turn != 0 ? turn > 0 : a < b;
  });
  Place place = first;
  for (std::uint32_t const segment : passing) {
    _AddSplit(segment, point);
    place->segment = segment;
    m_places[segment] = place;
    if (place != m_status.begin()) _Check(std::prev(place), place);
    ++place;
  }
  _Check(std::prev(last), last);
}

/// Notes a split for what runs through the unit of the grid around the point, in the status below one place and from
/// another one up.
void PlanarSweep::_Snap(PlanarPoint point, Place below, Place above, std::vector<Split>& splits) const {
  auto const passes = [&](std::uint32_t number) {
    PlanarSegment const& segment = m_segments[number];
    std::int64_t const width = std::int64_t{segment.high.x} - segment.low.x;
    std::int64_t const rise = std::int64_t{segment.high.y} - segment.low.y;
    PlanarWide const distance = PlanarCross(segment.low, segment.high, segment.low, point);
    PlanarWide const beyond = 2 * (distance < 0 ? -distance : distance) - width - std::abs(rise);
    // The unit around the point has its left and its lower edge, and the corner between them, but not the others.
    if (beyond > 0 || (beyond == 0 && (rise > 0 || distance < 0))) return false;
    auto const [bottom, top] = std::minmax(segment.low.y, segment.high.y);
    bool const in_box = segment.low.x <= point.x && point.x <= segment.high.x && bottom <= point.y && point.y <= top;
    if (in_box && segment.low != point && segment.high != point) splits.push_back({number, point});
    return true;
  };
  for (; above != m_status.end() && passes(above->segment); ++above) continue;
  for (; below != m_status.begin() && passes(std::prev(below)->segment); --below) continue;
}

std::vector<PlanarSweep::Split> PlanarSweep::TakeSplits() {
  std::vector<bool> is_split(m_segments.size());
  for (Split const& split : m_splits) is_split[split.segment] = true;
  for (Split const& snap : m_snaps) {
    if (is_split[snap.segment]) m_splits.push_back(snap);
  }
  return std::move(m_splits);
}

/// `above` is the lowest in the status that lies above the point.
void PlanarSweep::_BeginVerticals(PlanarPoint point, Range starts, Place above) {
  std::int32_t const winding = _WindingBelow(above);
  // What goes through the point and does not begin here. Splitting it is all: the vertical begins here.
  for (Place place = above; place != m_status.begin();) {
    --place;
    PlanarSegment const& other = m_segments[place->segment];
    if (PlanarSide(other, point) != 0) break;
    if (other.low != point) _AddSplit(place->segment, point);
  }
  for (std::uint32_t vertical = starts.begin; vertical != starts.end; ++vertical) {
    PlanarPoint const high = m_segments[vertical].high;
    m_windings[vertical] = winding;
    m_verticals.push_back(vertical);
    for (Place place = above; place != m_status.end(); ++place) {
      PlanarSegment const& other = m_segments[place->segment];
      if (PlanarSide(other, high) < 0) break;
      if (other.high.x == point.x) continue;  // its end is an event on the vertical
      PlanarWide const width = std::int64_t{other.high.x} - other.low.x;
      PlanarWide const rise = std::int64_t{other.high.y} - other.low.y;
      Quotient const quotient = Divide((std::int64_t{point.x} - other.low.x) * rise, width);
      PlanarPoint const meeting{point.x, Rounded(other.low.y, quotient, width)};
      _AddSplit(place->segment, meeting);
      _AddSplit(vertical, meeting);
    }
  }
}

/// Tests two neighbours of which the lower one lies below the other at the sweep line. The second may be no one.
void PlanarSweep::_Check(Place lower, Place upper) {
  if (upper == m_status.end()) return;
  PlanarSegment const& a = m_segments[lower->segment];
  PlanarSegment const& b = m_segments[upper->segment];
  bool const lower_ends_first = a.high.x <= b.high.x;
  int const side = lower_ends_first ? PlanarSide(b, a.high) : -PlanarSide(a, b.high);
  if (side < 0) return;
  if (side > 0) {
    _AddCrossing(lower->segment, upper->segment);
  } else if (a.high != b.high) {
    if (lower_ends_first) {
      _AddSplit(upper->segment, a.high);
    } else {
      _AddSplit(lower->segment, b.high);
    }
  }
}

void PlanarSweep::_AddCrossing(std::uint32_t lower, std::uint32_t upper) {
  PlanarSegment const& a = m_segments[lower];
  PlanarSegment const& b = m_segments[upper];
  // a.low + t (a.high - a.low), where t = part / whole.
  PlanarWide whole = PlanarCross(a.low, a.high, b.low, b.high);
  PlanarWide part = PlanarCross(a.low, b.low, b.low, b.high);
  assert(whole != 0);
  if (whole < 0) {
    whole = -whole;
    part = -part;
  }
  Quotient const x = Divide(part * (std::int64_t{a.high.x} - a.low.x), whole);
  Quotient const y = Divide(part * (std::int64_t{a.high.y} - a.low.y), whole);
  PlanarPoint const meeting{Rounded(a.low.x, x, whole), Rounded(a.low.y, y, whole)};
  _AddSplit(lower, meeting);
  _AddSplit(upper, meeting);
  m_swaps.push({Plus(a.low.x, x.floor + (x.rest > 0 ? 1 : 0)), lower, upper, meeting});
}

void PlanarSweep::_AddSplit(std::uint32_t segment, PlanarPoint point) {
  if (point != m_segments[segment].low && point != m_segments[segment].high) m_splits.push_back({segment, point});
}

std::int32_t PlanarSweep::_WindingBelow(Place place) const {
  if (place == m_status.begin()) return 0;
  std::uint32_t const below = std::prev(place)->segment;
  return m_windings[below] + m_segments[below].change;
}
