#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/sax/ISAXPersistHelper.h>
#include <SliceData/slice_data_cache/DatabaseCachedSliceStacks.h>

#include <string>

namespace SliceDataCaching {

/// Reads a database: adds the entries of the document and replaces the properties. Notes where all that comes from,
/// unknown tags included, so that what stays the same can be written as it was.
class VELSDK_EXPORT DatabaseCachedSliceStacksSaxRead final : public ISAXPersistHelper {
 public:
  /// `database` outlives this.
  explicit DatabaseCachedSliceStacksSaxRead(DatabaseCachedSliceStacks* database);
  ~DatabaseCachedSliceStacksSaxRead() override;

  bool HandleTag(std::string const& tag, MSAXReader& reader) override;
  void HandleEndTag(std::string const& tag) override;

 private:
  DatabaseCachedSliceStacks* m_database;
  CachedSliceStack* m_entry = nullptr;  ///< that is being read
  MDocumentTag m_source;                ///< of what is being read
};

}  // namespace SliceDataCaching
