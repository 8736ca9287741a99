#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/sax/ISAXPersistHelper.h>
#include <SliceData/slice_data_cache/CachedSliceStack.h>

namespace SliceDataCaching {

/// Writes an entry of a database: "KeyInfo", "Properties", and "DataVector" with one "Data" for each stored stack,
/// which gets a document now if it has none.
class VELSDK_EXPORT CachedSliceStackSaxWrite final : public ISAXPersistHelper {
 public:
  /// `stack` outlives this.
  explicit CachedSliceStackSaxWrite(CachedSliceStack const* stack);
  ~CachedSliceStackSaxWrite() override;

  bool Write(MSAXWriter& writer) const override;

 private:
  CachedSliceStack const* m_stack;
};

}  // namespace SliceDataCaching
