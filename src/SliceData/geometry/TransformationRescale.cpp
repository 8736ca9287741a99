#include <SliceData/geometry/TransformationRescale.h>
#include <SliceData/platform/math/MMPoint2d.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace M2DSliceUtilities {

namespace {

using Point = MMPoint2d<double>;

/// Without overflow where the square of a component would.
double Length(Point vector) {
  double const width = std::abs(vector.x);
  double const height = std::abs(vector.y);
  auto const hypotenuse = [](double longer, double ratio) { return longer * std::sqrt(ratio * ratio + 1); };
  return height >= width ? hypotenuse(height, vector.x / vector.y) : hypotenuse(width, vector.y / vector.x);
}

/// The perpendicular distance of a point from the line through `from` and `to`, measured from `to`.
double DistanceFromLine(Point point, Point from, Point to) {
  // Squared distances below this are round-off; so a point on the line has distance 0.
  constexpr double kSmallest = 3.140185e-16;

  Point direction{to.x - from.x, to.y - from.y};
  // The length of the zero vector is NaN here, and not above 0 either.
  if (double const length = Length(direction); length > 0) direction = {direction.x / length, direction.y / length};
  Point const offset{point.x - to.x, point.y - to.y};
  double const along = offset.x * direction.x + offset.y * direction.y;
  double const squared = offset.x * offset.x + offset.y * offset.y - along * along;
  return squared < kSmallest ? 0 : std::sqrt(squared);
}

}  // namespace

void TransformationRescale::SetLookupTable(RescaleLookupTable<double, double> table) {
  m_table = std::move(table);
}

void TransformationRescale::SetPlatformCoordinates(PlatformCoordinates platform) {
  m_platform = platform;
}

TransformationRescale* TransformationRescale::_Clone() const {
  return new TransformationRescale(*this);
}

void TransformationRescale::_Transform(double& x, double& y) const {
  auto const [left, top, right, bottom] = m_platform;
  if (!(left <= x && x <= right && bottom <= y && y <= top)) return;

  Point const point{x, y};
  double const nearest = std::min(
      {DistanceFromLine(point, {left, top}, {right, top}), DistanceFromLine(point, {right, bottom}, {left, bottom}),
       DistanceFromLine(point, {left, top}, {left, bottom}), DistanceFromLine(point, {right, bottom}, {right, top})});

  double const factor = _Lookup(nearest);
  double const center_x = (right + left) * 0.5;
  double const center_y = (top + bottom) * 0.5;
  x = (x - center_x) * factor + center_x;
  y = (y - center_y) * factor + center_y;
}

double TransformationRescale::_Lookup(double distance) const {
  return m_table.Lookup(distance);
}

}  // namespace M2DSliceUtilities
