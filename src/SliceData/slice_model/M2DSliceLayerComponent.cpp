#include <SliceData/geometry/Extents.h>
#include <SliceData/geometry/Transform.h>
#include <SliceData/slice_model/M2DSlice.h>
#include <SliceData/slice_model/M2DSliceLayerComponent.h>
#include <SliceData/slice_model/M2DSliceLayerElements.h>

#include <algorithm>
#include <cassert>

namespace {

using M2DSliceLayerElements::FillFacts;
using M2DSliceLayerElements::NumItems;

void Extend(M2DSliceXYArea& area, M2DSliceContour const& contour) {
  for (M2DSliceContourPoint const& point : contour.GetPoints()) area.Extend(point.x, point.y);
}

void Extend(M2DSliceXYArea& area, M2DSliceVectorBlock const& block) {
  for (M2DSliceVector const& vector : block) {
    area.Extend(vector.x1, vector.y1);
    area.Extend(vector.x2, vector.y2);
  }
}

void Extend(M2DSliceXYArea& area, M2DSlicePointBlock const& block) {
  for (M2DSlicePoint const& point : block) area.Extend(point.x, point.y);
}

template <class BaseInfoElement, class Element>
void FillFromElement(BaseInfoElement& info, Element const& element) {
  FillFacts(info, element);
  info.xyArea = M2DSliceXYArea();
  Extend(info.xyArea, element);
}

std::vector<M2DSliceBaseInfoContour>& Elements(M2DSliceBaseInfoBorder& info) {
  return info.contours;
}
std::vector<M2DSliceBaseInfoVectorBlock>& Elements(M2DSliceBaseInfoVectors& info) {
  return info.vectorBlocks;
}
std::vector<M2DSliceBaseInfoPointBlock>& Elements(M2DSliceBaseInfoPoints& info) {
  return info.pointBlocks;
}

template <class Element>
void BoundingBoxInMemory(Element const& element, M2DSliceXYArea& area) {
  M2DSliceUtilities::GetExtremes(element, area);
}

/// Lets go of what an empty layer still holds.
void ReleaseMemory(M2DSliceContourLayer& layer) {
  layer.ReleasePool();
}
template <class Layer>
void ReleaseMemory(Layer&) {}

void BoundingBoxInMemory(M2DSlicePointBlock const&, M2DSliceXYArea& area) {
  area = M2DSliceXYArea();
}

}  // namespace

template <class Traits>
M2DSliceLayerComponent<Traits>::M2DSliceLayerComponent(M2DSlice* slice) : Base(slice) {}

template <class Traits>
M2DSliceLayerComponent<Traits>::~M2DSliceLayerComponent() = default;

template <class Traits>
M2DSliceVectorTypeInfo& M2DSliceLayerComponent<Traits>::GetTypeInfo(unsigned long index) {
  if (m_disk_state_valid) {
    m_data_valid = false;
    return m_record->m_elements[index].typeInfo;
  }
  return _GetElement(index).GetVectorTypeInfo();
}

template <class Traits>
M2DSliceVectorTypeInfo const& M2DSliceLayerComponent<Traits>::GetTypeInfo(unsigned long index) const {
  return m_disk_state_valid ? m_record->m_elements[index].typeInfo : _GetElement(index).GetVectorTypeInfo();
}

template <class Traits>
void M2DSliceLayerComponent<Traits>::SetTypeInfo(unsigned long index, M2DSliceVectorTypeInfo const& info) {
  if (m_disk_state_valid) m_record->m_elements[index].typeInfo = info;
  if (m_data_valid) _GetElement(index).SetVectorTypeInfo(info);
}

template <class Traits>
void M2DSliceLayerComponent<Traits>::GetBoundingBox(unsigned long index, M2DSliceXYArea& area) const {
  if (m_disk_state_valid) {
    area = m_record->m_elements[index].xyArea;
  } else {
    BoundingBoxInMemory(_GetElement(index), area);
  }
}

template <class Traits>
void M2DSliceLayerComponent<Traits>::GetBaseInfo(unsigned long index, BaseInfoElement& info) const {
  if (m_disk_state_valid) {
    info = m_record->m_elements[index];
  } else {
    FillFromElement(info, _GetElement(index));
  }
}

