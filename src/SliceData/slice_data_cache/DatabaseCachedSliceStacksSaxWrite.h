#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/sax/ISAXPersistHelper.h>
#include <SliceData/slice_data_cache/DatabaseCachedSliceStacks.h>

namespace SliceDataCaching {

/// Writes a database: one "Instance" for each entry, then "Properties". What is still as it was read is copied from the
/// document that it came from, with what is not known here; tags of unknown names come last.
class VELSDK_EXPORT DatabaseCachedSliceStacksSaxWrite final : public ISAXPersistHelper {
 public:
  /// `database` outlives this.
  explicit DatabaseCachedSliceStacksSaxWrite(DatabaseCachedSliceStacks const* database);
  ~DatabaseCachedSliceStacksSaxWrite() override;

  bool Write(MSAXWriter& writer) const override;

 private:
  DatabaseCachedSliceStacks const* m_database;
};

}  // namespace SliceDataCaching
