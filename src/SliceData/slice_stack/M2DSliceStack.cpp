#include <SliceData/disk_cache/M2DSliceStackCachingStrategyMultipleTempFiles.h>
#include <SliceData/disk_cache/M2DSliceStackCachingStrategySingleTempFile.h>
#include <SliceData/disk_cache/M2DSliceStackCachingStrategyZRange.h>
#include <SliceData/slice_stack/AllStacks.h>
#include <SliceData/slice_stack/M2DSliceStack.h>
#include <SliceData/slice_stack/M2DSliceStackCachingStrategyNoTempFiles.h>

#include <boost/make_shared.hpp>
#include <iterator>
#include <utility>

/// Before other static objects, since a host's may be stacks.
__attribute__((init_priority(101))) AllStacks g_all_stacks;

namespace {

constexpr char const* kSliceThickness = "SliceThickness";

e2DSliceStackCachingType g_default_caching_type = e2DSliceStackCachingType::MultipleTempFiles;

template <class T>
void ReleaseFromBack(std::vector<T>& elements) {
  while (!elements.empty()) elements.pop_back();
}

}  // namespace

M2DSliceStack::M2DSliceStack() : M2DSliceStack(g_default_caching_type) {}

M2DSliceStack::M2DSliceStack(e2DSliceStackCachingType caching_type)
    : m_properties(std::make_unique<PersistentProperties>()) {
  m_shared_reference.Initialize(this);
  _InitCachingStrategy(caching_type);
  g_all_stacks.Add(this);
}

M2DSliceStack::M2DSliceStack(M2DSliceStack const& source) : M2DSliceStack() {
  *this = source;
}

M2DSliceStack::~M2DSliceStack() {
  m_shared_reference.Terminate();
  g_all_stacks.Remove(this);
  Clear();
}

M2DSliceStack& M2DSliceStack::operator=(M2DSliceStack const& source) {
  if (this == &source) return *this;
  Clear();
  for (unsigned long i = 0; i < source.GetNumSlices(); ++i) AddSlice(*source.GetSlice(i));
  *m_properties = *source.m_properties;
  m_slice_io_parameters = source.m_slice_io_parameters;
  m_slice_parameters = source.m_slice_parameters;
  m_xy_area = source.m_xy_area;
  m_xy_area_valid = source.m_xy_area_valid;
  return *this;
}

void M2DSliceStack::SetDefaultCachingStrategy(e2DSliceStackCachingType caching_type) {
  g_default_caching_type = caching_type;
}

M2DSliceStackSlice* M2DSliceStack::AddSlicePosition(M2DSliceZArea const& area) {
  auto const position = m_slices.lower_bound(area);
  if (position != m_slices.end() && position->first.GetZ() == area.GetZ()) return position->second.get();

  boost::shared_ptr<M2DSliceStackSlice> slice(m_caching_strategy != nullptr
                                                  ? m_caching_strategy->_CreateSlice(area.GetZ())
                                                  : new M2DSliceStackSlice(M2DSliceZArea(area.GetZ()), this));
  slice->SetZArea(area);

  // The usual build goes upward and keeps the vector. Room comes first, so that map and vector never differ.
  bool const keeps_vector = position == m_slices.end() && m_slice_vector.size() == m_slices.size();
  if (!keeps_vector) m_slice_vector.clear();
  if (m_slice_vector.size() == m_slice_vector.capacity()) m_slice_vector.reserve(2 * m_slice_vector.size() + 1);
  m_slices.emplace_hint(position, area, slice);
  if (keeps_vector) m_slice_vector.push_back(slice);
  return slice.get();
}

M2DSliceStackSlice* M2DSliceStack::AddSlicePosition(long z) {
  return AddSlicePosition(M2DSliceZArea(z));
}

M2DSliceStackSlice* M2DSliceStack::GetSliceAtPosition(long z) const {
  auto const position = m_slices.find(M2DSliceZArea(z));
  return position != m_slices.end() ? position->second.get() : nullptr;
}

M2DSliceStackSlice* M2DSliceStack::GetSliceAtPosition(long z, bool create) {
  return GetSliceAtPosition(M2DSliceZArea(z), create);
}

