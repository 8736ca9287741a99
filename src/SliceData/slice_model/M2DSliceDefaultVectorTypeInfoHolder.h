#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/slice_model/M2DSliceVectorTypeInfo.h>

/// Carries the type record that a layer gives to every element it creates.
class VELSDK_EXPORT M2DSliceDefaultVectorTypeInfoHolder {
 public:
  M2DSliceVectorTypeInfo& GetDefaultVectorTypeInfo() { return m_default_vector_type_info; }
  M2DSliceVectorTypeInfo const& GetDefaultVectorTypeInfo() const { return m_default_vector_type_info; }
  void SetDefaultVectorTypeInfo(M2DSliceVectorTypeInfo const& info) { m_default_vector_type_info = info; }

 protected:
  M2DSliceDefaultVectorTypeInfoHolder() = default;
  ~M2DSliceDefaultVectorTypeInfoHolder() = default;

 private:
  M2DSliceVectorTypeInfo m_default_vector_type_info;
};
