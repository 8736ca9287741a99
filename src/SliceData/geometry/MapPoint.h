#pragma once

#include <SliceData/geometry/Transformation.h>
#include <SliceData/geometry/Truncated.h>

namespace M2DSliceUtilities {

/// Maps one stored point: through doubles, truncated towards zero.
template <class Mapping>
void MapPoint(Mapping const& mapping, long& x, long& y) {
  double mapped_x = static_cast<double>(x);
  double mapped_y = static_cast<double>(y);
  mapping.Transform(mapped_x, mapped_y);
  x = Truncated(mapped_x);
  y = Truncated(mapped_y);
}

/// The arithmetic of a `TransformationMatrix`, for loops of this library that do without a virtual call for each point.
class PlainMatrix {
 public:
  explicit PlainMatrix(TransformationMatrix const& matrix)
      : m_a(matrix.a), m_b(matrix.b), m_c(matrix.c), m_d(matrix.d), m_tx(matrix.tx), m_ty(matrix.ty) {}

  void Transform(double& x, double& y) const {
    double const old_x = x;
    x = m_a * old_x + m_b * y + m_tx;
    y = m_c * old_x + m_d * y + m_ty;
  }

 private:
  double m_a, m_b, m_c, m_d, m_tx, m_ty;
};

/// Calls `function` with the mapping: as a `PlainMatrix` if it is a matrix, and otherwise as it is.
template <class Function>
void WithPlainType(iTransformation const& mapping, Function&& function) {
  if (auto const* const matrix = dynamic_cast<TransformationMatrix const*>(&mapping)) {
    function(PlainMatrix(*matrix));
  } else {
    function(mapping);
  }
}

}  // namespace M2DSliceUtilities