M2DSliceStackSlice* M2DSliceStack::GetSliceAtPosition(M2DSliceZArea const& area, bool create) {
  return create ? AddSlicePosition(area) : GetSliceAtPosition(area.GetZ());
}

bool M2DSliceStack::RemoveSlicePosition(long z) {
  auto const position = m_slices.find(M2DSliceZArea(z));
  if (position == m_slices.end()) return false;
  _Remove(position);
  return true;
}

void M2DSliceStack::AdjustSizeFor(long z_min, long z_max) {
  long z = GetSliceThickness() * (z_min / GetSliceThickness());
  while (z < z_min) z += GetSliceThickness();
  for (; z < z_max; z += GetSliceThickness()) AddSlicePosition(z);
}

void M2DSliceStack::RemoveEmptyLayersAtFrontAndEnd() {
  while (!m_slices.empty() && m_slices.begin()->second->IsEmpty()) _Remove(m_slices.begin());
  while (!m_slices.empty() && m_slices.rbegin()->second->IsEmpty()) _Remove(std::prev(m_slices.end()));
  _ValidateSliceVector();
}

long M2DSliceStack::GetZMin() const {
  return m_slices.empty() ? 0 : m_slices.begin()->first.GetZ();
}
long M2DSliceStack::GetZMax() const {
  return m_slices.empty() ? 0 : m_slices.rbegin()->first.GetZ();
}

M2DSliceStackSlice* M2DSliceStack::GetSlice(unsigned long index) {
  _ValidateSliceVector();
  m_xy_area_valid = false;
  return m_slice_vector[index].get();
}

M2DSliceStackSlice const* M2DSliceStack::GetSlice(unsigned long index) const {
  _ValidateSliceVector();
  return m_slice_vector[index].get();
}

void M2DSliceStack::AddSliceStack(M2DSliceStack& other, bool move) {
  for (unsigned long i = 0; i < other.GetNumSlices(); ++i) {
    M2DSliceStackSlice* const slice = other.GetSlice(i);
    AddSlicePosition(slice->GetZArea().GetZ())->Add(*slice, move);
  }
}

void M2DSliceStack::SetSliceThickness(long thickness) {
  m_properties->SetProperty<long>(kSliceThickness, thickness);
}

void M2DSliceStack::Clear() {
  _ValidateSliceVector();
  for (auto const& slice : m_slice_vector) {
    slice->Clear();
    if (m_caching_strategy != nullptr) m_caching_strategy->_OnRemoveSlice(slice.get());
    slice->_SetStack(nullptr);
  }
  ReleaseFromBack(m_slice_vector);
  m_slices.clear();
}

void M2DSliceStack::SwapWith(M2DSliceStack& other) {
  if (this == &other) return;
  std::swap(m_xy_area, other.m_xy_area);
  std::swap(m_slice_parameters, other.m_slice_parameters);
  std::swap(m_slice_io_parameters, other.m_slice_io_parameters);
  m_properties.swap(other.m_properties);
  m_slices.swap(other.m_slices);
  m_slice_vector.swap(other.m_slice_vector);
  m_caching_strategy.swap(other.m_caching_strategy);
  _AdoptSlices();
  other._AdoptSlices();
}

void M2DSliceStack::Invert() {
  for (unsigned long i = 0; i < GetNumSlices(); ++i) GetSlice(i)->InvertContourData();
}

bool M2DSliceStack::GetIsClosed() const {
  _ValidateSliceVector();
  for (auto const& slice : m_slice_vector) {
    if (!std::as_const(*slice).GetBorderComponent().GetIsClosed()) return false;
  }
  return true;
}

void M2DSliceStack::InitFromSourceSlices(boost::shared_ptr<ISource2DSlices> source) {
  _InitFromSourceSlices(source);
}

void M2DSliceStack::_ValidateSliceVector() const {
  if (!m_slice_vector.empty()) return;
  m_slice_vector.reserve(m_slices.size());
  for (auto const& [area, slice] : m_slices) m_slice_vector.push_back(slice);
}

void M2DSliceStack::_ValidateXYArea() const {
  if (m_xy_area_valid) return;
  _ValidateSliceVector();
  m_xy_area = M2DSliceXYArea();
  for (auto const& slice : m_slice_vector) m_xy_area.Extend(slice->GetXYArea());
  m_xy_area_valid = true;
}

