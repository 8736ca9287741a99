#include <SliceData/geometry/Transform.h>
#include <SliceData/geometry/Truncated.h>
#include <SliceData/slice_data_cache/CachedSliceStack.h>
#include <SliceData/slice_model/HeightArithmetic.h>
#include <SliceData/slice_model/M2DSlice.h>

#include <algorithm>
#include <cassert>
#include <cmath>
#include <stdexcept>
#include <utility>

namespace SliceDataCaching {

namespace {

constexpr char const* kUsedPositions = "UsedPositions";
constexpr char const* kUsedPosition = "UsedPosition";

/// Unlike with `operator==` of transformations, what is no number counts as equal.
bool EqualPositions(MMTransformMatrix const& a, MMTransformMatrix const& b) {
  for (int row = 0; row < 4; ++row) {
    for (int column = 0; column < 4; ++column) {
      if (std::fabs(a.GetElement(row, column, false) - b.GetElement(row, column, false)) > 0.000001) return false;
    }
  }
  return true;
}

bool IsSame(MMTransformMatrix const& a, MMTransformMatrix const& b) {
  for (int row = 0; row < 4; ++row) {
    for (int column = 0; column < 4; ++column) {
      if (a.GetElement(row, column, false) != b.GetElement(row, column, false)) return false;
    }
  }
  return true;
}

/// Truncated towards zero. Positions may come from documents: what is out of all range becomes half of the range, so
/// that it can be added and negated.
long ToOffset(double difference) {
  return M2DSliceUtilities::Truncated(std::clamp(difference, -0x1p62, 0x1p62));
}

bool ValidateAll(std::vector<std::shared_ptr<CachedSliceStack::Data>> const& all, bool release_file) {
  bool are_whole = true;
  for (auto const& data : all) are_whole &= data->ValidateLoadedData(release_file);
  return are_whole;
}

}  // namespace

struct CachedSliceStack::Offset {
  long dx = 0;
  long dy = 0;
  long dz = 0;
};

/// The entry when it was read, and the values in which its stacks rested. Everything of an entry is open to change, so
/// that only a comparison tells whether it is still the same.
struct CachedSliceStack::AsRead {
  struct Stack {
    std::weak_ptr<Data> data;
    MDocumentBytes content;
  };

