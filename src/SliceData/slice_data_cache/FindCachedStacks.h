#pragma once

#include <SliceData/platform/common/Export.h>

#include <vector>

/// Searches in all databases that are alive. How a host goes about it:
///
/// 1. It fills a `CachedSliceStackKeyInfo` and asks `FindSuitedCachedStack` with a `CachedSliceStackSelectorDefault`.
/// 2. On a hit it takes the slices with the position at hand, and notes that with `AddUsedPosition`.
/// 3. On a miss it asks `FindSuitedTargetDatabase`, adds an entry there and stores what it has sliced with
///    `SetSliceStack`.
namespace SliceDataCaching {

class CachedSliceStack;
class CachedSliceStackKeyInfo;
class DatabaseCachedSliceStacks;
class ICachedSliceStackSelector;

/// A database that takes an entry of that key; null if none does. Of several it is not defined which.
VELSDK_EXPORT DatabaseCachedSliceStacks* FindSuitedTargetDatabase(CachedSliceStackKeyInfo const& key);

/// All databases that take an entry of that key replace the content of `result`.
VELSDK_EXPORT void FindSuitedTargetDatabases(CachedSliceStackKeyInfo const& key,
                                             std::vector<DatabaseCachedSliceStacks*>& result);

/// The oldest entry that suits in one of the databases; null if none does. If several have one it is not defined which.
/// Takes time in proportion to the number of entries.
VELSDK_EXPORT CachedSliceStack* FindSuitedCachedStack(ICachedSliceStackSelector const& selector);

}  // namespace SliceDataCaching
