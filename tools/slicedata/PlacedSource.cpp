#include "PlacedSource.h"

#include <SliceData/geometry/Transform.h>
#include <SliceData/slice_model/HeightArithmetic.h>
#include <SliceData/slice_model/M2DSlice.h>

namespace Tool {

PlacedSource::PlacedSource(ISource2DSlices const& source, Offset const& offset)
    : ForwardingSource(source), m_offset(offset) {}

PlacedSource::~PlacedSource() = default;

M2DSliceXYArea PlacedSource::_OnGetXYArea() const {
  M2DSliceXYArea const area = _GetSource().GetXYArea();
  M2DSliceXYArea moved;
  if (area.IsEmpty()) return moved;
  moved.Extend(area.minX + m_offset.x, area.minY + m_offset.y);
  moved.Extend(area.maxX + m_offset.x, area.maxY + m_offset.y);
  return moved;
}

M2DSliceZArea PlacedSource::_Place(M2DSliceZArea area) const {
  // A stack gives slices without a thickness a range of their own when it is read; here they are without one again.
  if (area.GetTypeInfo().type == e2DSliceZAreaType::Custom) area = M2DSliceZArea(area.GetZ());
  area.SetZ(HeightArithmetic::Sum(area.GetZ(), m_offset.z));
  return area;
}

M2DSliceZArea PlacedSource::_OnGetSliceZArea(unsigned long index) const {
  return _Place(_GetSource().GetSliceZArea(index));
}

void PlacedSource::_OnGetSlice(M2DSlice& slice, unsigned long index) const {
  M2DSlice placed;
  _GetSource().GetSlice(placed, index);
  placed.SetZArea(_Place(placed.GetZArea()));
  if (m_offset.x != 0 || m_offset.y != 0) M2DSliceUtilities::Translate(placed, m_offset.x, m_offset.y);
  slice.CopyFrom(placed, true);
}

}  // namespace Tool
