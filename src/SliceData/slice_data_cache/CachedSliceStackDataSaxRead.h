#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/sax/ISAXPersistHelper.h>
#include <SliceData/slice_data_cache/CachedSliceStack.h>

#include <string>

namespace SliceDataCaching {

/// Reads one stored stack: the tag "Stack" into memory, or the tag "FileContent" as the document of the stack, which is
/// not looked into.
class VELSDK_EXPORT CachedSliceStackDataSaxRead final : public ISAXPersistHelper {
 public:
  /// `data` outlives this.
  explicit CachedSliceStackDataSaxRead(CachedSliceStack::Data* data);
  ~CachedSliceStackDataSaxRead() override;

  bool HandleTag(std::string const& tag, MSAXReader& reader) override;

 private:
  CachedSliceStack::Data* m_data;
};

}  // namespace SliceDataCaching
