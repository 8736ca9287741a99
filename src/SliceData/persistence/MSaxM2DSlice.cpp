#include <SliceData/persistence/MSax2DSliceZArea.h>
#include <SliceData/persistence/MSaxM2DSlice.h>
#include <SliceData/persistence/MSaxM2DSliceContourLayer.h>
#include <SliceData/persistence/MSaxM2DSlicePointLayer.h>
#include <SliceData/persistence/MSaxM2DSliceVectorLayer.h>
#include <SliceData/persistence/MSaxTagWithValue.h>
#include <SliceData/platform/sax/MSAXReader.h>
#include <SliceData/slice_stack/M2DSliceStack.h>

#include <type_traits>
#include <utility>

namespace {

/// In the order of `M2DSlice::ForEachRow`.
constexpr char const* kRowTags[M2DSlice::kNumRows] = {"Border", "Vectors", "Points", "Areas"};

template <class Layer>
struct ElementOfLayer;
template <>
struct ElementOfLayer<M2DSliceContourLayer> {
  using Type = MSaxM2DSliceContourLayer;
};
template <>
struct ElementOfLayer<M2DSliceVectorLayer> {
  using Type = MSaxM2DSliceVectorLayer;
};
template <>
struct ElementOfLayer<M2DSlicePointLayer> {
  using Type = MSaxM2DSlicePointLayer;
};
template <class Row>
using ElementOfRow = typename ElementOfLayer<typename Row::Layer>::Type;

}  // namespace

MSaxM2DSlice::MSaxM2DSlice(M2DSliceStackReference stack, char const* stream_name)
    : m_stack(std::move(stack)), m_stream_name(stream_name) {}
MSaxM2DSlice::MSaxM2DSlice(M2DSlice* slice, char const* stream_name) : m_slice(slice), m_stream_name(stream_name) {}
MSaxM2DSlice::~MSaxM2DSlice() = default;

void MSaxM2DSlice::StartReadingSlice(long height) {
  if (!m_stack.IsEmpty()) m_slice = nullptr;
  m_lock.emplace(m_stack);  // a lock that is held is released first: a second height begins a second slice
  if (!m_stack.IsEmpty()) {
    if (M2DSliceStack* const stack = m_stack.GetSliceStack()) m_slice = stack->AddSlicePosition(height);
  }
  if (m_slice != nullptr) m_slice->SetIsComplete(false);
}

void MSaxM2DSlice::ReadingFinished() {
  if (!m_options.skipGeometry && m_slice != nullptr) m_slice->SetIsComplete(true);
  m_slice = nullptr;
  m_lock.reset();
}

bool MSaxM2DSlice::HandleTag(std::string const& tag, MSAXReader& reader) {
  if (tag == "Height") {
    long height = 0;
    reader.ReadValue(height);
    StartReadingSlice(height);
    return true;
  }
  if (m_slice == nullptr) return false;
  if (tag == "AreaZ") {
    reader.ReadOwnedSubObject(new MSax2DSliceZArea(&m_slice->GetZArea()));
    return true;
  }
  if (m_options.skipGeometry) return false;
  bool is_row = false;
  M2DSlice::ForEachRow([&](auto row) {
    using Row = decltype(row);
    if (tag != kRowTags[Row::kIndex]) return;
    is_row = true;
    _ReadRow<Row>(reader);
  });
  return is_row;
}

template <class Row>
void MSaxM2DSlice::_ReadRow(MSAXReader& reader) {
  m_slice->_InvalidateXYArea();
  // A slice that may still be taken from a source would drop what is read here: this is a change that detaches it.
  auto* const stack_slice = dynamic_cast<M2DSliceStackSlice*>(m_slice);
  if (stack_slice != nullptr && stack_slice->GetInitialSource() != nullptr) {
    M2DSlice::ForEachRow([&](auto each) { decltype(each)::OnAccess(*m_slice); });  // all of it comes along
    Row::OnChanged(*m_slice);
  }
  auto& component = Row::Component(*m_slice);
  component.PrepareForPushingData();
  reader.ReadOwnedSubObject(new ElementOfRow<Row>(&component, nullptr));
}

bool MSaxM2DSlice::Write(MSAXWriter& writer) const {
  MSaxTagWithValue::Write(writer, "Height", m_slice->GetZArea().GetZ());
  {
    MSAXTagWriter const tag(writer, "AreaZ");
    MSax2DSliceZArea(&m_slice->GetZArea()).Write(writer);
  }
  M2DSlice::ForEachRow([&](auto row) {
    using Row = decltype(row);
    m_slice->_InvalidateXYArea();
    auto& component = Row::Component(*m_slice);
    if (!std::is_same_v<Row, M2DSlice::BorderRow> && component.GetNumElements() == 0) return;
    MSAXTagWriter const tag(writer, kRowTags[Row::kIndex]);
    if (!m_options.skipGeometry) ElementOfRow<Row>(&component, m_stream_name).Write(writer);
  });
  return true;
}
