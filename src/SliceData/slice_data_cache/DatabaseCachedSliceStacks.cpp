#include <SliceData/slice_data_cache/DatabaseCachedSliceStacks.h>
#include <SliceData/slice_data_cache/ICachedSliceStackSelector.h>

#include <algorithm>

namespace SliceDataCaching {

DatabaseCachedSliceStacks::DatabaseCachedSliceStacks(bool is_target) : m_is_target(is_target) {
  AllDatabases::m_databases.insert(this);
}

DatabaseCachedSliceStacks::~DatabaseCachedSliceStacks() {
  AllDatabases::m_databases.erase(this);
}

bool DatabaseCachedSliceStacks::IsSuitedTargetFor(CachedSliceStackKeyInfo const& key) const {
  return _OnIsSuitedTargetFor(key);
}

bool DatabaseCachedSliceStacks::_OnIsSuitedTargetFor(CachedSliceStackKeyInfo const&) const {
  return m_is_target;
}

void DatabaseCachedSliceStacks::Clear() {
  m_cached_stacks.clear();
}

CachedSliceStack* DatabaseCachedSliceStacks::GetSuitedCachedStack(ICachedSliceStackSelector const& selector) const {
  auto const found = std::find_if(m_cached_stacks.begin(), m_cached_stacks.end(),
                                  [&](auto const& stack) { return selector._OnIsSuitedCachedStack(stack.get()); });
  return found != m_cached_stacks.end() ? found->get() : nullptr;
}

CachedSliceStack* DatabaseCachedSliceStacks::AddCachedSliceStack(CachedSliceStackKeyInfo const& key) {
  return _AddCachedSliceStack(key);
}

CachedSliceStack* DatabaseCachedSliceStacks::_AddCachedSliceStack(CachedSliceStackKeyInfo const& key) {
  return m_cached_stacks.emplace_back(std::make_unique<CachedSliceStack>(key)).get();
}

bool DatabaseCachedSliceStacks::RemoveCachedSliceStack(CachedSliceStack* stack) {
  auto const found = std::find_if(m_cached_stacks.begin(), m_cached_stacks.end(),
                                  [&](auto const& candidate) { return candidate.get() == stack; });
  if (found == m_cached_stacks.end()) return false;
  m_cached_stacks.erase(found);
  return true;
}

unsigned long DatabaseCachedSliceStacks::RemoveCachedSliceStacks(ICachedSliceStackSelector const& selector) {
  auto const first_removed =
      std::stable_partition(m_cached_stacks.begin(), m_cached_stacks.end(),
                            [&](auto const& stack) { return !selector._OnIsSuitedCachedStack(stack.get()); });
  auto const num_removed = static_cast<unsigned long>(m_cached_stacks.end() - first_removed);
  m_cached_stacks.erase(first_removed, m_cached_stacks.end());
  return num_removed;
}

std::vector<CachedSliceStack*> DatabaseCachedSliceStacks::GetAllCachedStacks() const {
  std::vector<CachedSliceStack*> all;
  all.reserve(m_cached_stacks.size());
  for (auto const& stack : m_cached_stacks) all.push_back(stack.get());
  return all;
}

}  // namespace SliceDataCaching
