#include <SliceData/platform/math/MMTransform.h>

#include <cmath>

bool operator==(MMTransform const& a, MMTransform const& b) {
  for (int row = 0; row < 4; ++row) {
    for (int column = 0; column < 4; ++column) {
      if (!(std::fabs(a.GetElement(row, column) - b.GetElement(row, column)) <= 1e-6)) return false;
    }
  }
  return true;
}
