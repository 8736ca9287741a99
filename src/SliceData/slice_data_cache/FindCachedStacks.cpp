#include <SliceData/slice_data_cache/DatabaseCachedSliceStacks.h>
#include <SliceData/slice_data_cache/FindCachedStacks.h>

#include <algorithm>
#include <iterator>

namespace SliceDataCaching {

DatabaseCachedSliceStacks* FindSuitedTargetDatabase(CachedSliceStackKeyInfo const& key) {
  auto const& all = AllDatabases::m_databases;
  auto const found =
      std::find_if(all.begin(), all.end(), [&](auto const* database) { return database->IsSuitedTargetFor(key); });
  return found != all.end() ? *found : nullptr;
}

void FindSuitedTargetDatabases(CachedSliceStackKeyInfo const& key, std::vector<DatabaseCachedSliceStacks*>& result) {
  result.clear();
  auto const& all = AllDatabases::m_databases;
  std::copy_if(all.begin(), all.end(), std::back_inserter(result),
               [&](auto const* database) { return database->IsSuitedTargetFor(key); });
}

CachedSliceStack* FindSuitedCachedStack(ICachedSliceStackSelector const& selector) {
  for (DatabaseCachedSliceStacks const* const database : AllDatabases::m_databases) {
    if (CachedSliceStack* const stack = database->GetSuitedCachedStack(selector)) return stack;
  }
  return nullptr;
}

}  // namespace SliceDataCaching
