#include <SliceData/geometry/M2DSliceRegion.h>
#include <SliceData/geometry/PointDistance.h>
#include <SliceData/slice_model/M2DSliceContourLayer.h>
#include <SliceData/slice_model/M2DSliceVectorBlock.h>

#include <algorithm>
#include <limits>

namespace {

using M2DSliceUtilities::Difference;

constexpr long kSmallest = std::numeric_limits<long>::min();
constexpr long kLargest = std::numeric_limits<long>::max();

/// The limits are rounded to doubles, which never turns away a value between them.
bool IsWithin(double value, long min, long max) {
  return value >= static_cast<double>(min) && value <= static_cast<double>(max);
}

/// Whether a stored coordinate is the value; it is not rounded for that.
bool IsAt(long stored, double value) {
  return static_cast<double>(stored) == value && value < 0x1p63 && static_cast<long>(value) == stored;
}

/// Follows the rings of a region and counts the edges that pass on the left of a point.
class Crossings {
 public:
  /// `y` lies in the range of a `long`.
  Crossings(double x, double y) : m_x(x), m_y(y), m_floor(static_cast<long>(y)) {
    if (static_cast<double>(m_floor) > y) --m_floor;
  }

  /// False if the point lies on the ring.
  bool Add(M2DSliceContour const& contour) {
    M2DSliceContourPoint const* p = contour.GetFirstPoint();
    for (unsigned long remaining = contour.GetNumPoints(); remaining != 0; --remaining) {
      // Most edges lie above the point or below it as a whole. Whether they do is asked in integers: what is above the
      // point is above the next whole height below it.
      if (p->y > m_floor) {
        p = _Skip(p, remaining, [height = m_floor](long y) { return y > height; });
      } else if (p->y < m_floor) {
        p = _Skip(p, remaining, [height = m_floor](long y) { return y < height; });
      }
      if (remaining == 0) break;
      M2DSliceContourPoint const& q = *p->next;
      if (p->y == m_floor && _IsOnLevel(*p, q)) return false;
      if ((p->y > m_floor) != (q.y > m_floor) && _Passes(*p, q)) return false;
      p = &q;
    }
    return true;
  }

  bool IsOdd() const { return m_count % 2 != 0; }

 private:
  /// Goes along the ring until an edge ends that is not aside, and counts `remaining` down.
  ///
  /// Points that were added one after the other lie side by side. Where the next one is, is known there before the link
  /// to it was read, and the processor need not wait for one link after the other.
  template <class IsAside>
  static M2DSliceContourPoint const* _Skip(M2DSliceContourPoint const* p, unsigned long& remaining, IsAside is_aside) {
    for (;;) {
      for (; remaining != 0 && p->next == p + 1 && is_aside(p[1].y); ++p) --remaining;
      if (remaining == 0 || !is_aside(p->next->y)) return p;
      p = p->next;
      --remaining;
    }
  }

  /// Whether the point is the corner p or lies on a horizontal edge. Rarely asked: out of the way of the loop.
  [[gnu::noinline]] bool _IsOnLevel(M2DSliceContourPoint const& p, M2DSliceContourPoint const& q) const {
    if (!IsAt(p.y, m_y)) return false;
    if (IsAt(p.x, m_x)) return true;
    return q.y == p.y && (m_x - static_cast<double>(q.x)) * (m_x - static_cast<double>(p.x)) <= 0;
  }

  /// Whether the point lies on an edge that passes its height; counts it if it passes on the left.
  bool _Passes(M2DSliceContourPoint const& p, M2DSliceContourPoint const& q) {
    double const height = m_y - static_cast<double>(p.y);
    double const passage = static_cast<double>(p.x) + height * Difference(q.x, p.x) / Difference(q.y, p.y);
    m_count += m_x > passage;
    return passage == m_x;
  }

  double m_x;
  double m_y;
  long m_floor;  ///< the whole height at the point or next below it
  unsigned long m_count = 0;
};

}  // namespace

M2DSliceRegion::M2DSliceRegion() {
  _ResetExtremes();
}

M2DSliceRegion::M2DSliceRegion(M2DSliceContour const* contour) {
  AddContour(contour);
}

M2DSliceRegion::M2DSliceRegion(M2DSliceContourLayer const* layer) : M2DSliceRegion() {
  for (M2DSliceContour const& contour : *layer) AddContour(&contour);
}

M2DSliceRegion::M2DSliceRegion(std::vector<M2DSliceContour const*>& contours_) : contours(contours_) {
  _ResetExtremes();
}

void M2DSliceRegion::AddContour(M2DSliceContour const* contour) {
  _ResetExtremes();
  if (contour->GetIsOuter()) outerContours.push_back(contour);
  contours.push_back(contour);
}

M2DSliceRegion::RegionPosition M2DSliceRegion::GetPosition(double x, double y) const {
  _ValidateExtremes();
  if (!IsWithin(x, minX, maxX) || !IsWithin(y, minY, maxY) || y >= 0x1p63) return RegionPositionOutside;
  Crossings crossings(x, y);
  for (M2DSliceContour const* const contour : contours) {
    if (!crossings.Add(*contour)) return RegionPositionOnBorder;
  }
  return crossings.IsOdd() ? RegionPositionInside : RegionPositionOutside;
}

M2DSliceRegion::RegionPosition M2DSliceRegion::GetPosition(M2DSliceRegion const& other) const {
  for (M2DSliceContour const* const contour : other.contours) {
    for (M2DSliceContourPoint const& point : contour->GetPoints()) {
      RegionPosition const position = GetPosition(static_cast<double>(point.x), static_cast<double>(point.y));
      if (position != RegionPositionOnBorder) return position;
    }
  }
  return RegionPositionOnBorder;
}

M2DSliceRegion::RegionPosition M2DSliceRegion::GetPosition(M2DSliceVectorBlock const* block) const {
  for (M2DSliceVector const& vector : *block) {
    RegionPosition const position = GetPosition(static_cast<double>(vector.x1), static_cast<double>(vector.y1));
    if (position != RegionPositionOnBorder) return position;
  }
  return RegionPositionOnBorder;
}

void M2DSliceRegion::_ValidateExtremes() const {
  if (minX != kLargest) return;
  for (M2DSliceContour const* const contour : contours) {
    for (M2DSliceContourPoint const& point : contour->GetPoints()) {
      minX = std::min(minX, point.x);
      maxX = std::max(maxX, point.x);
      minY = std::min(minY, point.y);
      maxY = std::max(maxY, point.y);
    }
  }
}

void M2DSliceRegion::_ResetExtremes() const {
  minX = minY = kLargest;
  maxX = maxY = kSmallest;
}
