#include <SliceData/platform/units/MInternalUnits.h>

namespace VelSDK::Common {

MInternalUnits const& MInternalUnits::GetInstance() {
  static MInternalUnits const instance;
  return instance;
}

}  // namespace VelSDK::Common
