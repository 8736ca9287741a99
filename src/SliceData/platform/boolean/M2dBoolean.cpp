#include <SliceData/platform/boolean/M2dBoolean.h>
#include <SliceData/platform/boolean/PlanarSubdivision.h>

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <vector>

namespace {

using Line = M2dGraph::Line;

constexpr std::int16_t kBoundsNothing = -1;

PlanarPoint ToPlanar(M2dGraphPoint const& point) {
  return {static_cast<std::int32_t>(point.GetX()), static_cast<std::int32_t>(point.GetY())};
}

std::int16_t Saturated(std::int32_t count) {
  using Limits = std::numeric_limits<std::int16_t>;
  return static_cast<std::int16_t>(std::clamp<std::int32_t>(count, Limits::min(), Limits::max()));
}

/// The ends of a set of lines that do not cancel: where paths begin, and where they end.
class PathEnds {
 public:
  void Add(M2dGraphLine const& line) {
    // Most lines go on where the one before ended, or, added in reverse, end where it began.
    if (!m_ends.empty() && m_ends.back() == line.GetFirst()) {
      m_ends.back() = line.GetSecond();
    } else if (!m_starts.empty() && m_starts.back() == line.GetSecond()) {
      m_starts.back() = line.GetFirst();
    } else {
      m_starts.push_back(line.GetFirst());
      m_ends.push_back(line.GetSecond());
    }
  }

  bool Cancel() {
    std::sort(m_starts.begin(), m_starts.end());
    std::sort(m_ends.begin(), m_ends.end());
    return m_starts == m_ends;
  }

 private:
  std::vector<M2dGraphPoint const*> m_starts;
  std::vector<M2dGraphPoint const*> m_ends;
};

/// Gives the lines along each segment their counts, one after the other.
class LineCounts {
 public:
  explicit LineCounts(PlanarSubdivision const& subdivision)
      : m_subdivision(subdivision), m_num_counted(subdivision.GetNumSegments()) {}

  std::int16_t Next(PlanarSubdivision::Piece const& piece, bool encloses) {
    std::int32_t const change = m_subdivision.GetChange(piece.segment);
    auto& num_counted = m_num_counted[piece.segment];
    bool const is_left_over = piece.forward ? num_counted < change : num_counted < -change;
    if (!encloses || !is_left_over) return kBoundsNothing;
    std::int32_t const lower_side = m_subdivision.GetWinding(piece.segment);
    std::int32_t const right_hand_side = piece.forward ? lower_side : lower_side + change;
    return Saturated(right_hand_side + num_counted++);
  }

 private:
  PlanarSubdivision const& m_subdivision;
  std::vector<std::int32_t> m_num_counted;
};

}  // namespace

void M2dBoolean::AddShell([[maybe_unused]] long min_y, [[maybe_unused]] long max_y) {
  assert(min_y <= max_y);
  _EndContour();
}

void M2dBoolean::_EndContour() {
  // Lines are appended, so those of the contour stand at the end.
  Line* const last = GetLines().GetLast();
  PathEnds ends;
  Line* first = nullptr;
  for (Line* line = last; line != nullptr && line->GetIndex() >= m_contour_begin; line = line->GetPrevious()) {
    ends.Add(*line);
    first = line;
  }
  bool const is_open = m_contour_is_open || !ends.Cancel();
  m_contour_is_open = false;
  for (Line* line = first; line != nullptr; line = line->GetNext()) line->SetIsOpen(is_open);
  m_contour_begin = GetLines().GetNextIndex();
}

void M2dBoolean::SplitAndClassify() {
  _EndContour();
  PlanarSubdivision subdivision;
  subdivision.Reserve(GetLines().GetCount());
  for (Line const* line = GetLines().GetFirst(); line != nullptr; line = line->GetNext())
    subdivision.AddLine(ToPlanar(*line->GetFirst()), ToPlanar(*line->GetSecond()), !line->GetIsOpen());
  subdivision.Build();

  LineCounts counts(subdivision);
  std::vector<PlanarSubdivision::Piece> pieces;
  std::vector<M2dGraphPoint*> points;
  std::uint32_t number = 0;
  for (Line* line = GetLines().GetFirst(); line != nullptr; line = line->GetNext()) {
    subdivision.GetPieces(number++, pieces);
    points.clear();
    for (std::size_t i = 0; i + 1 < pieces.size(); ++i) points.push_back(GetPoint(pieces[i].end.x, pieces[i].end.y));
    SplitLine(line, points);
    bool const encloses = !line->GetIsOpen();
    line->SetClassification(counts.Next(pieces.front(), encloses));
    for (std::size_t i = 1; i < pieces.size(); ++i) {
      line = line->GetNext();
      line->SetClassification(counts.Next(pieces[i], encloses));
    }
  }
  m_contour_begin = GetLines().GetNextIndex();
}
