#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/sax/ISAXPersistHelper.h>
#include <SliceData/slice_data_cache/CachedSliceStackKeyInfo.h>

namespace SliceDataCaching {

/// Writes the key of cached slices: "ID" with "Global" and "Revision", "ZInfo", "Transform", "Properties".
class VELSDK_EXPORT CachedSliceStackKeyInfoSaxWrite final : public ISAXPersistHelper {
 public:
  /// `key` outlives this.
  explicit CachedSliceStackKeyInfoSaxWrite(CachedSliceStackKeyInfo const* key);
  ~CachedSliceStackKeyInfoSaxWrite() override;

  bool Write(MSAXWriter& writer) const override;

 private:
  CachedSliceStackKeyInfo const* m_key;
};

}  // namespace SliceDataCaching
