#pragma once

#include <SliceData/platform/common/Export.h>

namespace SliceDataCaching {

class CachedSliceStack;

/// A rule that says which cached slices serve a request.
class VELSDK_EXPORT ICachedSliceStackSelector {
 public:
  virtual ~ICachedSliceStackSelector();
  /// What it throws passes through the search.
  virtual bool _OnIsSuitedCachedStack(CachedSliceStack* stack) const = 0;
};

}  // namespace SliceDataCaching
