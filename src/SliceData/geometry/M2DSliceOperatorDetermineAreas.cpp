#include <SliceData/geometry/M2DSliceOperatorDetermineAreas.h>
#include <SliceData/platform/boolean/M2dBoolean.h>
#include <SliceData/slice_model/M2DSliceContourLayer.h>

#include <algorithm>
#include <deque>
#include <functional>
#include <unordered_set>

namespace {

/// Throws `std::out_of_range` if a point lies out of the engine's range. Returns the number of points.
unsigned long CheckedCount(M2DSliceContourLayer const& layer) {
  unsigned long count = 0;
  for (M2DSliceContour const& contour : layer) {
    for (M2DSliceContourPoint const& point : contour.GetPoints()) M2dGraph::CheckRange(point.x, point.y);
    count += contour.GetNumPoints();
  }
  return count;
}

}  // namespace

bool M2DSliceOperatorDetermineAreas::ContourBorderPair::operator<(ContourBorderPair const& other) const {
  if (contour->GetIsOuter() != other.contour->GetIsOuter()) return contour->GetIsOuter();
  return std::less<>()(contour, other.contour);
}

M2DSliceOperatorDetermineAreas::M2DSliceOperatorDetermineAreas()
    : m_boolean(std::make_unique<M2dBoolean>()),
      m_line_contours(std::make_unique<MDataMask<M2dGraphLine, M2DSliceContour const*>>()),
      m_line_layers(std::make_unique<MDataMask<M2dGraphLine, M2DSliceContourLayer const*>>()) {
  m_boolean->GetLines().RegisterMask(*m_line_contours);
  m_boolean->GetLines().RegisterMask(*m_line_layers);
}

M2DSliceOperatorDetermineAreas::~M2DSliceOperatorDetermineAreas() = default;

bool M2DSliceOperatorDetermineAreas::DetermineAreas(M2DSliceContourLayer const* layer) {
  m_boolean->ReservePoints(CheckedCount(*layer));
  m_first_layer = layer;
  m_second_layer = nullptr;
  m_boolean->SetConnectLines(true);
  _AddBorderToBoolean(layer, false, false, false);
  m_boolean->SplitAndClassify();
  _FilterLines();
  _DetermineAreas(false);
  return true;
}

bool M2DSliceOperatorDetermineAreas::DetermineAreasSubtraction(M2DSliceContourLayer const* first,
                                                               M2DSliceContourLayer const* second) {
  m_boolean->ReservePoints(CheckedCount(*first) + CheckedCount(*second));
  m_first_layer = first;
  m_second_layer = second;
  m_boolean->SetConnectLines(true);
  _AddBorderToBoolean(first, false, false, false);
  _AddBorderToBoolean(second, true, false, false);
  m_boolean->SplitAndClassify();
  _FilterLines();
  _DetermineAreas(true);
  return true;
}

void M2DSliceOperatorDetermineAreas::_AddBorderToBoolean(M2DSliceContourLayer const* layer, bool reversed,
                                                         bool lineFlag, bool) {
  for (M2DSliceContour const& contour : *layer) {
    M2DSliceContourPoint const* point = contour.GetFirstPoint();
    if (point == nullptr) continue;
    M2dGraphPoint* from = m_boolean->GetPoint(point->x, point->y);
    long min_y = point->y;
    long max_y = point->y;
    for (unsigned long left = contour.GetNumPoints() - (contour.GetIsClosed() ? 0 : 1); left != 0; --left) {
      M2DSliceContourPoint const* const next = point->next;
      M2dGraphPoint* const to = m_boolean->GetPoint(next->x, next->y);
      min_y = std::min(min_y, next->y);
      max_y = std::max(max_y, next->y);
      M2dGraphLine* const line = reversed ? m_boolean->GetLines().AddLine(to, from, lineFlag)
                                          : m_boolean->GetLines().AddLine(from, to, lineFlag);
      if (line != nullptr) {
        line->SetInfo(point->z);
        (*m_line_contours)[line->GetIndex()] = &contour;
        (*m_line_layers)[line->GetIndex()] = layer;
      }
      from = to;
      point = next;
    }
    if (!contour.GetIsClosed()) m_boolean->DeclareOpen();
    m_boolean->AddShell(min_y, max_y);
  }
}

void M2DSliceOperatorDetermineAreas::_FilterLines() {
  M2dGraph::Line* next = nullptr;
  for (M2dGraph::Line* line = m_boolean->GetLines().GetFirst(); line != nullptr; line = next) {
    next = line->GetNext();
    bool const stays = line->GetFlag() ? line->GetClassification() > 0 : line->GetClassification() == 0;
    if (!stays) m_boolean->RemoveLine(line);
  }
}

void M2DSliceOperatorDetermineAreas::_DetermineAreas(bool subtraction) {
  M2dBoolean::MLineList& lines = m_boolean->GetLines();
  for (M2dGraph::Line* line = lines.GetFirst(); line != nullptr; line = line->GetNext()) line->SetVisitState(0);
  std::unordered_set<M2DSliceContour const*> used;
  std::deque<M2dGraphLine*> queue;

  for (M2dGraph::Line* seed = lines.GetFirst(); seed != nullptr; seed = seed->GetNext()) {
    if (seed->GetVisitState() != 0) continue;
    Area& area = m_areas.emplace_back();
    M2DSliceContour const* outer = nullptr;
    queue.push_back(seed);
    seed->SetVisitState(1);
    while (!queue.empty()) {
      M2dGraphLine* const line = queue.front();
      queue.pop_front();
      M2DSliceContour const* const contour = (*m_line_contours)[line->GetIndex()];
      if (contour != nullptr) {
        if (outer != nullptr && contour->GetIsOuter() && contour != outer) {
          // Another outer contour has an area of its own, which begins here later.
          line->SetVisitState(0);
          continue;
        }
        if (outer == nullptr && contour->GetIsOuter()) outer = contour;
        if (subtraction || used.insert(contour).second) {
          M2DSliceContourLayer const* const layer = (*m_line_layers)[line->GetIndex()];
          area.contours.insert({contour, layer});
          area.layers.insert(layer);
        }
      }
      for (M2dGraphPoint const* const point : {line->GetFirst(), line->GetSecond()}) {
        for (M2dGraphLine* const neighbour : *point) {
          if (neighbour->GetVisitState() != 0) continue;
          neighbour->SetVisitState(1);
          queue.push_back(neighbour);
        }
      }
    }
    if (area.contours.empty()) m_areas.pop_back();
  }
}
