#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/sax/ISAXPersistHelper.h>
#include <SliceData/slice_data_cache/DatabaseCachedSliceStacks.h>

#include <string>

namespace SliceDataCaching {

/// Reads a database: adds the entries of the document and replaces the properties.
class VELSDK_EXPORT DatabaseCachedSliceStacksSaxRead final : public ISAXPersistHelper {
 public:
  /// `database` outlives this.
  explicit DatabaseCachedSliceStacksSaxRead(DatabaseCachedSliceStacks* database);
  ~DatabaseCachedSliceStacksSaxRead() override;

  bool HandleTag(std::string const& tag, MSAXReader& reader) override;

 private:
  DatabaseCachedSliceStacks* m_database;
};

}  // namespace SliceDataCaching
