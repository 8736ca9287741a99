#pragma once

#include <SliceData/platform/common/Export.h>

namespace VelSDK::Common {

/// The scales of internal quantities.
class VELSDK_EXPORT MInternalUnits {
 public:
  static MInternalUnits const& GetInstance();

  /// One millimetre in internal units of length (0.1 µm).
  double length = 10000.0;

 private:
  MInternalUnits() = default;
};

}  // namespace VelSDK::Common
