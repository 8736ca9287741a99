#include <SliceData/type_operations/VectorTypeFilter.h>

#include <cstddef>

namespace M2DSliceUtilities {

namespace {

template <class Table, class Enumerator>
void Set(Table& table, Enumerator enumerator, bool value) {
  auto const position = static_cast<std::size_t>(enumerator);
  if (position < table.size()) table[position] = value;
}

}  // namespace

VectorTypeFilterObjectGeneric::VectorTypeFilterObjectGeneric(bool default_value) {
  Reset(default_value);
}

/// Only what differs from the default can decide, whichever way the list is read.
bool VectorTypeFilterObjectGeneric::Matches(M2DSliceVectorTypeInfo const& info) const {
  auto const type = static_cast<std::size_t>(info.GetType().enumerator);
  bool matches = type < m_types.size() ? m_types[type] : m_default;
  for (auto const& [key, value] : info.GetIndices()) {
    auto const index = static_cast<std::size_t>(key->enumerator);
    if (index >= m_indices.size()) break;  // built-in keys come first
    if (m_indices[index].count(value) != 0) matches = !m_default;
  }
  for (std::size_t flag = 0; flag < m_flags.size(); ++flag) {
    if (m_flags[flag] == m_default) continue;
    bool const is_set = info.GetFlag(static_cast<e2DSliceVectorTypeFlag>(flag));
    matches = m_default ? matches && is_set : matches || is_set;
  }
  return matches;
}

void VectorTypeFilterObjectGeneric::Reset(bool default_value) {
  m_default = default_value;
  m_types.fill(default_value);
  for (auto& values : m_indices) values.clear();
  m_flags.fill(default_value);
}

void VectorTypeFilterObjectGeneric::EnableType(e2DSliceVectorType const& type) {
  Set(m_types, type, true);
}
void VectorTypeFilterObjectGeneric::DisableType(e2DSliceVectorType const& type) {
  Set(m_types, type, false);
}

void VectorTypeFilterObjectGeneric::EnableIndex(e2DSliceVectorTypeIndex const& index, long value) {
  _SetIndex(index, value, true);
}
void VectorTypeFilterObjectGeneric::DisableIndex(e2DSliceVectorTypeIndex const& index, long value) {
  _SetIndex(index, value, false);
}

void VectorTypeFilterObjectGeneric::EnableFlag(e2DSliceVectorTypeFlag const& flag) {
  Set(m_flags, flag, true);
}
void VectorTypeFilterObjectGeneric::DisableFlag(e2DSliceVectorTypeFlag const& flag) {
  Set(m_flags, flag, false);
}

void VectorTypeFilterObjectGeneric::_SetIndex(e2DSliceVectorTypeIndex index, long value, bool enabled) {
  auto const position = static_cast<std::size_t>(index);
  if (position >= m_indices.size() || value < 0) return;
  auto& values = m_indices[position];
  values.erase(values.lower_bound(value), values.end());
  if (enabled != m_default) values.insert(value);
}

}  // namespace M2DSliceUtilities
