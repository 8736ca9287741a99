#include <SliceData/disk_cache/M2DSliceStackCachingStrategyMultipleTempFiles.h>
#include <SliceData/disk_cache/M2DSliceStackCachingStrategySingleTempFile.h>
#include <SliceData/disk_cache/M2DSliceStackCachingStrategyZRange.h>
#include <SliceData/slice_stack/AllStacks.h>
#include <SliceData/slice_stack/M2DSliceStack.h>
#include <SliceData/slice_stack/M2DSliceStackCachingStrategyNoTempFiles.h>

#include <boost/make_shared.hpp>
#include <iterator>
#include <utility>
#include <vector>

/// Before other static objects, since a host's may be stacks.
__attribute__((init_priority(101))) AllStacks g_all_stacks;

namespace {

constexpr char const* kSliceThickness = "SliceThickness";

e2DSliceStackCachingType g_default_caching_type = e2DSliceStackCachingType::MultipleTempFiles;

/// How many entries of the index are moved, for each slice, in the time that it takes to build it anew. An index that
/// has taken more moves is dropped until somebody asks for it, so that changes all over a stack never cost much more
/// than without one.
constexpr std::size_t kMovesOfRebuild = 100;

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
  auto const position = m_slices.lower_bound(area.GetZ());
  if (position != m_slices.end() && position->first == area.GetZ()) return position->second.get();

  boost::shared_ptr<M2DSliceStackSlice> slice(m_caching_strategy != nullptr
                                                  ? m_caching_strategy->_CreateSlice(area.GetZ())
                                                  : new M2DSliceStackSlice(M2DSliceZArea(area.GetZ()), this));
  slice->SetZArea(area);

  // Room comes first, so that map and index never differ.
  bool keeps_index = false;
  if (_IsIndexBuilt()) {
    std::size_t const index = position == m_slices.end() ? m_slice_vector.GetSize() : _FindInIndex(area.GetZ());
    keeps_index = _PrepareIndexForChange(index);
    if (keeps_index) m_slice_vector.PrepareInsert(index);
  }
  auto const added = m_slices.emplace_hint(position, area.GetZ(), slice);
  if (keeps_index) m_slice_vector.Insert({slice.get(), added});
  return slice.get();
}

M2DSliceStackSlice* M2DSliceStack::AddSlicePosition(long z) {
  return AddSlicePosition(M2DSliceZArea(z));
}

M2DSliceStackSlice* M2DSliceStack::GetSliceAtPosition(long z) const {
  auto const position = m_slices.find(z);
  return position != m_slices.end() ? position->second.get() : nullptr;
}

M2DSliceStackSlice* M2DSliceStack::GetSliceAtPosition(long z, bool create) {
  return GetSliceAtPosition(M2DSliceZArea(z), create);
}

M2DSliceStackSlice* M2DSliceStack::GetSliceAtPosition(M2DSliceZArea const& area, bool create) {
  return create ? AddSlicePosition(area) : GetSliceAtPosition(area.GetZ());
}

bool M2DSliceStack::RemoveSlicePosition(long z) {
  auto const position = m_slices.find(z);
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
  return m_slices.empty() ? 0 : m_slices.begin()->first;
}
long M2DSliceStack::GetZMax() const {
  return m_slices.empty() ? 0 : m_slices.rbegin()->first;
}

M2DSliceStackSlice* M2DSliceStack::GetSlice(unsigned long index) {
  _ValidateSliceVector();
  m_xy_area_valid = false;
  return m_slice_vector[index].slice;
}

M2DSliceStackSlice const* M2DSliceStack::GetSlice(unsigned long index) const {
  _ValidateSliceVector();
  return m_slice_vector[index].slice;
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
  for (auto const& [z, slice] : m_slices) {
    slice->Clear();
    if (m_caching_strategy != nullptr) m_caching_strategy->_OnRemoveSlice(slice.get());
    slice->_SetStack(nullptr);
  }
  _DropIndex();
  m_slices.clear();
}

void M2DSliceStack::SwapWith(M2DSliceStack& other) {
  if (this == &other) return;
  std::swap(m_xy_area, other.m_xy_area);
  std::swap(m_slice_parameters, other.m_slice_parameters);
  std::swap(m_slice_io_parameters, other.m_slice_io_parameters);
  m_properties.swap(other.m_properties);
  m_slices.swap(other.m_slices);
  std::swap(m_slice_vector, other.m_slice_vector);
  std::swap(m_num_index_moves, other.m_num_index_moves);
  m_caching_strategy.swap(other.m_caching_strategy);
  _AdoptSlices();
  other._AdoptSlices();
}

void M2DSliceStack::Invert() {
  for (unsigned long i = 0; i < GetNumSlices(); ++i) GetSlice(i)->InvertContourData();
}

bool M2DSliceStack::GetIsClosed() const {
  for (auto const& [z, slice] : m_slices) {
    if (!std::as_const(*slice).GetBorderComponent().GetIsClosed()) return false;
  }
  return true;
}

void M2DSliceStack::InitFromSourceSlices(boost::shared_ptr<ISource2DSlices> source) {
  _InitFromSourceSlices(source);
}

void M2DSliceStack::_ValidateSliceVector() const {
  if (_IsIndexBuilt()) return;
  std::vector<IndexEntry> entries;
  entries.reserve(m_slices.size());
  for (auto position = m_slices.begin(); position != m_slices.end(); ++position) {
    entries.push_back({position->second.get(), position});
  }
  m_slice_vector = MGapVector<IndexEntry>(std::move(entries));
  m_num_index_moves = 0;
}

void M2DSliceStack::_ValidateXYArea() const {
  if (m_xy_area_valid) return;
  m_xy_area = M2DSliceXYArea();
  for (auto const& [z, slice] : m_slices) m_xy_area.Extend(slice->GetXYArea());
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
  return m_slice_vector[index].position->second;
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
  if (_IsIndexBuilt()) {
    std::size_t const index = _FindInIndex(position->first);
    if (_PrepareIndexForChange(index)) m_slice_vector.Erase(index);
  }
  m_slices.erase(position);
}

void M2DSliceStack::_DropIndex() {
  m_slice_vector = {};
  m_num_index_moves = 0;
}

std::size_t M2DSliceStack::_FindInIndex(long z) const {
  std::size_t first = 0;
  for (std::size_t count = m_slice_vector.GetSize(); count != 0;) {
    std::size_t const half = count / 2;
    if (m_slice_vector[first + half].position->first < z) {
      first += half + 1;
      count -= half + 1;
    } else {
      count = half;
    }
  }
  return first;
}

/// True if the index is to follow a change there; otherwise it is dropped.
bool M2DSliceStack::_PrepareIndexForChange(std::size_t index) {
  m_num_index_moves += m_slice_vector.GetDistance(index);
  if (m_num_index_moves <= kMovesOfRebuild * (m_slices.size() + 1)) return true;
  _DropIndex();
  return false;
}

void M2DSliceStack::_AdoptSlices() {
  if (m_caching_strategy != nullptr) m_caching_strategy->SetStack(this);
  for (auto const& [z, slice] : m_slices) slice->_SetStack(this);
}
