#include <SliceData/geometry/TransformationDistortion.h>

#include <utility>

namespace M2DSliceUtilities {

void TransformationDistortion::SetLookupTable(DistortionTable<double> table) {
  m_table = std::move(table);
}

void TransformationDistortion::SetPlatformCoordinates(PlatformCoordinates platform) {
  m_platform = platform;
}

TransformationDistortion* TransformationDistortion::_Clone() const {
  return new TransformationDistortion(*this);
}

void TransformationDistortion::_Transform(double& x, double& y) const {
  auto const [new_x, new_y] = _Lookup({x, y});
  x = new_x;
  y = new_y;
}

MMPoint2d<double> TransformationDistortion::_Lookup(MMPoint2d<double> position) const {
  return m_table.Lookup(position);
}

}  // namespace M2DSliceUtilities
