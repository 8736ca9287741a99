#include <SliceData/slice_model/HeightArithmetic.h>
#include <SliceData/slice_model/M2DSliceZArea.h>

#include <cassert>

using HeightArithmetic::Difference;
using HeightArithmetic::Sum;

M2DSliceZArea::M2DSliceZArea() = default;

M2DSliceZArea::M2DSliceZArea(long z) : m_z(z), m_effective_z(z), m_bottom(z), m_top(z) {}

void M2DSliceZArea::SetZ(long z) {
  m_z = z;
  switch (m_type_info.type) {
    case e2DSliceZAreaType::Below:
      m_bottom = Difference(z, m_type_info.thickness);
      break;
    case e2DSliceZAreaType::Symmetric:
      m_bottom = Difference(z, m_type_info.thickness / 2);
      break;
    case e2DSliceZAreaType::Above:
    case e2DSliceZAreaType::Custom:
      m_bottom = z;
      break;
  }
  m_top = Sum(m_bottom, m_type_info.thickness);
  switch (m_type_info.effectiveType) {
    case e2DSliceZAreaEffectiveType::Top:
      m_effective_z = m_top;
      break;
    case e2DSliceZAreaEffectiveType::Bottom:
      m_effective_z = m_bottom;
      break;
    case e2DSliceZAreaEffectiveType::Middle:
    case e2DSliceZAreaEffectiveType::Custom:
      m_effective_z = Sum(m_top, m_bottom) / 2;
      break;
  }
}

void M2DSliceZArea::SetTypeInfo(M2DSliceZAreaTypeInfo const& info) {
  m_type_info = info;
  SetZ(m_z);
}

void M2DSliceZArea::SetCustomRange(long bottom, long top) {
  m_type_info = {e2DSliceZAreaType::Custom, e2DSliceZAreaEffectiveType::Custom, Difference(top, bottom)};
  m_bottom = bottom;
  m_top = top;
  m_effective_z = m_z;
}

M2DSliceZArea& M2DSliceZArea::operator++() {
  SetZ(Sum(m_z, m_type_info.thickness));
  return *this;
}

M2DSliceZArea M2DSliceZArea::operator++(int) {
  M2DSliceZArea const before = *this;
  ++*this;
  return before;
}

void Create2DSliceZAreaList(std::vector<M2DSliceZArea>& list, long z_min, long z_max,
                            M2DSliceZAreaTypeInfo const& info) {
  assert(info.thickness > 0);
  list.clear();
  M2DSliceZArea area;
  area.SetTypeInfo(info);
  area.SetZ(Difference(z_min - z_min % info.thickness, Sum(info.thickness, info.thickness)));
  while (area.GetTop() < z_min) ++area;
  while (area.GetBottom() <= z_max) {
    list.push_back(area++);
    if (area.GetBottom() < list.back().GetBottom()) break;  // beyond the largest height there is
  }
}