template <class Traits>
void M2DSliceLayerComponent<Traits>::GetBaseInfo(BaseInfo& info) const {
  auto& elements = Elements(info);
  auto const num_before = static_cast<std::ptrdiff_t>(elements.size());
  if (m_data_valid) {
    for (Element const& element : m_data) FillFromElement(elements.emplace_back(), element);
  } else {
    auto const& records = _GetRecord().m_elements;
    elements.insert(elements.end(), records.begin(), records.end());
  }
  info.xyArea = M2DSliceXYArea();
  for (auto element = elements.begin() + num_before; element != elements.end(); ++element) {
    info.xyArea.Extend(element->xyArea);
  }
}

template <class Traits>
unsigned long M2DSliceLayerComponent<Traits>::GetNumItems(unsigned long index) const {
  return m_disk_state_valid ? NumItems(m_record->m_elements[index]) : NumItems(_GetElement(index));
}

template <class Traits>
typename Traits::Element& M2DSliceLayerComponent<Traits>::_GetElement(unsigned long index) const {
  _ValidateCachedData();
  assert(index < m_cached_elements->size());
  return *(*m_cached_elements)[index];
}

template <class Traits>
bool M2DSliceLayerComponent<Traits>::_IsDataEmpty() const {
  return m_data.IsEmpty();
}

template <class Traits>
void M2DSliceLayerComponent<Traits>::_ClearData() {
  m_data.Clear();
  ReleaseMemory(m_data);
  m_cached_elements.reset();
}

template <class Traits>
void M2DSliceLayerComponent<Traits>::_OnSetData(Layer& data, bool move) {
  _ClearData();
  m_data.Add(data, move);
}

template <class Traits>
void M2DSliceLayerComponent<Traits>::_OnTransform(M2DSliceUtilities::iTransformation const& mapping) {
  m_slice->_InvalidateXYArea();
  if (m_data_valid) M2DSliceUtilities::Transform(m_data, mapping, M2DSliceUtilities::TransformOptions());
  if (!m_disk_state_valid) return;
  try {
    m_record->AddMapping(mapping);
  } catch (...) {
    if (m_data_valid) m_disk_state_valid = false;  // the record lacks what the data has been through
    throw;
  }
}

/// Layers also change other than through an update handle, so that the size is looked at, too.
template <class Traits>
void M2DSliceLayerComponent<Traits>::_ValidateCachedData() const {
  if (m_cached_elements == nullptr) m_cached_elements = std::make_unique<std::vector<Element*>>();
  if (m_cached_elements->size() == m_data.GetCount()) return;
  m_cached_elements->clear();
  m_cached_elements->reserve(m_data.GetCount());
  for (Element const& element : m_data) m_cached_elements->push_back(const_cast<Element*>(&element));
}

template class M2DSliceLayerComponent<M2DSliceContoursTraits>;
template class M2DSliceLayerComponent<M2DSliceVectorsTraits>;
template class M2DSliceLayerComponent<M2DSlicePointsTraits>;

M2DSliceComponentContours::M2DSliceComponentContours(M2DSlice* slice, int kind)
    : M2DSliceLayerComponent(slice), m_kind(kind) {}

bool M2DSliceComponentContours::GetIsClosed() const {
  if (m_data_valid) return m_data.GetIsClosed();
  auto const& records = _GetRecord().m_elements;
  return std::all_of(records.begin(), records.end(), [](ContourOnDisk const& record) { return record.closed; });
}

bool M2DSliceComponentContours::GetIsClosed(unsigned long contour) const {
  return m_disk_state_valid ? m_record->m_elements[contour].closed : _GetElement(contour).GetIsClosed();
}

bool M2DSliceComponentContours::GetIsOuter(unsigned long contour) const {
  return m_disk_state_valid ? m_record->m_elements[contour].outer : _GetElement(contour).GetIsOuter();
}

void M2DSliceComponentContours::SetIsClosed(unsigned long contour, bool closed) {
  if (m_disk_state_valid) m_record->m_elements[contour].closed = closed;
  if (m_data_valid) _GetElement(contour).SetIsClosed(closed);
}

void M2DSliceComponentContours::SetIsOuter(unsigned long contour, bool outer) {
  if (m_disk_state_valid) m_record->m_elements[contour].outer = outer;
  if (m_data_valid) _GetElement(contour).SetIsOuter(outer);
}

M2DSliceComponentVectors::M2DSliceComponentVectors(M2DSlice* slice) : M2DSliceLayerComponent(slice) {}

M2DSliceComponentPoints::M2DSliceComponentPoints(M2DSlice* slice) : M2DSliceLayerComponent(slice) {}

M2DSliceBitmap::~M2DSliceBitmap() = default;

void M2DSliceComponentBitmap::_OnTransform(M2DSliceUtilities::iTransformation const&) {
  m_slice->_InvalidateXYArea();
}
