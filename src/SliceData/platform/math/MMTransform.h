#pragma once

#include <SliceData/platform/common/Export.h>

#include <array>

/// A transformation of space: sixteen numbers in rows of four, applied to column vectors.
class VELSDK_EXPORT MMTransform {
 public:
  /// The identity.
  MMTransform() = default;

  /// The element at `row` and `column`, each 0 to 3. `transposed` swaps the two.
  double GetElement(int row, int column, bool transposed = false) const {
    return m_elements[static_cast<std::size_t>(transposed ? 4 * column + row : 4 * row + column)];
  }

  void SetElement(int row, int column, double value) { m_elements[static_cast<std::size_t>(4 * row + column)] = value; }

 private:
  std::array<double, 16> m_elements = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
};

/// Equal if no element differs by more than 1e-6.
VELSDK_EXPORT bool operator==(MMTransform const& a, MMTransform const& b);
inline bool operator!=(MMTransform const& a, MMTransform const& b) {
  return !(a == b);
}
