#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/sax/ISAXPersistHelper.h>
#include <SliceData/slice_data_cache/CachedSliceStackKeyInfo.h>

#include <string>

namespace SliceDataCaching {

/// Reads the key of cached slices. What the document does not tell stays, but for the properties.
class VELSDK_EXPORT CachedSliceStackKeyInfoSaxRead final : public ISAXPersistHelper {
 public:
  /// `key` outlives this.
  explicit CachedSliceStackKeyInfoSaxRead(CachedSliceStackKeyInfo* key);
  ~CachedSliceStackKeyInfoSaxRead() override;

  bool HandleTag(std::string const& tag, MSAXReader& reader) override;

 private:
  CachedSliceStackKeyInfo* m_key;
};

}  // namespace SliceDataCaching
