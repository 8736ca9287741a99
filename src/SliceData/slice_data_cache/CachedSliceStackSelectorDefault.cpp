#include <SliceData/slice_data_cache/CachedSliceStack.h>
#include <SliceData/slice_data_cache/CachedSliceStackSelectorDefault.h>

namespace SliceDataCaching {

namespace {

MMTransformMatrix WithoutTranslation(MMTransformMatrix matrix) {
  matrix.FillInTranslation(0, 0, 0);
  return matrix;
}

}  // namespace

ICachedSliceStackSelector::~ICachedSliceStackSelector() = default;

CachedSliceStackSelectorDefault::CachedSliceStackSelectorDefault(CachedSliceStackKeyInfo const* key_info)
    : m_key_info(key_info) {}
CachedSliceStackSelectorDefault::~CachedSliceStackSelectorDefault() = default;

bool CachedSliceStackSelectorDefault::_OnIsSuitedCachedStack(CachedSliceStack* stack) const {
  return HasSuitedType(stack) && HasSuitedID(stack) && HasSuitedZInfo(stack) && HasSuitedTransformation(stack);
}

bool CachedSliceStackSelectorDefault::HasSuitedType(CachedSliceStack* stack) const {
  auto const* const wanted = m_key_info->m_properties.GetValue<std::string>(PropertyNameCacheType);
  if (wanted == nullptr) return true;
  auto const* const type = stack->m_properties.GetValue<std::string>(PropertyNameCacheType);
  return type != nullptr && *type == *wanted;
}

bool CachedSliceStackSelectorDefault::HasSuitedID(CachedSliceStack* stack) const {
  return m_key_info->m_id == stack->m_id;
}

bool CachedSliceStackSelectorDefault::HasSuitedZInfo(CachedSliceStack* stack) const {
  return m_key_info->m_z_info.thickness == stack->m_z_info.thickness;
}

bool CachedSliceStackSelectorDefault::HasSuitedTransformation(CachedSliceStack* stack) const {
  return WithoutTranslation(m_key_info->m_transform) == WithoutTranslation(stack->m_transform);
}

}  // namespace SliceDataCaching
