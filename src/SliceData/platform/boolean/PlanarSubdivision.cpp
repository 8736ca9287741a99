#include <SliceData/platform/boolean/PlanarOrder.h>
#include <SliceData/platform/boolean/PlanarSubdivision.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <stdexcept>
#include <utility>

namespace {

constexpr std::size_t kMostSegments = (std::size_t{1} << 31) - 1;

/// Where splits are fewer than one in so many segments, and segments are many, they are settled apart.
constexpr std::size_t kFewSplits = 8;
constexpr std::size_t kManySegments = 4096;

[[noreturn]] void ThrowTooMany() {
  throw std::length_error("Lines fall into more than 2147483647 parts; determine the areas of parts of the layer");
}

/// Tells which segments come near some of them: a map of the plane in cells, with those marked that boxes of the chosen
/// segments touch.
class NearbySegments {
 public:
  NearbySegments(std::vector<PlanarSegment> const& segments, std::vector<PlanarSweep::Split> const& splits)
      : m_cells(static_cast<std::size_t>(std::sqrt(segments.size())) / 4 + 1), m_marks((m_cells + 1) * (m_cells + 1)) {
    m_min = m_max = segments.front().low;
    for (PlanarSegment const& segment : segments) {
      m_min = {std::min(m_min.x, segment.low.x), std::min({m_min.y, segment.low.y, segment.high.y})};
      m_max = {std::max(m_max.x, segment.high.x), std::max({m_max.y, segment.low.y, segment.high.y})};
    }
    for (auto const& split : splits) {
      Cells const cells = _CellsOf(segments[split.segment]);
      ++_At(cells.x0, cells.y0);
      --_At(cells.x1, cells.y0);
      --_At(cells.x0, cells.y1);
      ++_At(cells.x1, cells.y1);
    }
    // From corners of boxes to the number of boxes on a cell, from there to the number of marked cells down to it.
    _Accumulate();
    for (std::int64_t& mark : m_marks) mark = mark != 0 ? 1 : 0;
    _Accumulate();
  }

  bool Contains(PlanarSegment const& segment) const {
    Cells const cells = _CellsOf(segment);
    return _Sum(cells.x1, cells.y1) - _Sum(cells.x0, cells.y1) - _Sum(cells.x1, cells.y0) + _Sum(cells.x0, cells.y0) !=
           0;
  }

 private:
  /// From x0 and y0, up to and without x1 and y1.
  struct Cells {
    std::size_t x0, y0, x1, y1;
  };

  std::size_t _CellOf(std::int32_t value, std::int32_t min, std::int32_t max) const {
    std::int64_t const width = std::int64_t{max} - min + 1;
    return static_cast<std::size_t>((std::int64_t{value} - min) * static_cast<std::int64_t>(m_cells) / width);
  }
  Cells _CellsOf(PlanarSegment const& segment) const {
    auto const [bottom, top] = std::minmax(segment.low.y, segment.high.y);
    return {_CellOf(segment.low.x, m_min.x, m_max.x), _CellOf(bottom, m_min.y, m_max.y),
            _CellOf(segment.high.x, m_min.x, m_max.x) + 1, _CellOf(top, m_min.y, m_max.y) + 1};
  }
  std::int64_t& _At(std::size_t x, std::size_t y) { return m_marks[y * (m_cells + 1) + x]; }
  std::int64_t _Sum(std::size_t x, std::size_t y) const {
    return x == 0 || y == 0 ? 0 : m_marks[(y - 1) * (m_cells + 1) + x - 1];
  }
  void _Accumulate() {
    for (std::size_t y = 0; y <= m_cells; ++y) {
      for (std::size_t x = 1; x <= m_cells; ++x) _At(x, y) += _At(x - 1, y);
    }
    for (std::size_t y = 1; y <= m_cells; ++y) {
      for (std::size_t x = 0; x <= m_cells; ++x) _At(x, y) += _At(x, y - 1);
    }
  }

  std::size_t m_cells;  ///< in each direction
  PlanarPoint m_min;
  PlanarPoint m_max;
  std::vector<std::int64_t> m_marks;
};

}  // namespace

void PlanarSubdivision::AddLine(PlanarPoint from, PlanarPoint to, bool encloses) {
  if (m_input.size() == kMostSegments) ThrowTooMany();
  m_input.push_back({from, to, encloses ? 1 : 0});
}

