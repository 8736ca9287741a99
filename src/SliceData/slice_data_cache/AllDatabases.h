#pragma once

#include <SliceData/platform/common/Export.h>

#include <set>

namespace SliceDataCaching {

class DatabaseCachedSliceStacks;

/// The databases that are alive in this process. Not guarded by any lock: hosts make, search and destroy databases one
/// at a time.
class VELSDK_EXPORT AllDatabases {
 public:
  /// Entered and removed by the databases themselves. Defined here so that it is there before a host's own static
  /// databases, and after them.
  inline static std::set<DatabaseCachedSliceStacks*> m_databases;
};

}  // namespace SliceDataCaching
