#pragma once

#include <SliceData/platform/common/Export.h>
#include <SliceData/slice_data_cache/ICachedSliceStackSelector.h>

namespace SliceDataCaching {

class CachedSliceStackKeyInfo;

/// Slices serve if they are of the same kind, part, revision, layer thickness and orientation, wherever the part
/// stands.
class VELSDK_EXPORT CachedSliceStackSelectorDefault : public ICachedSliceStackSelector {
 public:
  /// `key_info` outlives this.
  explicit CachedSliceStackSelectorDefault(CachedSliceStackKeyInfo const* key_info);
  ~CachedSliceStackSelectorDefault() override;

  /// True if all of the following hold.
  bool _OnIsSuitedCachedStack(CachedSliceStack* stack) const override;

  /// The same cache type, letter case included. A key that names none takes any.
  bool HasSuitedType(CachedSliceStack* stack) const;
  /// The same part and revision, whatever the letter case.
  bool HasSuitedID(CachedSliceStack* stack) const;
  /// The same layer thickness, whatever the types of the Z recipe.
  bool HasSuitedZInfo(CachedSliceStack* stack) const;
  /// The same orientation and scale, within the tolerance of `MMTransform`, whatever the translation.
  bool HasSuitedTransformation(CachedSliceStack* stack) const;

 private:
  CachedSliceStackKeyInfo const* m_key_info;
};

}  // namespace SliceDataCaching
