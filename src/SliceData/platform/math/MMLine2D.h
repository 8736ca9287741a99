#pragma once

#include <SliceData/platform/math/MMPoint2d.h>

#include <cmath>

/// A directed line segment between two points.
class MMLine2D {
 public:
  MMLine2D() = default;
  MMLine2D(MMPoint2d<double> const& first, MMPoint2d<double> const& second) : m_first(first), m_second(second) {}

  MMPoint2d<double> const& GetFirstPoint() const { return m_first; }
  MMPoint2d<double> const& GetSecondPoint() const { return m_second; }

  /// The Euclidean length.
  double GetLength() const {
    double const dx = m_second.x - m_first.x;
    double const dy = m_second.y - m_first.y;
    return std::sqrt(dx * dx + dy * dy);
  }

 private:
  MMPoint2d<double> m_first;
  MMPoint2d<double> m_second;
};
