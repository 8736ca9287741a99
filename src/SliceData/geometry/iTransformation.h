#pragma once

#include <SliceData/platform/common/Export.h>

namespace M2DSliceUtilities {

/// A mapping of the plane, in internal units. Knows no slice. Implementations keep no mutable state, so that one object
/// can serve several threads.
class VELSDK_EXPORT iTransformation {
 public:
  virtual ~iTransformation();

  /// A new deep copy, which the caller owns.
  virtual iTransformation* _Clone() const = 0;
  /// Rewrites the point in place.
  virtual void _Transform(double& x, double& y) const = 0;

  void Transform(double& x, double& y) const { _Transform(x, y); }
};

}  // namespace M2DSliceUtilities