  MDocumentTag source;
  CachedSliceStackKeyInfo key;
  PersistentProperties properties;
  std::vector<Stack> stacks;
};

CachedSliceStack::CachedSliceStack(CachedSliceStackKeyInfo const& key) : CachedSliceStackKeyInfo(key) {}
CachedSliceStack::~CachedSliceStack() = default;
CachedSliceStack::CachedSliceStack(CachedSliceStack const&) = default;
CachedSliceStack& CachedSliceStack::operator=(CachedSliceStack const&) = default;

bool CachedSliceStack::ValidateLoadedData(bool release_file) {
  return ValidateAll(m_data, release_file);
}

bool CachedSliceStack::ReleaseLoadedData() {
  bool is_any_released = false;
  for (auto const& data : m_data) {
    if (data->m_loaded_data == nullptr || data->m_file_content == nullptr) continue;
    data->m_loaded_data.reset();
    is_any_released = true;
  }
  return is_any_released;
}

M2DSliceStack& CachedSliceStack::GetStack() {
  Data const& first = _GetFirstData();
  ValidateAll(m_data, false);
  return *first.m_loaded_data->m_stack;
}

M2DSliceStack const& CachedSliceStack::GetStack() const {
  Data const& first = _GetFirstData();
  ValidateAll(m_data, false);
  return *first.m_loaded_data->m_stack;
}

std::vector<boost::shared_ptr<M2DSliceStack>> CachedSliceStack::GetStacks() const {
  std::vector<boost::shared_ptr<M2DSliceStack>> stacks;
  stacks.reserve(m_data.size());
  for (auto const& data : m_data) {
    data->ValidateLoadedData(false);
    stacks.push_back(data->m_loaded_data->m_stack);
  }
  return stacks;
}

bool CachedSliceStack::GetSlice(M2DSlice& slice, M2DSliceZArea const& z_area, MMTransformMatrix const* position) const {
  Data& first = _GetFirstData();
  Offset const offset = _GetOffset(position);
  first.ValidateLoadedData(false);
  M2DSliceStack const& stack = *first.m_loaded_data->m_stack;
  M2DSlice const* const found = stack.GetSliceAtPosition(HeightArithmetic::Difference(z_area.GetZ(), offset.dz));
  if (found == nullptr) return false;
  slice = *found;
  M2DSliceUtilities::Translate(slice, offset.dx, offset.dy);
  return true;
}

bool CachedSliceStack::SetSlice(M2DSlice const& slice, M2DSliceZArea const& z_area, MMTransformMatrix const* position) {
  Data& first = _GetFirstData();
  Offset const offset = _GetOffset(position);
  M2DSliceZArea own_area = z_area;
  own_area.SetZ(HeightArithmetic::Difference(z_area.GetZ(), offset.dz));
  first.ValidateLoadedData(true);
  M2DSlice& own = *first.m_loaded_data->m_stack->GetSliceAtPosition(own_area, true);
  own = slice;
  M2DSliceUtilities::Translate(own, -offset.dx, -offset.dy);
  return true;
}

bool CachedSliceStack::SetSliceStack(std::vector<boost::shared_ptr<M2DSliceStack>> const& stacks,
                                     M2DSliceZAreaTypeInfo const&, MMTransformMatrix const*) {
  std::vector<std::shared_ptr<Data>> all;
  all.reserve(stacks.size());
  for (auto const& stack : stacks) {
    assert(stack != nullptr);
    auto data = std::make_shared<Data>();
    data->ValidateLoadedData(true);
    data->m_loaded_data->m_stack = stack;
    all.push_back(std::move(data));
  }
  m_data = std::move(all);
  AddUsedPosition(MMTransformMatrix());
  return true;
}

void CachedSliceStack::AddUsedPosition(MMTransformMatrix const& position) {
  auto* const property =
      dynamic_cast<PersistentProperty<PersistentProperties>*>(m_stack_properties.FindProperty(kUsedPositions));
  if (property != nullptr) property->SetDeleted(false);
  PersistentProperties& all = property != nullptr
                                  ? property->GetValue()
                                  : m_stack_properties._AddProperty<PersistentProperties>(kUsedPositions, true);
  for (MMTransformMatrix const* const used : all.GetProperties<MMTransformMatrix>(kUsedPosition)) {
    if (EqualPositions(*used, position)) return;
  }
  all._AddProperty<MMTransformMatrix>(kUsedPosition, true) = position;
}

void CachedSliceStack::GetUsedPositions(std::vector<MMTransformMatrix const*>& positions) const {
  positions.clear();
  auto const* const all = m_stack_properties.GetValue<PersistentProperties>(kUsedPositions);
  if (all != nullptr) positions = all->GetProperties<MMTransformMatrix>(kUsedPosition);
}

void CachedSliceStack::GetAdditionalTransformation(MMTransformMatrix const* position, MMTransformMatrix& result) const {
  Offset const offset = _GetOffset(position);
  result.MakeTranslation(static_cast<double>(offset.dx), static_cast<double>(offset.dy),
                         static_cast<double>(offset.dz));
}

void CachedSliceStack::_SetSource(MDocumentTag const& source) {
  m_as_read.reset();
  std::vector<AsRead::Stack> stacks;
  for (auto const& data : m_data) {
    MDocumentBytes const* const bytes =
        data->m_file_content != nullptr ? data->m_file_content->GetDocumentBytes() : nullptr;
    if (bytes == nullptr) return;  // a stack in memory: whether it changes cannot be told
    stacks.push_back({data, *bytes});
  }
  m_as_read = std::make_shared<AsRead const>(AsRead{source, *this, m_stack_properties, std::move(stacks)});
}

MDocumentTag CachedSliceStack::_GetSource() const {
  if (m_as_read == nullptr) return {};
  CachedSliceStackKeyInfo const& key = m_as_read->key;
  bool const is_same = m_id.m_global == key.m_id.m_global && m_id.m_revision == key.m_id.m_revision &&
                       IsSame(m_transform, key.m_transform) && m_z_info == key.m_z_info &&
                       m_properties == key.m_properties && m_stack_properties == m_as_read->properties &&
                       std::equal(m_data.begin(), m_data.end(), m_as_read->stacks.begin(), m_as_read->stacks.end(),
                                  [](auto const& data, AsRead::Stack const& stack) {
                                    return data == stack.data.lock() && data->m_file_content != nullptr &&
                                           data->m_file_content->IsStill(stack.content);
                                  });
  return is_same ? m_as_read->source : MDocumentTag();
}

CachedSliceStack::Data& CachedSliceStack::_GetFirstData() const {
  if (m_data.empty()) throw std::runtime_error("No slice stack inside SliceDataCaching::CachedSliceStack");
  return *m_data.front();
}

CachedSliceStack::Offset CachedSliceStack::_GetOffset(MMTransformMatrix const* position) const {
  if (position == nullptr) return {};
  auto const along = [&](int row) {
    return ToOffset(position->GetElement(row, 3, false) - m_transform.GetElement(row, 3, false));
  };
  return {along(0), along(1), along(2)};
}

}  // namespace SliceDataCaching