/// Brings the parts, which are directed from `low` to `high` as yet, into the order of a sweep, each once.
void PlanarSubdivision::_Unite(std::vector<PlanarSegment>&& parts, Step& step) {
  if (parts.size() > kMostSegments) ThrowTooMany();
  std::vector<PlanarKey> items(parts.size());
  step.parts.resize(parts.size());
  for (std::size_t i = 0; i < parts.size(); ++i) {
    PlanarSegment& part = parts[i];
    bool const backward = part.high < part.low;
    if (backward) {
      std::swap(part.low, part.high);
      part.change = -part.change;
    }
    step.parts[i].backward = backward;
    items[i] = {PlanarKeyOf(part.low), static_cast<std::uint32_t>(i)};
  }
  SortByKey(items);
  for (auto begin = items.begin(); begin != items.end();) {
    auto const end = std::find_if(begin, items.end(), [key = begin->key](PlanarKey const& a) { return a.key != key; });
    std::sort(begin, end, [&](PlanarKey const& a, PlanarKey const& b) { return parts[a.index] < parts[b.index]; });
    begin = end;
  }
  m_segments.clear();
  m_segments.reserve(parts.size());
  for (PlanarKey const& item : items) {
    PlanarSegment const& part = parts[item.index];
    if (m_segments.empty() || m_segments.back().low != part.low || m_segments.back().high != part.high) {
      m_segments.push_back(part);
    } else {
      m_segments.back().change += part.change;
    }
    step.parts[item.index].segment = static_cast<std::uint32_t>(m_segments.size() - 1) & kMostSegments;
  }
}

/// Replaces the splits by those that leave nothing to split among the segments near them.
void PlanarSubdivision::_Settle(std::vector<PlanarSweep::Split>& splits) const {
  NearbySegments const nearby(m_segments, splits);
  PlanarSubdivision part;
  std::vector<std::uint32_t> numbers;
  for (std::size_t i = 0; i < m_segments.size(); ++i) {
    if (!nearby.Contains(m_segments[i])) continue;
    part.AddLine(m_segments[i].low, m_segments[i].high, false);
    numbers.push_back(static_cast<std::uint32_t>(i));
  }
  part._Build(false);
  splits.clear();
  std::vector<Piece> pieces;
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    part.GetPieces(static_cast<std::uint32_t>(i), pieces);
    for (std::size_t j = 0; j + 1 < pieces.size(); ++j) splits.push_back({numbers[i], pieces[j].end});
  }
}

void PlanarSubdivision::_Apply(std::vector<PlanarSweep::Split> const& splits) {
  if (splits.size() > kMostSegments) ThrowTooMany();
  // The points of each segment, side by side.
  std::vector<std::uint32_t> first(m_segments.size() + 1);
  for (auto const& split : splits) ++first[split.segment + 1];
  for (std::size_t i = 0; i < m_segments.size(); ++i) first[i + 1] += first[i];
  std::vector<PlanarPoint> points(splits.size());
  std::vector<std::uint32_t> next(first.begin(), first.end() - 1);
  for (auto const& split : splits) points[next[split.segment]++] = split.point;

  Step step;
  step.first.reserve(first.size());
  std::vector<PlanarSegment> parts;
  parts.reserve(m_segments.size() + splits.size());
  for (std::size_t i = 0; i < m_segments.size(); ++i) {
    step.first.push_back(static_cast<std::uint32_t>(parts.size()));
    PlanarSegment part = m_segments[i];
    auto const begin = points.begin() + first[i];
    auto const end = points.begin() + first[i + 1];
    bool const falls = part.high.y < part.low.y;
    std::sort(begin, end, [falls](PlanarPoint a, PlanarPoint b) {
      return a.x != b.x ? a.x < b.x : falls ? b.y < a.y : a.y < b.y;
    });
    PlanarPoint const high = part.high;
    for (auto point = begin; point != end; ++point) {
      if (*point == part.low) continue;
      part.high = *point;
      parts.push_back(part);
      part.low = *point;
    }
    part.high = high;
    parts.push_back(part);
  }
  step.first.push_back(static_cast<std::uint32_t>(parts.size()));
  _Unite(std::move(parts), step);
  m_steps.push_back(std::move(step));
}

/// With `settle` false all is swept again after every split, as it should be where nearly all may be split.
void PlanarSubdivision::_Build(bool settle) {
  _Unite(std::move(m_input), m_steps.emplace_back());
  m_input = {};
  for (;;) {
    PlanarSweep sweep(m_segments);
    sweep.Run();
    if (sweep.GetSplits().empty()) {
      m_windings = sweep.TakeWindings();
      return;
    }
    std::vector<PlanarSweep::Split> splits = sweep.TakeSplits();
    if (settle && m_segments.size() > kManySegments && splits.size() < m_segments.size() / kFewSplits) _Settle(splits);
    _Apply(splits);
  }
}

void PlanarSubdivision::_Collect(std::size_t step, Part part, std::vector<Piece>& pieces) const {
  if (step == m_steps.size()) {
    PlanarSegment const& segment = m_segments[part.segment];
    pieces.push_back({part.backward ? segment.low : segment.high, part.segment, !part.backward});
    return;
  }
  std::vector<Part> const& parts = m_steps[step].parts;
  std::uint32_t const begin = m_steps[step].first[part.segment];
  std::uint32_t const end = m_steps[step].first[part.segment + 1];
  for (std::uint32_t i = begin; i != end; ++i) {
    Part next = parts[part.backward ? end - 1 - (i - begin) : i];
    next.backward ^= part.backward;
    _Collect(step + 1, next, pieces);
  }
}

void PlanarSubdivision::GetPieces(std::uint32_t line, std::vector<Piece>& pieces) const {
  pieces.clear();
  _Collect(1, m_steps.front().parts[line], pieces);
}
