#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/slice_model/M2DSliceVectorTypeInfo.h>

#include <memory>

/// Carries the type record that a layer gives to every element it creates: a `General` one until it is changed. Few
/// layers have one of their own, so it is made when it is needed.
class VELSDK_EXPORT M2DSliceDefaultVectorTypeInfoHolder {
 public:
  M2DSliceVectorTypeInfo& GetDefaultVectorTypeInfo();
  /// Valid until the record is first changed or asked for to be changed.
  M2DSliceVectorTypeInfo const& GetDefaultVectorTypeInfo() const;
  void SetDefaultVectorTypeInfo(M2DSliceVectorTypeInfo const& info) { GetDefaultVectorTypeInfo() = info; }

 protected:
  M2DSliceDefaultVectorTypeInfoHolder() = default;
  ~M2DSliceDefaultVectorTypeInfoHolder() = default;

 private:
  std::unique_ptr<M2DSliceVectorTypeInfo> m_default_vector_type_info;
};
