#include <SliceData/persistence/MSaxM2DSliceContourLayer.h>
#include <SliceData/persistence/MSaxM2DSlicePointLayer.h>
#include <SliceData/persistence/MSaxM2DSliceVectorLayer.h>
#include <SliceData/platform/sax/MSAXReader.h>
#include <SliceData/platform/sax/MSAXTagWriter.h>
#include <SliceData/slice_model/M2DSliceLayerElements.h>

#include <string_view>

namespace {

template <class Component>
constexpr std::string_view kElementTag = {};
template <>
constexpr std::string_view kElementTag<M2DSliceComponentContours> = "Contour";
template <>
constexpr std::string_view kElementTag<M2DSliceComponentVectors> = "VectorBlock";
template <>
constexpr std::string_view kElementTag<M2DSliceComponentPoints> = "PointBlock";

unsigned long PushElement(M2DSliceComponentContours& component) {
  return component.PushContour();
}
unsigned long PushElement(M2DSliceComponentVectors& component) {
  return component.PushVectorBlock();
}
unsigned long PushElement(M2DSliceComponentPoints& component) {
  return component.PushPointBlock();
}

}  // namespace

template <class Component, class InMemory, class OnDisk>
MSaxM2DSliceLayer<Component, InMemory, OnDisk>::MSaxM2DSliceLayer(Component* component, char const* stream_name)
    : m_stream_name(stream_name), m_component(component) {}

template <class Component, class InMemory, class OnDisk>
MSaxM2DSliceLayer<Component, InMemory, OnDisk>::~MSaxM2DSliceLayer() = default;

template <class Component, class InMemory, class OnDisk>
void MSaxM2DSliceLayer<Component, InMemory, OnDisk>::SetDefaults() {
  bool const is_prepared =
      !m_component->IsDataValid() && m_component->IsDiskStateValid() && m_component->GetNumElements() == 0;
  if (is_prepared) {
    m_component->GetData().Clear();
    m_component->_InvalidateCachedData();
  } else {
    m_component->Clear();
  }
}

template <class Component, class InMemory, class OnDisk>
bool MSaxM2DSliceLayer<Component, InMemory, OnDisk>::HandleTag(std::string const& tag, MSAXReader& reader) {
  if (tag != kElementTag<Component>) return false;
  if (m_component->IsDataValid()) {
    m_component->_InvalidateCachedData();
    auto& element = M2DSliceLayerElements::AddElement(m_component->GetData());
    reader.ReadOwnedSubObject(new InMemory(&element, m_stream_name));
  } else {
    unsigned long const index = PushElement(*m_component);
    reader.ReadOwnedSubObject(new OnDisk(m_component, index, m_stream_name));
  }
  return true;
}

template <class Component, class InMemory, class OnDisk>
bool MSaxM2DSliceLayer<Component, InMemory, OnDisk>::Write(MSAXWriter& writer) const {
  if (m_component->IsDataValid()) {
    for (auto& element : m_component->GetData()) {
      MSAXTagWriter const tag(writer, kElementTag<Component>.data());
      InMemory(&element, m_stream_name).Write(writer);
    }
  } else if (m_component->IsDiskStateValid()) {
    for (unsigned long i = 0; i < m_component->GetNumElements(); ++i) {
      MSAXTagWriter const tag(writer, kElementTag<Component>.data());
      OnDisk(m_component, i, m_stream_name).Write(writer);
    }
  }
  return true;
}

template class MSaxM2DSliceLayer<M2DSliceComponentContours, MSaxM2DSliceContour, MSaxM2DSliceContourOnDisk>;
template class MSaxM2DSliceLayer<M2DSliceComponentVectors, MSaxM2DSliceVectorBlock, MSaxM2DSliceVectorBlockOnDisk>;
template class MSaxM2DSliceLayer<M2DSliceComponentPoints, MSaxM2DSlicePointBlock, MSaxM2DSlicePointBlockOnDisk>;
