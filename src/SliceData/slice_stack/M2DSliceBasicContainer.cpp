#include <SliceData/slice_stack/M2DSliceBasicContainer.h>

M2DSliceBasicContainer::M2DSliceBasicContainer() : m_properties(std::make_unique<PersistentProperties>()) {}
M2DSliceBasicContainer::~M2DSliceBasicContainer() = default;

void M2DSliceBasicContainer::AddSlice(M2DSlice* slice) {
  m_slices.push_back(slice);
}

M2DSlice* M2DSliceBasicContainer::GetSlice(unsigned long index) {
  return m_slices[index];
}
M2DSlice const* M2DSliceBasicContainer::GetSlice(unsigned long index) const {
  return m_slices[index];
}

long M2DSliceBasicContainer::_OnGetSliceThickness() const {
  return -1;
}
PersistentProperties const& M2DSliceBasicContainer::_OnGetProperties() const {
  return *m_properties;
}
MSliceFileParameters const& M2DSliceBasicContainer::_OnGetSliceParameters() const {
  return m_slice_parameters;
}
M2DSliceIOParameters const& M2DSliceBasicContainer::_OnGetSliceIOParameters() const {
  return m_slice_io_parameters;
}

M2DSliceXYArea M2DSliceBasicContainer::_OnGetXYArea() const {
  M2DSliceXYArea area;
  for (M2DSlice const* const slice : m_slices) area.Extend(slice->GetXYArea());
  return area;
}

bool M2DSliceBasicContainer::_AllowsRandomAccess() const {
  return true;
}
unsigned long M2DSliceBasicContainer::_OnGetNumSlices() const {
  return m_slices.size();
}

M2DSliceZArea M2DSliceBasicContainer::_OnGetSliceZArea(unsigned long index) const {
  return M2DSliceZArea(m_slices[index]->GetZArea().GetZ());
}

PersistentProperties& M2DSliceBasicContainer::_OnGetProperties() {
  return *m_properties;
}
MSliceFileParameters& M2DSliceBasicContainer::_OnGetSliceParameters() {
  return m_slice_parameters;
}
M2DSliceIOParameters& M2DSliceBasicContainer::_OnGetSliceIOParameters() {
  return m_slice_io_parameters;
}

M2DSlice* M2DSliceBasicContainer::_OnAddSlice(M2DSlice const&) {
  return nullptr;
}
M2DSlice* M2DSliceBasicContainer::_OnAddSlice(M2DSlice&, bool) {
  return nullptr;
}
