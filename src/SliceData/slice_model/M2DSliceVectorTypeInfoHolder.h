#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/slice_model/M2DSliceVectorTypeInfo.h>

/// Carries the type record of one element.
class VELSDK_EXPORT M2DSliceVectorTypeInfoHolder {
 public:
  M2DSliceVectorTypeInfo& GetVectorTypeInfo() { return m_vector_type_info; }
  M2DSliceVectorTypeInfo const& GetVectorTypeInfo() const { return m_vector_type_info; }
  void SetVectorTypeInfo(M2DSliceVectorTypeInfo const& info) { m_vector_type_info = info; }

 protected:
  M2DSliceVectorTypeInfoHolder() = default;
  explicit M2DSliceVectorTypeInfoHolder(M2DSliceVectorTypeInfo const& info) : m_vector_type_info(info) {}
  ~M2DSliceVectorTypeInfoHolder() = default;

 private:
  M2DSliceVectorTypeInfo m_vector_type_info;
};
