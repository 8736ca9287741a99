#include <SliceData/slice_model/M2DSliceDefaultVectorTypeInfoHolder.h>

M2DSliceVectorTypeInfo& M2DSliceDefaultVectorTypeInfoHolder::GetDefaultVectorTypeInfo() {
  if (m_default_vector_type_info == nullptr) m_default_vector_type_info = std::make_unique<M2DSliceVectorTypeInfo>();
  return *m_default_vector_type_info;
}

M2DSliceVectorTypeInfo const& M2DSliceDefaultVectorTypeInfoHolder::GetDefaultVectorTypeInfo() const {
  static M2DSliceVectorTypeInfo const general;
  return m_default_vector_type_info != nullptr ? *m_default_vector_type_info : general;
}
