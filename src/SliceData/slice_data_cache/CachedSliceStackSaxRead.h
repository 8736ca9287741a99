#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/sax/ISAXPersistHelper.h>
#include <SliceData/slice_data_cache/CachedSliceStack.h>

#include <string>

namespace SliceDataCaching {

/// Reads an entry of a database, whose stored stacks are replaced. They stay in the document until they are asked for.
class VELSDK_EXPORT CachedSliceStackSaxRead final : public ISAXPersistHelper {
 public:
  /// `stack` outlives this.
  explicit CachedSliceStackSaxRead(CachedSliceStack* stack);
  ~CachedSliceStackSaxRead() override;

  void SetDefaults() override;
  bool HandleTag(std::string const& tag, MSAXReader& reader) override;

 private:
  CachedSliceStack* m_stack;
};

}  // namespace SliceDataCaching
