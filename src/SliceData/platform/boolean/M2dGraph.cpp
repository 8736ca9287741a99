#include <SliceData/platform/boolean/M2dGraph.h>

#include <cassert>
#include <stdexcept>
#include <string>
#include <utility>

M2dGraph::Line* M2dGraph::MLineList::_CreateLine() {
  if (m_released.empty()) return &m_store.Emplace();
  Line* const line = m_released.back();
  m_released.pop_back();
  *line = Line();
  return line;
}

void M2dGraph::MLineList::_ReleaseLine(Line* line) noexcept {
  try {
    m_released.push_back(line);
  } catch (std::bad_alloc const&) {
    // The line goes with the list.
  }
}

M2dGraph::Line* M2dGraph::MLineList::_InsertBehind(Line* position, M2dGraphPoint* a, M2dGraphPoint* b) {
  _EnsureMaskEntry(m_next_index);
  if (m_keeps_connectivity) {
    a->_ReserveLine();
    b->_ReserveLine();
  }
  Line* const line = _CreateLine();
  line->m_first = a;
  line->m_second = b;
  line->m_index = m_next_index++;
  if (m_keeps_connectivity) {
    a->_AppendLine(line);
    b->_AppendLine(line);
  }
  Line* const next = position != nullptr ? position->GetNext() : m_first;
  line->SetPrevious(position);
  line->SetNext(next);
  if (position != nullptr) {
    position->SetNext(line);
  } else {
    m_first = line;
  }
  if (next != nullptr) {
    next->SetPrevious(line);
  } else {
    m_last = line;
  }
  ++m_count;
  return line;
}

M2dGraphLine* M2dGraph::MLineList::AddLine(M2dGraphPoint* a, M2dGraphPoint* b, bool flag) {
  if (a == b) return nullptr;
  Line* const line = _InsertBehind(m_last, a, b);
  line->m_flags = flag ? M2dGraphLine::kFlag : 0;
  return line;
}

void M2dGraph::MLineList::SetKeepsConnectivity(bool keeps) {
  assert(keeps == m_keeps_connectivity || m_count == 0);
  m_keeps_connectivity = keeps;
}

M2dGraph::M2dGraph(std::unique_ptr<MLineList> lines) : m_slots(64), m_lines(std::move(lines)) {}

M2dGraph::~M2dGraph() = default;

void M2dGraph::CheckRange(long x, long y) {
  if (x == static_cast<std::int32_t>(x) && y == static_cast<std::int32_t>(y)) return;
  throw std::out_of_range("The point (" + std::to_string(x) + ", " + std::to_string(y) +
                          ") lies beyond 32 bits, where areas cannot be determined; move the contours closer to the "
                          "origin");
}

M2dGraph::Slot& M2dGraph::_FindSlot(std::int32_t x, std::int32_t y) {
  auto const key = static_cast<std::uint64_t>(static_cast<std::uint32_t>(x)) << 32 | static_cast<std::uint32_t>(y);
  std::uint64_t hash = key * 0x9E3779B97F4A7C15u;
  hash = (hash ^ hash >> 32) * 0xD6E8FEB86659FD93u;
  std::size_t const mask = m_slots.size() - 1;
  for (std::size_t i = hash >> 20 & mask;; i = (i + 1) & mask) {
    Slot& slot = m_slots[i];
    if (slot.point == nullptr || (slot.x == x && slot.y == y)) return slot;
  }
}

void M2dGraph::ReservePoints(std::size_t count) {
  std::size_t size = m_slots.size();
  while (m_points.GetSize() + count > size / 3 * 2) size *= 2;
  if (size != m_slots.size()) _ResizeSlots(size);
}

void M2dGraph::_ResizeSlots(std::size_t size) {
  std::vector<Slot> slots(size);
  m_slots.swap(slots);
  for (Slot const& slot : slots) {
    if (slot.point != nullptr) _FindSlot(slot.x, slot.y) = slot;
  }
}

M2dGraphPoint* M2dGraph::GetPoint(long x, long y) {
  CheckRange(x, y);
  auto const x32 = static_cast<std::int32_t>(x);
  auto const y32 = static_cast<std::int32_t>(y);
  Slot* slot = &_FindSlot(x32, y32);
  if (slot->point == nullptr) {
    if (m_points.GetSize() >= m_slots.size() / 3 * 2) {
      _ResizeSlots(2 * m_slots.size());
      slot = &_FindSlot(x32, y32);
    }
    *slot = {x32, y32, &m_points.Emplace(x32, y32)};
  }
  return slot->point;
}

void M2dGraph::RemoveLine(Line* line) noexcept {
  if (line == nullptr) return;
  MLineList& lines = *m_lines;
  if (lines.m_keeps_connectivity) {
    line->m_first->_RemoveLine(line);
    line->m_second->_RemoveLine(line);
  }
  Line* const previous = line->GetPrevious();
  Line* const next = line->GetNext();
  if (previous != nullptr) {
    previous->SetNext(next);
  } else {
    lines.m_first = next;
  }
  if (next != nullptr) {
    next->SetPrevious(previous);
  } else {
    lines.m_last = previous;
  }
  --lines.m_count;
  lines._ReleaseLine(line);
}

void M2dGraph::SplitLine(Line* line, std::vector<M2dGraphPoint*> const& points) {
  if (points.empty()) return;
  MLineList& lines = *m_lines;
  M2dGraphPoint* const end = line->m_second;
  assert(points.front() != line->m_first && points.back() != end);
  Line* last = line;
  try {
    for (std::size_t i = 0; i < points.size(); ++i) {
      last = lines._InsertBehind(last, points[i], i + 1 < points.size() ? points[i + 1] : end);
      last->m_info = line->m_info;
      last->m_flags = line->m_flags;
      lines._CopyMaskEntries(line->m_index, last->m_index);
    }
    if (lines.m_keeps_connectivity) points.front()->_ReserveLine();
  } catch (...) {
    while (last != line) {
      Line* const previous = last->GetPrevious();
      RemoveLine(last);
      last = previous;
    }
    throw;
  }
  if (lines.m_keeps_connectivity) {
    end->_RemoveLine(line);
    points.front()->_AppendLine(line);
  }
  line->m_second = points.front();
}
