#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/platform/sax/ISAXPersistHelper.h>
#include <SliceData/slice_data_cache/CachedSliceStack.h>

namespace SliceDataCaching {

/// Writes one stored stack, in one of two forms.
class VELSDK_EXPORT CachedSliceStackDataSaxWrite final : public ISAXPersistHelper {
 public:
  /// \param data             outlives this
  /// \param as_file_content  true: the tag "FileContent" with the document of the stack, which is made if there is
  ///                         none; false: the tag "Stack" with the stack in memory, or nothing without one
  CachedSliceStackDataSaxWrite(CachedSliceStack::Data const* data, bool as_file_content);
  ~CachedSliceStackDataSaxWrite() override;

  bool Write(MSAXWriter& writer) const override;

 private:
  CachedSliceStack::Data const* m_data;
  bool m_as_file_content;
};

}  // namespace SliceDataCaching