void M2DSliceStack::_OnChanged(M2DSliceStackSlice*) {
  m_xy_area_valid = false;
}

long M2DSliceStack::_OnGetSliceThickness() const {
  long const* const thickness = m_properties->GetValue<long>(kSliceThickness);
  return thickness != nullptr ? *thickness : 0;
}

PersistentProperties const& M2DSliceStack::_OnGetProperties() const {
  return *m_properties;
}
MSliceFileParameters const& M2DSliceStack::_OnGetSliceParameters() const {
  return m_slice_parameters;
}
M2DSliceIOParameters const& M2DSliceStack::_OnGetSliceIOParameters() const {
  return m_slice_io_parameters;
}

M2DSliceXYArea M2DSliceStack::_OnGetXYArea() const {
  _ValidateXYArea();
  return m_xy_area;
}

bool M2DSliceStack::_AllowsRandomAccess() const {
  return true;
}
unsigned long M2DSliceStack::_OnGetNumSlices() const {
  return m_slices.size();
}

M2DSliceZArea M2DSliceStack::_OnGetSliceZArea(unsigned long index) const {
  return M2DSliceZArea(GetSlice(index)->GetZArea().GetZ());
}

void M2DSliceStack::_OnGetSlice(M2DSlice& slice, unsigned long index) const {
  slice = *GetSlice(index);
}

boost::shared_ptr<M2DSlice const> M2DSliceStack::_OnGetSlice(unsigned long index) const {
  _ValidateSliceVector();
  return m_slice_vector[index];
}

PersistentProperties& M2DSliceStack::_OnGetProperties() {
  return *m_properties;
}
MSliceFileParameters& M2DSliceStack::_OnGetSliceParameters() {
  return m_slice_parameters;
}
M2DSliceIOParameters& M2DSliceStack::_OnGetSliceIOParameters() {
  return m_slice_io_parameters;
}

M2DSlice* M2DSliceStack::_OnAddSlice(M2DSlice const& slice) {
  M2DSliceStackSlice* const added = AddSlicePosition(slice.GetZArea().GetZ());
  static_cast<M2DSlice&>(*added) = slice;
  return added;
}

M2DSlice* M2DSliceStack::_OnAddSlice(M2DSlice& slice, bool move) {
  M2DSliceStackSlice* const added = AddSlicePosition(slice.GetZArea().GetZ());
  added->CopyFrom(slice, move);
  return added;
}

void M2DSliceStack::_InitCachingStrategy(e2DSliceStackCachingType caching_type) {
  switch (caching_type) {
    case e2DSliceStackCachingType::NoTempFiles:
      m_caching_strategy = boost::make_shared<M2DSliceStackCachingStrategyNoTempFiles>(this);
      break;
    case e2DSliceStackCachingType::MultipleTempFiles:
      m_caching_strategy = boost::make_shared<M2DSliceStackCachingStrategyMultipleTempFiles>(this);
      break;
    case e2DSliceStackCachingType::SingleTempFile:
      m_caching_strategy = boost::make_shared<M2DSliceStackCachingStrategySingleTempFile>(this);
      break;
    case e2DSliceStackCachingType::ZRange:
      m_caching_strategy = boost::make_shared<M2DSliceStackCachingStrategyZRange>(this);
      break;
  }
}

void M2DSliceStack::_InitFromSourceSlices(boost::shared_ptr<ISource2DSlices> const& source) {
  m_initial_source = source;
  source->StartGettingSlices();
  for (unsigned long i = 0; i < source->GetNumSlices(); ++i) {
    AddSlicePosition(source->GetSliceZPosition(i))->_InitWithInitialSource(source, i);
  }
  source->StopGettingSlices();
}

void M2DSliceStack::_Remove(SliceMap::iterator position) {
  if (m_caching_strategy != nullptr) m_caching_strategy->_OnRemoveSlice(position->second.get());
  position->second->_SetStack(nullptr);
  m_slices.erase(position);
  m_slice_vector.clear();
}

void M2DSliceStack::_AdoptSlices() {
  if (m_caching_strategy != nullptr) m_caching_strategy->SetStack(this);
  for (auto const& [area, slice] : m_slices) slice->_SetStack(this);
}
